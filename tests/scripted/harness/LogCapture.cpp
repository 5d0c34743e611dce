// SPDX-License-Identifier: MIT
#include "LogCapture.h"

#include "Record.h"

#include <log4cplus/appender.h>
#include <log4cplus/logger.h>
#include <log4cplus/spi/loggingevent.h>

namespace {

class RecordAppender : public log4cplus::Appender
{
public:
    ~RecordAppender() override { destructorImpl(); }
    void close() override { closed = true; }

protected:
    void append(const log4cplus::spi::InternalLoggingEvent& event) override
    {
        const std::string head = log4cplus::getLogLevelManager().toString(event.getLogLevel()) + " " +
                                 event.getLoggerName() + ": ";
        const std::string& message = event.getMessage();
        Record::instance().add(
            {Record::Log,
             QString::fromStdString(head) + QString::fromUtf8(message.data(), int(message.size())),
             QByteArray::fromStdString(event.getFile()), event.getLine(),
             QByteArray::fromStdString(event.getFunction())});
    }
};

} // namespace

LogCapture::LogCapture()
{
    log4cplus::Logger root = log4cplus::Logger::getRoot();
    root.removeAllAppenders();
    root.addAppender(log4cplus::SharedAppenderPtr(new RecordAppender));
    setLevel(log4cplus::TRACE_LOG_LEVEL);
}

LogCapture::~LogCapture()
{
    log4cplus::Logger::getRoot().removeAllAppenders();
}

void LogCapture::setLevel(log4cplus::LogLevel level)
{
    log4cplus::Logger::getRoot().setLogLevel(level);
}
