// SPDX-License-Identifier: MIT
#ifndef LOG_CAPTURE_H
#define LOG_CAPTURE_H

#include <log4cplus/loglevel.h>

/** Brings every log line into the Record; while it lives, nothing else hears them. */
class LogCapture
{
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    static void setLevel(log4cplus::LogLevel level);
};

#endif
