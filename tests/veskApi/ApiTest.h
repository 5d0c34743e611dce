// SPDX-License-Identifier: MIT
#ifndef API_TEST_H
#define API_TEST_H

#include "Guards.h"
#include "LogCapture.h"
#include "Record.h"
#include "TestMain.h"

#include <CMPath.h>
#include <CMValueItem.h>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <memory>

/** What a child process left: how it ended and what it wrote. */
struct ChildResult
{
    QProcess::ExitStatus status = QProcess::NormalExit;
    int code = 0; ///< exit code; the signal when it crashed
    QString output;
    QString errors;
};

/** The base of all tests of the core library: a settings directory of their own, and the guards. */
class ApiTest : public QObject
{
    Q_OBJECT

protected:
    static CMPath namePath();  ///< "systemmanager:/name"
    static CMPath otherPath(); ///< "systemmanager:/other", in the same file

    QString directory() const { return configuration->path(); }
    /** The file of the scheme "systemmanager". */
    QString fileName() const { return directory() + QStringLiteral("/systemmanager.json"); }
    static void useDirectory(const QString& path);

    static void writeInPlace(const QString& fileName, const QByteArray& content);
    /** As editors do: a new file takes the place of the old one. */
    static void replace(const QString& fileName, const QByteArray& content);
    static QByteArray contentOf(const QString& fileName);

    /** Runs the child program to its end; "core-library-child" or another one beside it. */
    static ChildResult child(const QStringList& arguments,
                             const QString& program = QStringLiteral("core-library-child"));
    static QString childProgram(const QString& program);

    static QStringList warnings();

protected Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

private:
    Guards guards;
    std::unique_ptr<LogCapture> logCapture;
    std::unique_ptr<QTemporaryDir> configuration;
};

#endif
