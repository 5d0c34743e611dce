// SPDX-License-Identifier: MIT
#include "LibraryLog.h"

#include "Arguments.h"

#include <QRegularExpression>
#include <dns_sd.h>
#include <log4cplus/appender.h>
#include <log4cplus/configurator.h>
#include <log4cplus/helpers/pointer.h>
#include <log4cplus/logger.h>
#include <log4cplus/spi/loggingevent.h>

class LogListener : public log4cplus::Appender
{
public:
    explicit LogListener(LibraryLog* owner)
        : m_owner(owner)
    {
    }
    ~LogListener() override { destructorImpl(); }

    void close() override { closed = true; }

protected:
    void append(const log4cplus::spi::InternalLoggingEvent& event) override
    {
        m_owner->receive(event.getLogLevel(), QString::fromStdString(event.getLoggerName()),
                         QString::fromStdString(event.getMessage()));
    }

private:
    LibraryLog* m_owner;
};

LibraryLog::LibraryLog(const Arguments& arguments)
{
    log4cplus::Logger root = log4cplus::Logger::getRoot();
    root.setLogLevel(arguments.verbose ? log4cplus::INFO_LOG_LEVEL : log4cplus::ERROR_LOG_LEVEL);
    if (!arguments.logConfig.isEmpty())
        log4cplus::PropertyConfigurator::doConfigure(arguments.logConfig.toStdString());
    log4cplus::SharedAppenderPtr listener(new LogListener(this));
    listener->setThreshold(arguments.verbose ? log4cplus::INFO_LOG_LEVEL : log4cplus::ERROR_LOG_LEVEL);
    root.addAppender(listener);
}

LibraryLog::~LibraryLog()
{
    log4cplus::Logger::getRoot().removeAllAppenders();
}

void LibraryLog::receive(int level, const QString& loggerName, const QString& message)
{
    const QString text = explainError(message);
    if (level >= log4cplus::ERROR_LOG_LEVEL && m_firstError.isEmpty())
        m_firstError = text;
    Q_EMIT logged(loggerName + ": " + text);
}

QString explainError(const QString& text)
{
    static const QRegularExpression number("-65[0-9]{3}");
    switch (number.match(text).captured().toInt()) {
    case kDNSServiceErr_ServiceNotRunning:
        return text + " (the mDNS daemon or the message bus is not running)";
    case kDNSServiceErr_BadParam:
        return text + " (the DNS-SD library does not accept these arguments)";
    case kDNSServiceErr_Unsupported:
        return text + " (the DNS-SD library cannot do this)";
    case kDNSServiceErr_Refused:
        return text + " (the mDNS daemon has too many clients)";
    case kDNSServiceErr_Timeout:
        return text + " (the mDNS daemon does not answer)";
    default:
        return text;
    }
}
