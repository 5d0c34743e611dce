// SPDX-License-Identifier: MIT
#ifndef VESK_DBGLOG_H
#define VESK_DBGLOG_H

#include "VeskApiExport.h"

#include <string>

/**
 * The text by which an entry line ("Enter ...") names the function that it was written in.
 *
 * @param signature the function's full signature text
 * @param loggerName the logger that the line goes to. It already stands in every line that a layout with %c
 *        writes, so the text does not repeat it.
 * @return @p signature as it stands.
 */
VESK_API_EXPORT std::string dbglog_scopedFunction(const char* signature, const char* loggerName);

#endif
