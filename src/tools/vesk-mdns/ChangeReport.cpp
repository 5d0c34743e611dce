// SPDX-License-Identifier: MIT
#include "ChangeReport.h"

#include "LiveTable.h"
#include "Session.h"

#include <QTime>

namespace {

constexpr int longestEvent = 10;

QString eventName(Change change)
{
    switch (change) {
    case Change::Added:
        return "added";
    case Change::Changed:
        return "changed";
    case Change::Removed:
        break;
    }
    return "removed";
}

} // namespace

ChangeReport::ChangeReport(Session* session, const QString& title, const QVector<Column>& columns,
                           int ageColumn)
    : m_session(session)
{
    if (session->showsTable())
        m_table = std::make_unique<LiveTable>(title, columns, ageColumn, session);
    else
        session->complainOfErrors();
}

ChangeReport::~ChangeReport() = default;

void ChangeReport::tell(Change change, const QString& key, const QStringList& cells,
                        const QJsonObject& fields)
{
    if (m_session->arguments.json) {
        m_session->output.json(jsonEvent(eventName(change), fields));
    } else if (!m_table) {
        m_session->output.line(eventLine(m_session->output, eventName(change), cells));
    } else if (change == Change::Removed) {
        m_table->remove(key);
    } else {
        m_table->put(key, cells);
    }
}

QString eventLine(const Output& output, const QString& event, const QStringList& fields)
{
    const QString time = QTime::currentTime().toString("HH:mm:ss.zzz");
    if (output.isTerminal())
        return (QStringList{time, event.leftJustified(longestEvent)} + fields).join("  ");
    return (QStringList{time, event} + fields).join('\t');
}
