// SPDX-License-Identifier: MIT
#include "ChangeReport.h"

#include "EventFormat.h"
#include "LiveTable.h"
#include "Session.h"

namespace {

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
    if (!session->showsTable()) {
        session->complainOfErrors();
        return;
    }
    m_table = std::make_unique<LiveTable>(title, columns, ageColumn, &session->output, &session->unixSignals);
    QObject::connect(&session->log, &LibraryLog::logged, m_table.get(), &LiveTable::setStatus);
    QObject::connect(m_table.get(), &LiveTable::quitRequested, session, &Session::stop);
}

ChangeReport::~ChangeReport() = default;

void ChangeReport::tell(Change change, const QString& key, const QStringList& cells,
                        const QJsonObject& fields)
{
    if (m_session->commandLine.json) {
        m_session->output.json(jsonEvent(eventName(change), fields));
    } else if (!m_table) {
        m_session->output.line(eventLine(m_session->output, eventName(change), cells));
    } else if (change == Change::Removed) {
        m_table->remove(key);
    } else {
        m_table->put(key, cells);
    }
}

void ChangeReport::remark(const QString& text)
{
    if (m_table)
        m_table->setStatus(text);
    else
        Output::complain(text);
}
