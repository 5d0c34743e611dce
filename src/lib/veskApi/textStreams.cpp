// SPDX-License-Identifier: MIT
#include "textStreams.h"

#include <ostream>

std::ostream& operator<<(std::ostream& out, const QString& text)
{
    return out << text.toUtf8();
}

std::ostream& operator<<(std::ostream& out, const QByteArray& bytes)
{
    return out.write(bytes.constData(), bytes.size());
}

/** How many bytes a character has by its first one; 0 when no character starts so (RFC 3629, section 4). */
static int characterLength(uchar first)
{
    if (first < 0x80)
        return 1;
    if (first < 0xC2 || first > 0xF4)
        return 0;
    return first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
}

QByteArray QByteArray_leftUtf8(const QByteArray& bytes, int n)
{
    if (bytes.size() <= n)
        return bytes;
    const auto continues = [&bytes](int at) { return (uchar(bytes.at(at)) & 0xC0) == 0x80; };
    const int end = qMax(n, 0);
    int start = end;
    while (start > 0 && continues(start))
        --start;
    if (start == end)
        return bytes.left(end);
    // The last character starts there. It is cut in two, or whole with continuation bytes behind it that
    // belong to none.
    const int afterIt = start + characterLength(uchar(bytes.at(start)));
    return bytes.left(afterIt <= end ? afterIt : start);
}
