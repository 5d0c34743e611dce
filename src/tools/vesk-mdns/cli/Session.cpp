// SPDX-License-Identifier: MIT
#include "Session.h"

#include <QTimer>

Session::Session(const CommandLine& parsed)
    : commandLine(parsed)
    , log(parsed.verbose, parsed.logConfig)
{
    connect(&unixSignals, &UnixSignals::stopRequested, this, &Session::stop);
    connect(&output, &Output::closed, this, &Session::stop);
    if (commandLine.verbose && !showsTable())
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
    const bool isList = commandLine.command == CommandLine::Command::Browse ||
                        commandLine.command == CommandLine::Command::BrowseTypes;
    return isList && output.isTerminal() && !commandLine.json;
}

void Session::complainOfErrors()
{
    connect(&log, &LibraryLog::logged, this, &Session::complain, Qt::UniqueConnection);
}

void Session::fail(const QString& why)
{
    m_failure = why;
    end(End::Failed);
}

void Session::end(End how)
{
    if (!m_end)
        m_end = how;
    m_loop.quit();
}
