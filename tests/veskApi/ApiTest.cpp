// SPDX-License-Identifier: MIT
#include "ApiTest.h"

#include <QCoreApplication>
#include <QFile>
#include <QSaveFile>

CMPath ApiTest::namePath()
{
    return CMPath::fromEncoded("systemmanager:/name");
}

CMPath ApiTest::otherPath()
{
    return CMPath::fromEncoded("systemmanager:/other");
}

void ApiTest::useDirectory(const QString& path)
{
    qputenv("VESK_CONFIG_DIR", QFile::encodeName(path));
}

void ApiTest::writeInPlace(const QString& fileName, const QByteArray& content)
{
    QFile file(fileName);
    QVERIFY2(file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered),
             qPrintable(file.errorString()));
    QCOMPARE(file.write(content), content.size());
}

void ApiTest::replace(const QString& fileName, const QByteArray& content)
{
    QSaveFile file(fileName);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), content.size());
    QVERIFY(file.commit());
}

QByteArray ApiTest::contentOf(const QString& fileName)
{
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QString ApiTest::childProgram(const QString& program)
{
    return QCoreApplication::applicationDirPath() + QLatin1Char('/') + program;
}

ChildResult ApiTest::child(const QStringList& arguments, const QString& program)
{
    QProcess process;
    process.start(childProgram(program), arguments);
    if (!process.waitForFinished())
        return {QProcess::CrashExit, -1, {}, process.errorString()};
    return {process.exitStatus(), process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

QStringList ApiTest::warnings()
{
    return Record::instance().of(Record::Log).filter(QStringLiteral("WARN ConfigStore: "));
}

void ApiTest::initTestCase()
{
    // What Qt makes once for child processes and keeps is none of a test's doing.
    child({});
    QTest::qWait(0);
}

void ApiTest::init()
{
    configuration = std::make_unique<QTemporaryDir>();
    useDirectory(directory());
    Record::instance().clear();
    logCapture.reset(); // of a test that failed
    logCapture = std::make_unique<LogCapture>();
    guards.begin();
}

void ApiTest::cleanup()
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    const QStringList complaints = guards.end();
    logCapture.reset();
    if (!QTest::currentTestFailed())
        QVERIFY2(complaints.isEmpty(), qPrintable(complaints.join(QLatin1Char('\n'))));
}
