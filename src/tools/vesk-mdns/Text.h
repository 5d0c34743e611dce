// SPDX-License-Identifier: MIT
#ifndef TEXT_H
#define TEXT_H

#include <QString>

/**
 * @p text with everything made visible that a terminal would obey instead of show: control characters, line
 * separators and marks that turn the writing direction become "\x1B" or "\u{202E}".
 */
QString printable(const QString& text);

/** How many columns of a terminal @p text takes; @p text must be printable(). */
int displayWidth(const QString& text);

/** @p text if it takes at most @p width columns, else as much of it as fits, ended by "…". */
QString cutToWidth(const QString& text, int width);

/**
 * @p json, a JSON text, with the same characters that printable() makes visible written as \\uXXXX. It stays
 * the same JSON value.
 */
QByteArray printableJson(const QByteArray& json);

#endif
