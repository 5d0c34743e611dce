// SPDX-License-Identifier: MIT
#ifndef CHANGE_REPORT_H
#define CHANGE_REPORT_H

#include "Change.h"
#include "TableLayout.h"

#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <memory>

class LiveTable;
class Session;

/**
 * Tells the user what comes, changes and goes: in a table at a terminal, one line for each event when the
 * output goes elsewhere, one JSON object for each with --json.
 */
class ChangeReport
{
public:
    /** @param title, columns, ageColumn describe the table. */
    ChangeReport(Session* session, const QString& title, const QVector<Column>& columns, int ageColumn);
    ~ChangeReport();

    /**
     * @param key what is told apart.
     * @param cells the columns but the age, each printable().
     * @param fields of the JSON object, besides event and time.
     */
    void tell(Change change, const QString& key, const QStringList& cells, const QJsonObject& fields);

    /** Tells what is of note about the whole list. */
    void remark(const QString& text);

private:
    Session* m_session;
    std::unique_ptr<LiveTable> m_table;
};

#endif
