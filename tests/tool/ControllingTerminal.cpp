// SPDX-License-Identifier: MIT
#include "ControllingTerminal.h"

#include <QCoreApplication>
#include <QEvent>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr int passes = 1000;
constexpr int fewActivations = 10; // for a look at the terminal now and then

void require(bool condition, const char* what)
{
    if (!condition)
        qFatal("%s: %s", what, qPrintable(qt_error_string(errno)));
}

pid_t startOtherJob()
{
    const pid_t child = fork();
    require(child >= 0, "fork");
    if (child == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        pause();
        _exit(EXIT_SUCCESS);
    }
    require(setpgid(child, child) == 0, "setpgid");
    return child;
}

} // namespace

int runInOwnSession(const std::function<int()>& main)
{
    const pid_t leader = fork();
    require(leader >= 0, "fork");
    if (leader == 0) {
        require(setsid() > 0, "setsid");
        std::exit(main());
    }
    int status = 0;
    require(waitpid(leader, &status, 0) == leader, "waitpid");
    return WIFEXITED(status) ? WEXITSTATUS(status) : EXIT_FAILURE;
}

ControllingTerminal::ControllingTerminal()
    : m_otherJob(startOtherJob()) // before there is a terminal that it would keep open
    , m_master(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC))
    , m_inputBefore(fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1))
{
    require(m_master >= 0 && grantpt(m_master) == 0 && unlockpt(m_master) == 0, "posix_openpt");
    const int slave = open(ptsname(m_master), O_RDWR | O_NOCTTY);
    require(slave >= 0 && ioctl(slave, TIOCSCTTY, 0) == 0, "TIOCSCTTY");
    require(dup2(slave, STDIN_FILENO) == STDIN_FILENO && close(slave) == 0, "dup2");
    std::signal(SIGTTOU, SIG_IGN); // sent to a background process that takes the terminal
    std::signal(SIGHUP, SIG_IGN);
}

ControllingTerminal::~ControllingTerminal()
{
    hangUp();
    release();
    dup2(m_inputBefore, STDIN_FILENO);
    close(m_inputBefore);
    kill(m_otherJob, SIGKILL);
    waitpid(m_otherJob, nullptr, 0);
}

void ControllingTerminal::type(const QByteArray& bytes)
{
    require(write(m_master, bytes.constData(), size_t(bytes.size())) == bytes.size(), "write");
}

void ControllingTerminal::putIntoBackground()
{
    require(tcsetpgrp(STDIN_FILENO, m_otherJob) == 0, "tcsetpgrp");
}

void ControllingTerminal::putIntoForeground()
{
    require(tcsetpgrp(STDIN_FILENO, getpgrp()) == 0, "tcsetpgrp");
}

void ControllingTerminal::release()
{
    ioctl(STDIN_FILENO, TIOCNOTTY);
}

void ControllingTerminal::hangUp()
{
    if (m_master >= 0)
        close(m_master);
    m_master = -1;
}

void ControllingTerminal::takeTyped(bool blocks)
{
    const int flags = fcntl(STDIN_FILENO, F_GETFL);
    fcntl(STDIN_FILENO, F_SETFL, flags | O_NONBLOCK);
    std::array<char, 64> taken = {};
    while (read(STDIN_FILENO, taken.data(), taken.size()) > 0) {
    }
    if (blocks)
        fcntl(STDIN_FILENO, F_SETFL, flags);
}

ActivationSpy::ActivationSpy()
{
    QCoreApplication::instance()->installEventFilter(this);
}

bool ActivationSpy::eventFilter(QObject* /*receiver*/, QEvent* event)
{
    if (event->type() != QEvent::SockAct)
        return false;
    ++count;
    if (beforeNext)
        std::exchange(beforeNext, nullptr)();
    return false;
}

bool spins(ActivationSpy* activations)
{
    const int before = activations->count;
    for (int i = 0; i < passes; ++i)
        QCoreApplication::processEvents();
    return activations->count - before > fewActivations;
}
