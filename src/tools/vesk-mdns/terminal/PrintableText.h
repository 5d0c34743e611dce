// SPDX-License-Identifier: MIT
#ifndef PRINTABLE_TEXT_H
#define PRINTABLE_TEXT_H

#include <QByteArray>
#include <QString>

/**
 * @p text with everything made visible that a terminal would obey instead of show: control characters, line
 * separators and marks that turn the writing direction become "\x1B" or "\u{202E}".
 */
QString printable(const QString& text);

/**
 * @p json, a JSON text, with the same characters that printable() makes visible written as \\uXXXX. It stays
 * the same JSON value.
 */
QByteArray printableJson(const QByteArray& json);

#endif
