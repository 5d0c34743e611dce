// SPDX-License-Identifier: MIT
#include "dbglog.h"

std::string dbglog_scopedFunction(const char* signature, const char* /*loggerName*/)
{
    return signature;
}
