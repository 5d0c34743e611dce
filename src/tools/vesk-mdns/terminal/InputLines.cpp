// SPDX-License-Identifier: MIT
#include "InputLines.h"

namespace {

constexpr int longestLine = 65536;

} // namespace

InputLines::InputLines()
{
    connect(&m_input, &StandardInput::received, this, &InputLines::take);
    connect(&m_input, &StandardInput::ended, this, [this] { takeLine(m_pending); });
}

void InputLines::take(const QByteArray& bytes)
{
    m_pending.append(bytes);
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
