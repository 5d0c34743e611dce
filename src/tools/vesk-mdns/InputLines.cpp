// SPDX-License-Identifier: MIT
#include "InputLines.h"

#include <cerrno>
#include <unistd.h>

namespace {

constexpr int longestLine = 65536;

// Reading the terminal from the background would stop the program.
bool mayRead()
{
    return !isatty(STDIN_FILENO) || tcgetpgrp(STDIN_FILENO) == getpgrp();
}

} // namespace

InputLines::InputLines()
    : m_notifier(STDIN_FILENO, QSocketNotifier::Read)
{
    connect(&m_notifier, &QSocketNotifier::activated, this, &InputLines::on_notifier_activated);
}

bool InputLines::isTyped()
{
    return isatty(STDIN_FILENO);
}

void InputLines::on_notifier_activated()
{
    if (!mayRead())
        return;
    char bytes[4096];
    const ssize_t count = read(STDIN_FILENO, bytes, sizeof bytes);
    if (count < 0 && (errno == EINTR || errno == EAGAIN))
        return;
    if (count <= 0) {
        m_notifier.setEnabled(false);
        takeLine(m_pending);
        return;
    }
    m_pending.append(bytes, int(count));
    for (int end = m_pending.indexOf('\n'); end >= 0; end = m_pending.indexOf('\n')) {
        takeLine(m_pending.left(end));
        m_pending.remove(0, end + 1);
    }
    if (m_pending.size() > longestLine)
        m_pending.clear();
}

void InputLines::takeLine(const QByteArray& bytes)
{
    const QString line = QString::fromUtf8(bytes).trimmed();
    if (!line.isEmpty())
        Q_EMIT entered(line);
}
