// SPDX-License-Identifier: MIT
// The libraries' log as the tool shows it; this program runs on hosta of a lab.
#include "ToolProcess.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

class LibraryLogTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void verboseOptionShowsTheLog();
    void logConfigurationFileIsFollowed();
    void verboseOptionWritesNoMoreIntoAConfiguredLog();
};

void LibraryLogTest::verboseOptionShowsTheLog()
{
    ToolProcess tool({"--verbose", "--timeout", "0.5", "browse", "_nothing._tcp"});
    QCOMPARE(tool.status(), 1);
    QVERIFY(tool.errors().contains("BonjourLister: "));
}

/** A log4cplus configuration of one file, and what is in that file. */
class LogFile
{
public:
    explicit LogFile(const QByteArray& level)
    {
        QFile file(configuration());
        file.open(QIODevice::WriteOnly);
        file.write("log4cplus.rootLogger=" + level +
                   ", F\nlog4cplus.appender.F=log4cplus::FileAppender\nlog4cplus.appender.F.File=" +
                   log().toUtf8() + "\n");
    }

    QString configuration() const { return m_directory.filePath("properties"); }

    QByteArray written() const
    {
        QFile file(log());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("no file");
    }

private:
    QString log() const { return m_directory.filePath("log"); }

    QTemporaryDir m_directory;
};

void LibraryLogTest::logConfigurationFileIsFollowed()
{
    const LogFile log("INFO");
    ToolProcess tool({"--log-config", log.configuration(), "--timeout", "0.5", "browse", "_nothing._tcp"});
    QCOMPARE(tool.status(), 1);
    QVERIFY(!tool.errors().contains("BonjourLister"));
    QVERIFY(log.written().contains("_nothing._tcp"));
}

void LibraryLogTest::verboseOptionWritesNoMoreIntoAConfiguredLog()
{
    const LogFile log("ERROR");
    ToolProcess tool(
        {"--verbose", "--log-config", log.configuration(), "--timeout", "0.5", "browse", "_nothing._tcp"});
    QCOMPARE(tool.status(), 1);
    QVERIFY(tool.errors().contains("BonjourLister: "));
    QCOMPARE(log.written(), QByteArray());
}

QTEST_GUILESS_MAIN(LibraryLogTest)
#include "LibraryLogTest.moc"
