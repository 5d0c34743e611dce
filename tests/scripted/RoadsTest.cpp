// SPDX-License-Identifier: MIT
#include "ScriptedTest.h"

#include <CMValueItem.h>
#include <QDir>
#include <QElapsedTimer>

/** Both factories' products from one end to the other, and for long. */
class Roads : public ScriptedTest
{
    Q_OBJECT

private:
    static int threads()
    {
        return QDir(QStringLiteral("/proc/self/task")).entryList(QDir::Dirs | QDir::NoDotAndDotDot).size();
    }

private Q_SLOTS:
    void ofARemoteService()
    {
        const std::unique_ptr<MDnsLister> lister(
            MDnsListerFactory::create(nullptr, QStringLiteral("_demo._tcp"), anyProtocol));
        browseAdd("Kitchen", 3);
        resolveReplies(3);
        addressArrives("fe80::1");
        txtArrives(txt({"a=1"}));
        txtArrives(txt({"b=2"}));
        browseRemove("Kitchen", 3);
        QCOMPARE(
            signalsSeen().filter(QRegularExpression(QStringLiteral("^client"))),
            (QStringList{QStringLiteral("clientChanged(Kitchen)"), QStringLiteral("clientChanged(Kitchen)"),
                         QStringLiteral("clientRemoved(Kitchen)")}));
        QCOMPARE(signalsSeen().filter(QStringLiteral("clientUpdated")).last(),
                 QStringLiteral("#4 clientUpdated(Kitchen on 3 [Kitchen._demo._tcp.local.], "
                                "{host=kitchen.local. name=Kitchen port=8080 addresses=[fe80::1%3] txt=[a=1 "
                                "b=2]})"));
        QCOMPARE(daemon.live(), 1);
    }

    void ofTheOwnService()
    {
        const std::unique_ptr<MDnsAdvertiser> advertiser(MDnsAdvertiserFactory::create(
            nullptr, QStringLiteral("Kitchen"), QStringLiteral("_demo._tcp"), 8080));
        registered("Kitchen");
        resolveReplies(0);
        addressArrives("10.0.0.1", 0);
        advertiser->updateTxt(QStringLiteral("k"), QStringLiteral("v"));
        CMValueItem item(CMPath::fromEncoded("systemmanager:/bonjourForceServiceName"));
        QCOMPARE(item.setValue(VeskValue(QStringLiteral("Cellar.local."))), QString());
        registered("Cellar");
        resolveReplies(0);
        addressArrives("10.0.0.1", 0);
        QCOMPARE(logs(QStringLiteral("INFO")).filter(QStringLiteral("advertising")),
                 (QStringList{QStringLiteral("Started advertising: Kitchen type: _demo._tcp on port 8080"),
                              QStringLiteral("Stopping advertising: Kitchen type: _demo._tcp"),
                              QStringLiteral("Started advertising: Cellar type: _demo._tcp on port 8080")}));
        QCOMPARE(signalsSeen().filter(QStringLiteral("nameRegistered")),
                 QStringList{QStringLiteral("nameRegistered(kitchen.local.)")});
    }

    void anIpv6ClientCarriesItsScope()
    {
        const auto started = lister();
        browseAdd("Kitchen", 3);
        resolveReplies(3);
        addressArrives("fe80::1");
        // Equality and hash of addresses leave the scope out, so it is looked at itself.
        const auto addresses = started->getClient(QStringLiteral("Kitchen")).addresses.values();
        QCOMPARE(addresses.size(), 1);
        QCOMPARE(addresses.first().scopeId(), QStringLiteral("3"));
    }

