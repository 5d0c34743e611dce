// SPDX-License-Identifier: MIT
#ifndef KEY_DECODER_H
#define KEY_DECODER_H

#include <QByteArray>
#include <QVector>

/** What a key asks for. */
enum class Key
{
    Up,
    Down,
    PageUp,
    PageDown,
    Home,
    End,
    Quit
};

/** Tells keys from the bytes that a terminal sends for them; other keys are passed over. */
class KeyDecoder
{
public:
    /** The keys that @p bytes complete; what may still become a key is kept. */
    QVector<Key> take(const QByteArray& bytes);

private:
    QByteArray m_pending;
};

#endif
