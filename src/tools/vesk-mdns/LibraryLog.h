// SPDX-License-Identifier: MIT
#ifndef LIBRARY_LOG_H
#define LIBRARY_LOG_H

#include <QObject>
#include <QString>

struct Arguments;

/**
 * Listens to the libraries' log, the only place where they report what the DNS-SD library refuses. Errors are
 * signalled; with --verbose, all from INFO up; with --log-config, the file adds appenders of its own.
 */
class LibraryLog : public QObject
{
    Q_OBJECT

public:
    explicit LibraryLog(const Arguments& arguments);
    ~LibraryLog() override;

    /** The first error since construction, in words; empty when there was none. */
    const QString& firstError() const { return m_firstError; }

Q_SIGNALS:
    /** A line of the log, for the user to read. Emitted inside the call that logged it. */
    void logged(const QString& text);

private:
    friend class LogListener;
    void receive(int level, const QString& loggerName, const QString& message);

    QString m_firstError;
};

/** @p text, its error number of the DNS-SD library explained when it holds one. */
QString explainError(const QString& text);

#endif
