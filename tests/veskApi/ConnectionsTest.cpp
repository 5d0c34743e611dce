// SPDX-License-Identifier: MIT
#include "ApiTest.h"

#include <QThread>
#include <QTimer>
#include <csignal>
#include <veskConnect.h>

class Ear : public QObject
{
    Q_OBJECT

public:
    int heard = 0;

public Q_SLOTS:
    void hear() { ++heard; }
};

class Connections : public ApiTest
{
    Q_OBJECT

private:
    static void everyBuild()
    {
        QTest::addColumn<QString>("program");
        QTest::newRow("as the libraries are built") << QStringLiteral("core-library-child");
        QTest::newRow("without assertions") << QStringLiteral("core-library-child-ndebug");
    }

    static ChildResult childOfThisBuild(const QString& verb)
    {
        QFETCH(QString, program);
        return child({verb}, program);
    }

    static void lives(const QString& verb)
    {
        const ChildResult result = childOfThisBuild(verb);
        QVERIFY2(result.status == QProcess::NormalExit && result.code == 0, qPrintable(result.errors));
    }

    static void isStopped(const QString& verb, const QString& place, const QString& assertion)
    {
        const ChildResult result = childOfThisBuild(verb);
        QCOMPARE(result.status, QProcess::CrashExit);
        QCOMPARE(result.code, SIGABRT);
        const QRegularExpression line(
            QStringLiteral("(^|\\n)") + place +
            QRegularExpression::escape(QStringLiteral(": Assertion failed: ") + assertion) +
            QStringLiteral("\\n$"));
        QVERIFY2(line.match(result.errors).hasMatch(), qPrintable(result.errors));
    }

private Q_SLOTS:
    void byText()
    {
        QTimer timer;
        Ear ear;
        const QMetaObject::Connection connection =
            veskConnect(&timer, "2timeout()", &ear, "1hear()", Qt::DirectConnection);
        QVERIFY(connection);
        QVERIFY(QMetaObject::invokeMethod(&timer, "timeout"));
        QCOMPARE(ear.heard, 1);
        QVERIFY(QObject::disconnect(connection));
    }

    void byTextTheTypeIsObeyed()
    {
        QTimer timer;
        Ear ear;
        QVERIFY(veskConnect(&timer, SIGNAL(timeout()), &ear, SLOT(hear()), Qt::QueuedConnection));
        QVERIFY(QMetaObject::invokeMethod(&timer, "timeout"));
        QCOMPARE(ear.heard, 0);
        QCoreApplication::sendPostedEvents();
        QCOMPARE(ear.heard, 1);
    }

    void byTextWithoutSuchASlotOnlyWarns()
    {
        QTimer timer;
        Ear ear;
        Guards::expectWarning(QStringLiteral("No such slot Ear::listen\\(\\)"));
        QVERIFY(!veskConnect(&timer, SIGNAL(timeout()), &ear, SLOT(listen()), Qt::AutoConnection));
    }

    void byMember()
    {
        Ear sender;
        Ear ear;
        const QMetaObject::Connection connection =
            veskConnect(&sender, &QObject::objectNameChanged, &ear, &Ear::hear);
        QVERIFY(connection);
        sender.setObjectName(QStringLiteral("a"));
        QCOMPARE(ear.heard, 1); // at once: both live in one thread
        QVERIFY(QObject::disconnect(connection));
    }

    void byMemberTheTypeIsObeyed()
    {
        Ear sender;
        Ear ear;
        veskConnect(&sender, &QObject::objectNameChanged, &ear, &Ear::hear, Qt::QueuedConnection);
        sender.setObjectName(QStringLiteral("a"));
        QCOMPARE(ear.heard, 0);
        QCoreApplication::sendPostedEvents();
        QCOMPARE(ear.heard, 1);
    }

    void onlyAcrossThreadsTheTypesMatter()
    {
        const QMetaMethod registered = QMetaMethod::fromSignal(&QObject::objectNameChanged);
        const QMetaMethod pointer = QMetaMethod::fromSignal(&QObject::destroyed);
        QThread thread;
        QObject here;
        QObject there;
        there.moveToThread(&thread);
        QVERIFY(verifyConnectionSignalParameters(&here, registered, &here, Qt::AutoConnection));
        QVERIFY(verifyConnectionSignalParameters(&here, registered, &there, Qt::AutoConnection));
        QVERIFY(verifyConnectionSignalParameters(&here, pointer, &there, Qt::DirectConnection));
        QVERIFY(verifyConnectionSignalParameters(nullptr, registered, &there, Qt::AutoConnection));
        QVERIFY(verifyConnectionSignalParameters(&here, registered, nullptr, Qt::AutoConnection));
    }

    void anUnregisteredTypeInOneThreadIsFine_data() { everyBuild(); }
    void anUnregisteredTypeInOneThreadIsFine() { lives(QStringLiteral("connect-undeclared-in-one-thread")); }

    void aPointerAcrossThreadsIsFine_data() { everyBuild(); }
    void aPointerAcrossThreadsIsFine() { lives(QStringLiteral("connect-pointer-across-threads")); }

    void aChangedSettingAcrossThreadsIsFineFromTheStart_data() { everyBuild(); }
    void aChangedSettingAcrossThreadsIsFineFromTheStart()
    {
        lives(QStringLiteral("connect-item-across-threads"));
    }

    void anUnregisteredTypeAcrossThreadsStopsTheProcess_data() { everyBuild(); }
    void anUnregisteredTypeAcrossThreadsStopsTheProcess()
    {
        isStopped(QStringLiteral("connect-undeclared-across-threads"),
                  QStringLiteral("src/lib/veskApi/veskConnect\\.h:[0-9]+"),
                  QStringLiteral("verifyConnectionSignalParameters(sender, signal, receiver, type)"));
    }

    void aFailedConnectionStopsTheProcess_data() { everyBuild(); }
    void aFailedConnectionStopsTheProcess()
    {
        isStopped(QStringLiteral("connect-to-nobody"),
                  QStringLiteral("src/lib/veskApi/veskConnect\\.h:[0-9]+"), QStringLiteral("connection"));
    }

    void anAssertionNamesItsPlace_data() { everyBuild(); }
    void anAssertionNamesItsPlace()
    {
        isStopped(QStringLiteral("fail-assertion"), QStringLiteral("here\\.cpp:7"),
                  QStringLiteral("what should hold"));
    }
};

static const TestClass<Connections> registeredClass("Connections");

#include "ConnectionsTest.moc"