    void theLongestNames_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::newRow("63 control characters") << QByteArray(63, '\x01');
        QTest::newRow("63 dots") << QByteArray(63, '.');
        QTest::newRow("63 backslashes") << QByteArray(63, '\\');
        QTest::newRow("63 spaces") << QByteArray(63, ' ');
        QTest::newRow("21 3-byte characters") << QByteArray("\xE5\x8F\xB0").repeated(21);
        QTest::newRow("bytes that are no UTF-8") << QByteArray(63, '\xFF');
        QByteArray all;
        for (int byte = 1; byte < 256; ++byte)
            all += char(byte);
        for (int at = 0; at < all.size(); at += 63)
            QTest::newRow(("bytes from " + QByteArray::number(at + 1)).constData()) << all.mid(at, 63);
    }

    void theLongestNames()
    {
        QFETCH(QByteArray, name);
        QByteArray escaped;
        for (const char byte : name) {
            if (byte == '.' || byte == '\\')
                escaped += QByteArray("\\") + byte;
            else if (uchar(byte) <= ' ')
                escaped += QByteArray("\\") + QByteArray::number(uchar(byte)).rightJustified(3, '0');
            else
                escaped += byte;
        }
        const auto started = lister();
        ResolveReply reply;
        reply.fullName = escaped + "._demo._tcp.local.";
        browseAdd(name.constData(), 3);
        resolveReplies(3, reply);
        addressArrives("10.0.0.1");
        txtArrives(txt({"a=1"}));
        QCOMPARE(started->getClients().size(), 1);
        browseRemove(name.constData(), 3);
        QCOMPARE(started->getClients().size(), 0);
    }

    /** Of its own, that is: what the DNS-SD library behind it starts is that library's business. */
    void theLibraryItselfStartsNoThread()
    {
        const int before = threads();
        const auto listing = listerWithKitchen();
        const auto advertising = advertiser();
        advertising->start();
        registered("Kitchen");
        resolveReplies(0);
        addressArrives("10.0.0.1", 0);
        txtArrives(txt({"a=1"}));
        QCOMPARE(signalsSeen().last(), QStringLiteral("clientChanged(Kitchen)"));
        QCOMPARE(threads(), before);
    }

    void thousandsOfRoundsLeaveNothing()
    {
        LogCapture::setLevel(log4cplus::OFF_LOG_LEVEL);
        daemon.onStart = nullptr; // an account of all that would take longer than the rounds
        const auto started = lister();
        int changes = 0;
        connect(started.get(), &MDnsLister::clientChanged, [&] { ++changes; });
        const auto round = [&](const QByteArray& name) {
            browseAdd(name.constData(), 3);
            resolveRepliesFor(name, 3);
            addressArrives("10.0.0.1");
            txtArrives(txt({"a=1"}));
            QCOMPARE(started->getClients().size(), 1);
            browseRemove(name.constData(), 3);
            QCOMPARE(started->getClients().size(), 0);
        };
        round("Kitchen");
        const int descriptors = openDescriptors();
        const int children = started->children().size();
        // Valgrind sees a loss in any one of them, and takes its time for each.
        const int rounds = qEnvironmentVariableIntValue("SCRIPTED_FEW_ROUNDS") ? 100 : 2000;
        for (int number = 1; number <= rounds; ++number) {
            record.clear();
            round("Kitchen " + QByteArray::number(number % 7));
            QCOMPARE(changes, 1 + number);
        }
        QCOMPARE(openDescriptors(), descriptors);
        QCOMPARE(started->children().size(), children);
        QCOMPARE(daemon.live(), 1);
    }

    void hundredsOfRestartsLeaveNothing()
    {
        const auto started = advertiser();
        started->start();
        const int descriptors = openDescriptors();
        for (int number = 0; number < 500; ++number) {
            record.clear();
            started->forceInstanceName(QStringLiteral("Kitchen %1").arg(number));
            started->updateTxt(QStringLiteral("k"), QStringLiteral("v"));
            QCOMPARE(daemon.live(), 1);
        }
        QCOMPARE(openDescriptors(), descriptors);
        QCOMPARE(started->children().size(), 1);
    }
};

static const TestClass<Roads> registeredClass("Roads");

#include "RoadsTest.moc"
