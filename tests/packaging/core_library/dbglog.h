// SPDX-License-Identifier: MIT
#pragma once
#include <string>

std::string dbglog_scopedFunction(const char* signature, const char* loggerName);
