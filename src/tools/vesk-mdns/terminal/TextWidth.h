// SPDX-License-Identifier: MIT
#ifndef TEXT_WIDTH_H
#define TEXT_WIDTH_H

#include <QString>

/** How many columns of a terminal @p text takes; @p text must be printable(). */
int displayWidth(const QString& text);

/** @p text if it takes at most @p width columns, else as much of it as fits, ended by "…". */
QString cutToWidth(const QString& text, int width);

#endif
