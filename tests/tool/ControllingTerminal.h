// SPDX-License-Identifier: MIT
#ifndef CONTROLLING_TERMINAL_H
#define CONTROLLING_TERMINAL_H

#include <QByteArray>
#include <QObject>
#include <functional>
#include <sys/types.h>

/** Runs @p main in a process that leads a session of its own, as a ControllingTerminal needs. @return its
 * status */
int runInOwnSession(const std::function<int()>& main);

/** A pseudo terminal that controls this session and is its standard input; this process is in the foreground.
 */
class ControllingTerminal
{
public:
    ControllingTerminal();
    ~ControllingTerminal();
    ControllingTerminal(const ControllingTerminal&) = delete;
    ControllingTerminal& operator=(const ControllingTerminal&) = delete;

    void type(const QByteArray& bytes);
    /** Another process group has the terminal from now on; no signal says so. */
    void putIntoBackground();
    /** This process has the terminal again; as in shells that bring a running job back, no signal says so. */
    void putIntoForeground();
    /** The terminal controls no process of this session any more; standard input still leads to it. */
    void release();
    void hangUp();
    /** Another reader takes what was typed; a read then fails, or waits when it @p blocks. */
    void takeTyped(bool blocks);

private:
    pid_t m_otherJob;
    int m_master;
    int m_inputBefore;
};

/** Sees the activations of all socket notifiers of this thread. */
class ActivationSpy : public QObject
{
public:
    ActivationSpy();

    int count = 0;
    std::function<void()> beforeNext; ///< called once, just before the next activation is delivered

protected:
    bool eventFilter(QObject* receiver, QEvent* event) override;
};

/** Whether the event loop, run many times without waiting, activates a socket notifier at nearly every pass.
 */
bool spins(ActivationSpy* activations);

#endif
