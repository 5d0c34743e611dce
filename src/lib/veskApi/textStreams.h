// SPDX-License-Identifier: MIT
#ifndef VESK_TEXT_STREAMS_H
#define VESK_TEXT_STREAMS_H

#include "VeskApiExport.h"

#include <QByteArray>
#include <QString>
#include <iosfwd>

/** Writes @p text as UTF-8, embedded zero characters included. */
VESK_API_EXPORT std::ostream& operator<<(std::ostream& out, const QString& text);

/** Writes the bytes as they are. */
VESK_API_EXPORT std::ostream& operator<<(std::ostream& out, const QByteArray& bytes);

/**
 * The first at most @p n bytes of the UTF-8 text @p bytes without cutting a character in two (RFC 3629,
 * section 3: continuation bytes are 10xxxxxx). @p n below 0 counts as 0. Of malformed bytes at the cut only
 * what is valid before them is kept.
 */
VESK_API_EXPORT QByteArray QByteArray_leftUtf8(const QByteArray& bytes, int n);

#endif
