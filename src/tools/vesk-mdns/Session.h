// SPDX-License-Identifier: MIT
#ifndef SESSION_H
#define SESSION_H

#include "Arguments.h"
#include "LibraryLog.h"
#include "Output.h"
#include "UnixSignals.h"

#include <QEventLoop>
#include <QJsonObject>
#include <QObject>

/** What every command works with, and the wait until it ends. */
class Session : public QObject
{
    Q_OBJECT

public:
    enum class End
    {
        Finished, ///< finish() was called
        Stopped,  ///< by a signal, or the reader of the output went away
        TimedOut
    };

    explicit Session(const Arguments& arguments);

    const Arguments arguments;
    UnixSignals unixSignals;
    Output output;
    LibraryLog log;

    /** Runs the event loop until the command ends, at most for @p timeoutMs when that is set. */
    End wait(std::optional<int> timeoutMs);
    /** Whether the command's output is a table drawn at the terminal, beside which nothing may be written. */
    bool showsTable() const;
    /** Lines of the libraries' log go to standard error from now on; with --verbose they do from the start.
     */
    void complainOfErrors();
    void finish() { end(End::Finished); }
    void stop() { end(End::Stopped); }

private:
    void complain(const QString& text) { Output::complain(text); }
    void end(End how);

    QEventLoop m_loop;
    std::optional<End> m_end;
};

/** A JSON event: its name, the time in UTC, and @p fields. */
QJsonObject jsonEvent(const QString& event, QJsonObject fields);

#endif
