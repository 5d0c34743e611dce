// SPDX-License-Identifier: MIT
#ifndef CORE_DOUBLE_H
#define CORE_DOUBLE_H

#include <QByteArray>

/**
 * Watches the library's calls of the core library: functions of the same name stand in the test program, and
 * so before those of the shared library, which they then call.
 */
namespace CoreDouble {

/** How often text was written to a stream, which costs time even when no appender writes it. */
int streamedTexts();

/** How the double of dbglog_scopedFunction() marks its text, so that a signature alone is not taken for it.
 */
constexpr char scopeOpen[] = "[";
constexpr char scopeClose[] = "]";

} // namespace CoreDouble

#endif
