// SPDX-License-Identifier: MIT
#ifndef UNIX_SIGNALS_H
#define UNIX_SIGNALS_H

#include <QObject>
#include <QSocketNotifier>

/**
 * Turns signals of the operating system into Qt signals, from its construction on. There is one in a process.
 *
 * SIGPIPE is ignored from then on. A stop signal that the process was started to ignore, as by nohup, stays
 * ignored.
 */
class UnixSignals : public QObject
{
    Q_OBJECT

public:
    UnixSignals();

    /** Stops this process as Ctrl-Z does by default; returns when it is continued. */
    static void suspend();

Q_SIGNALS:
    /** Ctrl-C, a request to terminate, or the terminal was closed. */
    void stopRequested();
    /** Ctrl-Z; without a receiver nothing happens, so the signal is only caught by catchSuspend(). */
    void suspendRequested();
    /** The terminal has another size. */
    void resized();

public:
    /** Lets Ctrl-Z emit suspendRequested() instead of stopping the process at once. */
    void catchSuspend();

private:
    void on_notifier_activated();

    QSocketNotifier m_notifier;
};

#endif
