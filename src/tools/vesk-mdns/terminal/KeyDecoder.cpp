// SPDX-License-Identifier: MIT
#include "KeyDecoder.h"

#include <QHash>

namespace {

constexpr char escape = '\x1b';

/** The final bytes of terminals in use; some send a letter for a key, others a number and "~". */
const QHash<QByteArray, Key>& keysBySequence()
{
    static const QHash<QByteArray, Key> keys = {
        {"q", Key::Quit},           {"k", Key::Up},        {"j", Key::Down},      {"\x1b[A", Key::Up},
        {"\x1b[B", Key::Down},      {"\x1bOA", Key::Up},   {"\x1bOB", Key::Down}, {"\x1b[5~", Key::PageUp},
        {"\x1b[6~", Key::PageDown}, {"\x1b[H", Key::Home}, {"\x1bOH", Key::Home}, {"\x1b[1~", Key::Home},
        {"\x1b[7~", Key::Home},     {"\x1b[F", Key::End},  {"\x1bOF", Key::End},  {"\x1b[4~", Key::End},
        {"\x1b[8~", Key::End}};
    return keys;
}

/** Whether @p bytes are all of a key: a character, or a sequence up to its final byte (ECMA-48). */
bool isWhole(const QByteArray& bytes)
{
    if (bytes[0] != escape)
        return true;
    const char last = bytes.back();
    return bytes.size() > 2 && last >= '@' && last <= '~';
}

} // namespace

QVector<Key> KeyDecoder::take(const QByteArray& bytes)
{
    QVector<Key> keys;
    for (const char byte : bytes) {
        const bool beginsSequence = byte == '[' || byte == 'O';
        if (byte == escape || (m_pending == "\x1b" && !beginsSequence))
            m_pending.clear(); // the escape key alone, or a sequence that ends nowhere
        m_pending.append(byte);
        if (!isWhole(m_pending))
            continue;
        const auto known = keysBySequence().find(m_pending);
        if (known != keysBySequence().end())
            keys.append(*known);
        m_pending.clear();
    }
    return keys;
}
