// SPDX-License-Identifier: MIT
#ifndef LIVE_TABLE_H
#define LIVE_TABLE_H

#include "AlternateScreen.h"
#include "ChangeTable.h"
#include "KeyDecoder.h"
#include "RowWindow.h"
#include "StandardInput.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>
#include <optional>

class Output;
class UnixSignals;

/**
 * A table on a page of its own at the terminal, updated in place. It follows the terminal's size, scrolls
 * where that is too low, and gives the terminal back while the program is suspended. On destruction the last
 * table is left in sight, with all its rows.
 */
class LiveTable : public QObject
{
    Q_OBJECT

public:
    /** @param title stands above the table, followed by the number of rows. */
    LiveTable(QString title, const QVector<Column>& columns, int ageColumn, Output* output,
              UnixSignals* unixSignals);
    ~LiveTable() override;

    void put(const QString& key, const QStringList& cells);
    void remove(const QString& key);
    /** Shows @p text at the foot of the page from now on. */
    void setStatus(const QString& text);

Q_SIGNALS:
    /** "q" was typed. */
    void quitRequested();

private:
    void draw();
    void suspend();
    void take(const QByteArray& typed);
    QStringList table(int width) const;
    QStringList visibleTable(const QSize& room);

    QString m_title;
    ChangeTable m_table;
    Output* m_output;
    RowWindow m_window;
    KeyDecoder m_decoder;
    QString m_status;
    QElapsedTimer m_clock;
    QTimer m_second;
    QTimer m_soon;
    std::optional<StandardInput> m_input;
    std::optional<AlternateScreen> m_screen;
};

#endif
