// SPDX-License-Identifier: MIT
#ifndef LIVE_TABLE_H
#define LIVE_TABLE_H

#include "ChangeTable.h"
#include "RowWindow.h"
#include "Screen.h"
#include "Session.h"
#include "TerminalKeys.h"

#include <QElapsedTimer>
#include <QObject>
#include <QSocketNotifier>
#include <QTimer>
#include <optional>

/**
 * A table on a page of its own at the terminal, updated in place. It follows the terminal's size, scrolls
 * where that is too low, gives the terminal back while the program is suspended, and ends the session when
 * "q" is typed. On destruction the last table is left in sight, with all its rows.
 */
class LiveTable : public QObject
{
    Q_OBJECT

public:
    /** @param title stands above the table, followed by the number of rows. */
    LiveTable(QString title, const QVector<Column>& columns, int ageColumn, Session* session);
    ~LiveTable() override;

    void put(const QString& key, const QStringList& cells);
    void remove(const QString& key);

private:
    void draw();
    void suspend();
    void readKeys();
    void setStatus(const QString& text);
    QStringList table(int width) const;
    QStringList visibleTable(const QSize& room);

    QString m_title;
    ChangeTable m_table;
    Session* m_session;
    RowWindow m_window;
    TerminalKeys m_typed;
    QString m_status;
    QElapsedTimer m_clock;
    QTimer m_second;
    QTimer m_soon;
    QSocketNotifier m_keys;
    std::optional<Screen> m_screen;
};

#endif
