// SPDX-License-Identifier: MIT
#include "StandardInput.h"

#include <array>
#include <cerrno>
#include <unistd.h>

namespace {

// A shell sends no signal to a running job that it brings to the foreground: that has to be looked for.
constexpr int pauseMs = 500;

// Reading the terminal from the background would stop the program.
bool mayRead()
{
    return !StandardInput::isTerminal() || tcgetpgrp(STDIN_FILENO) == getpgrp();
}

} // namespace

StandardInput::StandardInput()
    : m_notifier(STDIN_FILENO, QSocketNotifier::Read)
{
    connect(&m_notifier, &QSocketNotifier::activated, this, &StandardInput::on_notifier_activated);
    connect(&m_pause, &QTimer::timeout, this, [this] { m_notifier.setEnabled(true); });
    m_pause.setSingleShot(true);
}

bool StandardInput::isTerminal()
{
    return isatty(STDIN_FILENO);
}

void StandardInput::on_notifier_activated()
{
    if (!mayRead()) {
        pause();
        return;
    }
    std::array<char, 4096> bytes = {};
    const ssize_t count = read(STDIN_FILENO, bytes.data(), bytes.size());
    if (count > 0)
        Q_EMIT received(QByteArray(bytes.data(), int(count)));
    else if (count < 0 && (errno == EINTR || errno == EAGAIN))
        return; // the notifier is activated again when there is something to read
    else if (!mayRead())
        pause(); // the program was put into the background in between
    else
        end();
}

/** What cannot be read now stays readable: an enabled notifier would be activated again at once. */
void StandardInput::pause()
{
    m_notifier.setEnabled(false);
    m_pause.start(pauseMs);
}

void StandardInput::end()
{
    m_notifier.setEnabled(false);
    Q_EMIT ended();
}
