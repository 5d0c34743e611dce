// SPDX-License-Identifier: MIT
#include "Session.h"

#include <QDateTime>
#include <QTimer>

Session::Session(const Arguments& theArguments)
    : arguments(theArguments)
    , log(theArguments)
{
    connect(&unixSignals, &UnixSignals::stopRequested, this, &Session::stop);
    connect(&output, &Output::closed, this, &Session::stop);
    if (arguments.verbose && !showsTable())
        complainOfErrors();
}

Session::End Session::wait(std::optional<int> timeoutMs)
{
    QTimer timeout;
    timeout.setSingleShot(true);
    connect(&timeout, &QTimer::timeout, this, [this] { end(End::TimedOut); });
    if (timeoutMs)
        timeout.start(*timeoutMs);
    if (!m_end)
        m_loop.exec();
    return *m_end;
}

bool Session::showsTable() const
{
    const bool isList = arguments.command == Arguments::Command::Browse ||
                        arguments.command == Arguments::Command::BrowseTypes;
    return isList && output.isTerminal() && !arguments.json;
}

void Session::complainOfErrors()
{
    connect(&log, &LibraryLog::logged, this, &Session::complain, Qt::UniqueConnection);
}

void Session::end(End how)
{
    if (!m_end)
        m_end = how;
    m_loop.quit();
}

QJsonObject jsonEvent(const QString& event, QJsonObject fields)
{
    fields.insert("event", event);
    fields.insert("time", QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs));
    return fields;
}
