// SPDX-License-Identifier: MIT
#ifndef LIBRARY_LOG_H
#define LIBRARY_LOG_H

#include <QObject>
#include <QString>

/**
 * Listens to the libraries' log, the only place where they report what the DNS-SD library refuses. Errors are
 * signalled; in a verbose log, all from INFO up.
 */
class LibraryLog : public QObject
{
    Q_OBJECT

public:
    /** @param configFile a log4cplus properties file that adds appenders of its own; empty for none. */
    LibraryLog(bool isVerbose, const QString& configFile);
    ~LibraryLog() override;

    /** What was refused first since construction, in words; empty when nothing was. */
    const QString& refusal() const { return m_refusal; }

Q_SIGNALS:
    /** A line of the log, for the user to read. Emitted inside the call that logged it. */
    void logged(const QString& text);
    /** A service is not registered, and will not be. Emitted inside the call that logged it. */
    void registrationRefused(const QString& why);
    /** A lister finds nothing more. Emitted inside the call that logged it. */
    void browseRefused(const QString& why);

private:
    friend class LogListener;
    void receive(int level, const QString& loggerName, const QString& message);
    void keepRefusal(const QString& message);

    const bool m_isVerbose;
    QString m_refusal;
    bool m_isRefusalExplained = false;
};

#endif
