// SPDX-License-Identifier: MIT
#include "LibraryLog.h"

#include "DnsSdError.h"

#include <log4cplus/appender.h>
#include <log4cplus/configurator.h>
#include <log4cplus/helpers/pointer.h>
#include <log4cplus/logger.h>
#include <log4cplus/spi/filter.h>
#include <log4cplus/spi/loggingevent.h>

namespace {

constexpr char advertiserLog[] = "BonjourAdvertiser";
constexpr char listerLog[] = "BonjourLister";
// The advertiser reports a refused registration at this level, and nothing else.
constexpr log4cplus::LogLevel refusalLevel = log4cplus::DEBUG_LOG_LEVEL;
// The lister begins the report of a refused browse with this.
constexpr char browseRefusal[] = "Error in bonjourBrowseReplyCallback:";

/** Lets the logger tell what is at @p level, and its present appenders write no more than before. */
void lowerLevel(const char* loggerName, log4cplus::LogLevel level)
{
    log4cplus::Logger logger = log4cplus::Logger::getInstance(loggerName);
    const log4cplus::LogLevel chosen = logger.getChainedLogLevel();
    if (chosen <= level)
        return;
    log4cplus::SharedAppenderPtrList appenders = log4cplus::Logger::getRoot().getAllAppenders();
    const log4cplus::SharedAppenderPtrList own = logger.getAllAppenders();
    appenders.insert(appenders.end(), own.begin(), own.end());
    for (log4cplus::SharedAppenderPtr& appender : appenders)
        appender->addFilter([loggerName, chosen](const log4cplus::spi::InternalLoggingEvent& event) {
            const bool isTooMuch = event.getLoggerName() == loggerName && event.getLogLevel() < chosen;
            return isTooMuch ? log4cplus::spi::DENY : log4cplus::spi::NEUTRAL;
        });
    logger.setLogLevel(level);
}

/** @p message with its error number, if it reports one, in words. */
QString explained(const QString& message)
{
    const DNSServiceErrorType error = reportedError(message);
    if (error == kDNSServiceErr_NoError)
        return message;
    const ErrorWords words = errorWords(error);
    return QString("%1 (%2; %3)").arg(message, words.meaning, words.advice);
}

} // namespace

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

LibraryLog::LibraryLog(bool isVerbose, const QString& configFile)
    : m_isVerbose(isVerbose)
{
    const log4cplus::LogLevel level = isVerbose ? log4cplus::INFO_LOG_LEVEL : log4cplus::ERROR_LOG_LEVEL;
    log4cplus::Logger root = log4cplus::Logger::getRoot();
    root.setLogLevel(level);
    if (!configFile.isEmpty())
        log4cplus::PropertyConfigurator::doConfigure(configFile.toStdString());
    lowerLevel(advertiserLog, refusalLevel);
    lowerLevel(listerLog, level);
    root.addAppender(log4cplus::SharedAppenderPtr(new LogListener(this)));
}

LibraryLog::~LibraryLog()
{
    log4cplus::Logger::getRoot().removeAllAppenders();
}

void LibraryLog::receive(int level, const QString& loggerName, const QString& message)
{
    const bool isRefusedRegistration = loggerName == advertiserLog && level == refusalLevel;
    const bool isRefusedBrowse = loggerName == listerLog && message.startsWith(browseRefusal);
    const bool isError = level >= log4cplus::ERROR_LOG_LEVEL || isRefusedRegistration;
    if (isError)
        keepRefusal(message);
    if (isRefusedRegistration)
        Q_EMIT registrationRefused(errorLine(reportedError(message)));
    else if (isRefusedBrowse)
        Q_EMIT browseRefused(errorLine(reportedError(message)));
    else if (isError || (m_isVerbose && level >= log4cplus::INFO_LOG_LEVEL))
        Q_EMIT logged(loggerName + ": " + explained(message));
}

/** The libraries may report one refusal in several lines; the one with an error number says why. */
void LibraryLog::keepRefusal(const QString& message)
{
    const DNSServiceErrorType error = reportedError(message);
    const bool hasNumber = error != kDNSServiceErr_NoError;
    if (!m_refusal.isEmpty() && (m_isRefusalExplained || !hasNumber))
        return;
    m_refusal = hasNumber ? errorLine(error) : message;
    m_isRefusalExplained = hasNumber;
}
