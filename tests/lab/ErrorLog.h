// SPDX-License-Identifier: MIT
#ifndef ERROR_LOG_H
#define ERROR_LOG_H

#include <log4cplus/configurator.h>
#include <log4cplus/initializer.h>
#include <log4cplus/logger.h>

/** While it lives, warnings and errors of the libraries go to standard error. */
class ErrorLog
{
public:
    ErrorLog()
    {
        log4cplus::BasicConfigurator::doConfigure(log4cplus::Logger::getDefaultHierarchy(), true);
        log4cplus::Logger::getRoot().setLogLevel(log4cplus::WARN_LOG_LEVEL);
    }

private:
    log4cplus::Initializer m_initializer;
};

#endif
