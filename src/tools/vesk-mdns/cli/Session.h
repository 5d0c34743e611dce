// SPDX-License-Identifier: MIT
#ifndef SESSION_H
#define SESSION_H

#include "CommandLine.h"
#include "LibraryLog.h"
#include "Output.h"
#include "UnixSignals.h"

#include <QEventLoop>
#include <QObject>
#include <optional>

/** What every command works with, and the wait until it ends. */
class Session : public QObject
{
    Q_OBJECT

public:
    enum class End
    {
        Finished, ///< finish() was called
        Failed,   ///< fail() was called
        Stopped,  ///< by a signal, or the reader of the output went away
        TimedOut
    };

    explicit Session(const CommandLine& commandLine);

    const CommandLine commandLine;
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
    /** Why the command failed; empty when it did not. */
    const QString& failure() const { return m_failure; }
    void finish() { end(End::Finished); }
    void fail(const QString& why);
    void stop() { end(End::Stopped); }

private:
    void complain(const QString& text) { Output::complain(text); }
    void end(End how);

    QEventLoop m_loop;
    std::optional<End> m_end;
    QString m_failure;
};

#endif
