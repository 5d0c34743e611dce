// SPDX-License-Identifier: MIT
#ifndef SHOW_H
#define SHOW_H

#include <QHostInfo>
#include <QTextStream>
#include <QTime>
#include <log4cplus/configurator.h>
#include <log4cplus/initializer.h>
#include <log4cplus/logger.h>

/** Prints one event: when, on which host, from whom, what. */
inline void show(const char* who, const QString& what)
{
    QTextStream out(stdout);
    out.setCodec("UTF-8");
    out << QTime::currentTime().toString(QStringLiteral("HH:mm:ss.zzz  ")) << QHostInfo::localHostName()
        << QStringLiteral("  %1  ").arg(QLatin1String(who), -10) << what << '\n';
}

inline QString quoted(const QString& text)
{
    return QLatin1Char('"') + text + QLatin1Char('"');
}

/** Sends what the library logs to standard error, from the level in DEMO_LOG_LEVEL (WARN) on. */
class ErrorLog
{
public:
    ErrorLog()
    {
        log4cplus::BasicConfigurator::doConfigure(log4cplus::Logger::getDefaultHierarchy(), true);
        log4cplus::Logger::getRoot().setLogLevel(log4cplus::getLogLevelManager().fromString(
            qEnvironmentVariable("DEMO_LOG_LEVEL", QStringLiteral("WARN")).toStdString()));
    }

private:
    log4cplus::Initializer m_initializer;
};

#endif
