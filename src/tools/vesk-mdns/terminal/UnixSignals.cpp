// SPDX-License-Identifier: MIT
#include "UnixSignals.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace {

// A handler may do little more than write: the number of the signal goes through a pipe to the event loop.
std::array<int, 2> pipeEnds = {-1, -1};

void handle(int signal)
{
    const int before = errno;
    const auto number = static_cast<unsigned char>(signal);
    // A full pipe holds enough signals to be read already.
    [[maybe_unused]] const ssize_t written = write(pipeEnds[1], &number, 1);
    errno = before;
}

int readEnd()
{
    if (pipeEnds[0] < 0 && pipe2(pipeEnds.data(), O_CLOEXEC | O_NONBLOCK) != 0)
        qFatal("cannot make a pipe: %s", qPrintable(qt_error_string(errno)));
    return pipeEnds[0];
}

void setHandler(int signal, void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigaction(signal, &action, nullptr);
}

bool isIgnored(int signal)
{
    struct sigaction action = {};
    return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

} // namespace

UnixSignals::UnixSignals()
    : m_notifier(readEnd(), QSocketNotifier::Read)
{
    connect(&m_notifier, &QSocketNotifier::activated, this, &UnixSignals::on_notifier_activated);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT})
        if (!isIgnored(signal))
            setHandler(signal, &handle);
    setHandler(SIGWINCH, &handle);
    setHandler(SIGPIPE, SIG_IGN);
}

void UnixSignals::catchSuspend()
{
    setHandler(SIGTSTP, &handle);
}

void UnixSignals::suspend()
{
    raise(SIGSTOP);
}

void UnixSignals::on_notifier_activated()
{
    unsigned char number = 0;
    while (read(pipeEnds[0], &number, 1) == 1) {
        switch (number) {
        case SIGWINCH:
            Q_EMIT resized();
            break;
        case SIGTSTP:
            Q_EMIT suspendRequested();
            break;
        default:
            Q_EMIT stopRequested();
            break;
        }
    }
}
