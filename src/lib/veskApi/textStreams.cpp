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

QByteArray QByteArray_leftUtf8(const QByteArray& bytes, int n)
{
    if (bytes.size() <= n)
        return bytes;
    const auto continues = [&bytes](int at) { return (uchar(bytes.at(at)) & 0xC0) == 0x80; };
    int end = qMax(n, 0);
    while (end > 0 && continues(end))
        --end;
    return bytes.left(end);
}
