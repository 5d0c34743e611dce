// SPDX-License-Identifier: MIT
#include "ScriptedTest.h"

class ForcedName : public ScriptedTest
{
    Q_OBJECT

private:
    /** The name in force after an advertiser named "Own" was forced to another. */
    QByteArray forced(const QString& name, const QString& type = QStringLiteral("_demo._tcp"))
    {
        const auto started = advertiser(QStringLiteral("Own"), type);
        started->start();
        record.clear();
        started->forceInstanceName(name);
        accountOfForcing = record.of(~0);
        return daemon.newest(Op::Register)->name;
    }

    QStringList accountOfForcing;

private Q_SLOTS:
    void names_data()
    {
        QTest::addColumn<QString>("type");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("registered");
        const auto row = [](const char* tag, const QString& name, const QByteArray& registered,
                            const QString& type = QStringLiteral("_demo._tcp")) {
            QTest::newRow(tag) << type << name << registered;
        };
        row("plain", QStringLiteral("Living Room"), "Living Room");
        row("trailing dot", QStringLiteral("Living Room."), "Living Room");
        row("two trailing dots lose one", QStringLiteral("Living Room.."), "Living Room.");
        row(".local", QStringLiteral("Living Room.local"), "Living Room");
        row(".local and a dot", QStringLiteral("Living Room.local."), "Living Room");
        row(".local twice loses one", QStringLiteral("Living Room.local.local"), "Living Room.local");
        row("a dot before .local stays", QStringLiteral("Living Room..local"), "Living Room.");
        row(".LOCAL stays", QStringLiteral("Living Room.LOCAL"), "Living Room.LOCAL");
        row("local without a dot stays", QStringLiteral("Roomlocal"), "Roomlocal");
        row(".local inside stays", QStringLiteral("a.local b"), "a.local b");
        row("a dot inside stays", QStringLiteral("Dr. Who"), "Dr. Who");
        row("the full name", QStringLiteral("Living Room._demo._tcp.local."), "Living Room");
        row("the type", QStringLiteral("Living Room._demo._tcp"), "Living Room");
        row("the type without a dot", QStringLiteral("Living Room_demo._tcp"), "Living Room");
        row("the type twice loses one", QStringLiteral("Room._demo._tcp._demo._tcp"), "Room._demo._tcp");
        row("a type inside with the own one at the end", QStringLiteral("a._b._demo._tcp"), "a._b");
        row("another type is ignored", QStringLiteral("Living Room._ipp._tcp"), "Own");
        row("another type is ignored with .local", QStringLiteral("Living Room._ipp._tcp.local."), "Own");
        row("capitals are another type", QStringLiteral("LIVING._DEMO._TCP"), "Own");
        row("a dot and an underscore anywhere", QStringLiteral("a._b"), "Own");
        row("an underscore alone", QStringLiteral("a_b"), "a_b");
        row("empty", QString(), "Own");
        row("a dot", QStringLiteral("."), "Own");
        row("only .local", QStringLiteral(".local"), "Own");
        row("only .local.", QStringLiteral(".local."), "Own");
        row("only the type", QStringLiteral("_demo._tcp"), "Own");
        row("only a dot and the type", QStringLiteral("._demo._tcp.local."), "Own");
        row("a type that is not ASCII", QStringLiteral(u"Room._d\u00E9mo._tcp"), "Room",
            QStringLiteral(u"_d\u00E9mo._tcp"));
        row("the dots of the type are plain", QStringLiteral("Room_demoX_tcp"), "Room_demoX_tcp");
        // The end is compared as plain text, the removal is a pattern in which only dots are plain.
        row("an operator in the type: the type stays", QStringLiteral("Room._c++._tcp"), "Room._c++._tcp",
            QStringLiteral("_c++._tcp"));
        row("an operator in the type: cut to 63 bytes",
            QString(60, QLatin1Char('x')) + QStringLiteral("._d+._tcp"), QByteArray(60, 'x') + "._d",
            QStringLiteral("_d+._tcp"));
        row("an operator in the type that does not match itself", QStringLiteral("Room._d*._tcp"),
            "Room._d*._tcp", QStringLiteral("_d*._tcp"));
        row("an operator in the type beside a dot", QStringLiteral("Hall_aX._a.|._tcp"), "Hall_aX|",
            QStringLiteral("_a.|._tcp"));
        // The end of the text is its very end, behind a newline too.
        row("a dot before a newline stays", QStringLiteral("Room.\n"), "Room.\n");
        row(".local before a newline stays", QStringLiteral("Room.local\n"), "Room.local\n");
        row("the type before a newline is another one", QStringLiteral("Room._demo._tcp\n"), "Own");
        row("nothing is trimmed", QStringLiteral("  Room \t"), "  Room \t");
        row("blanks alone are a name", QStringLiteral(" "), " ");
        row("a blank before the type stays", QStringLiteral("Room ._demo._tcp"), "Room ");
        row("63 bytes", QString(63, QLatin1Char('x')), QByteArray(63, 'x'));
        row("70 bytes", QString(70, QLatin1Char('x')), QByteArray(63, 'x'));
        row("70 bytes of 2-byte characters", QStringLiteral(u"\u00FC").repeated(35),
            QByteArray("\xC3\xBC").repeated(31));
        row("72 bytes of 3-byte characters", QStringLiteral(u"\u53F0").repeated(24),
            QByteArray("\xE5\x8F\xB0").repeated(21));
        row("72 bytes of 4-byte characters", QStringLiteral(u"\U0001F373").repeated(18),
            QByteArray("\xF0\x9F\x8D\xB3").repeated(15));
        row("a long name with the type", QString(70, QLatin1Char('x')) + QStringLiteral("._demo._tcp"),
            QByteArray(63, 'x'));
    }

    void names()
    {
        QFETCH(QString, type);
        QFETCH(QString, name);
        QFETCH(QByteArray, registered);
        QCOMPARE(forced(name, type), registered);
        if (registered == "Own") // in force already: nothing was done
            QCOMPARE(accountOfForcing, QStringList());
    }

    void theTypeEndsAtItsFirstZeroByte()
    {
        const QString type = QStringLiteral("_demo._tcp") + QChar(0) + QStringLiteral("junk");
        QCOMPARE(forced(QStringLiteral("Room._demo._tcp"), type), QByteArray("Room"));
    }

    void anIgnoredOrUnchangedNameDoesNothing_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("another type") << QStringLiteral("Living Room._ipp._tcp");
        QTest::newRow("capitals") << QStringLiteral("LIVING._DEMO._TCP");
        QTest::newRow("the same") << QStringLiteral("Own");
        QTest::newRow("the same with everything") << QStringLiteral("Own._demo._tcp.local.");
        QTest::newRow("empty while the own name is in force") << QString();
        QTest::newRow("dot while the own name is in force") << QStringLiteral(".");
        QTest::newRow(".local while the own name is in force") << QStringLiteral(".local");
    }

    void anIgnoredOrUnchangedNameDoesNothing()
    {
        QFETCH(QString, name);
        const auto started = advertiser(QStringLiteral("Own"));
        started->start();
        record.clear();
        started->forceInstanceName(name);
        QCOMPARE(record.of(~0), QStringList());
    }

    void anIgnoredNameKeepsTheForcedOne()
    {
        const auto started = advertiser(QStringLiteral("Own"));
        started->start();
        started->forceInstanceName(QStringLiteral("Other"));
        record.clear();
        started->forceInstanceName(QStringLiteral("Living Room._ipp._tcp"));
        QCOMPARE(record.of(~0), QStringList());
        started->stop();
        started->start();
        QCOMPARE(daemon.newest(Op::Register)->name, QByteArray("Other"));
    }

    void aNewNameStopsAndStarts()
    {
        const auto started = advertiser(QStringLiteral("Own"));
        started->start();
        record.clear();
        started->forceInstanceName(QStringLiteral("Other"));
        QCOMPARE(record.of(Record::Log | Record::Call),
                 (QStringList{
                     QStringLiteral("INFO BonjourAdvertiser: Stopping advertising: Own type: _demo._tcp"),
                     QStringLiteral("TXTRecordDeallocate()"), QStringLiteral("DNSServiceRefDeallocate(#1)"),
                     QStringLiteral("DNSServiceRegister(#2, flags=0, if=0, name='Other', "
                                    "type='_demo._tcp', domain=null, host=null, port=1f 90, txt=0 null)"),
                     QStringLiteral("DNSServiceRefSockFD(#2)"), QStringLiteral("TXTRecordCreate(0, null)"),
                     QStringLiteral("INFO BonjourAdvertiser: Started advertising: Other type: _demo._tcp "
                                    "on port 8080")}));
    }

    void anEmptyNameRestoresTheFirst_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("empty") << QString();
        QTest::newRow("dot") << QStringLiteral(".");
        QTest::newRow(".local") << QStringLiteral(".local");
        QTest::newRow("the type") << QStringLiteral("_demo._tcp");
    }

    void anEmptyNameRestoresTheFirst()
    {
        QFETCH(QString, name);
        const auto started = advertiser(QStringLiteral("Own"));
        started->start();
        started->forceInstanceName(QStringLiteral("Other"));
        record.clear();
        started->forceInstanceName(name);
        QCOMPARE(daemon.newest(Op::Register)->name, QByteArray("Own"));
        record.clear();
        started->forceInstanceName(name);
        QCOMPARE(record.of(~0), QStringList());
    }

    void theFirstNameIsRestoredAsItWasCut()
    {
        const auto started = advertiser(QString(70, QLatin1Char('o')));
        started->start();
        started->forceInstanceName(QStringLiteral("Other"));
        started->forceInstanceName(QString());
        QCOMPARE(daemon.newest(Op::Register)->name, QByteArray(63, 'o'));
    }

    void theSameLongNameAgainDoesNothing()
    {
        const auto started = advertiser(QStringLiteral("Own"));
        started->start();
        started->forceInstanceName(QString(70, QLatin1Char('x')));
        record.clear();
        started->forceInstanceName(QString(70, QLatin1Char('x')));
        started->forceInstanceName(QString(63, QLatin1Char('x')));
        QCOMPARE(record.of(~0), QStringList());
    }

    void namesAreComparedByteForByte() { QCOMPARE(forced(QStringLiteral("own")), QByteArray("own")); }

    void theNameTheDaemonChoseDoesNotMatter()
    {
        const auto started = advertiser(QStringLiteral("Own"));
        started->start();
        registered("Own (2)");
        record.clear();
        started->forceInstanceName(QStringLiteral("Own"));
        QCOMPARE(record.of(~0), QStringList());
        started->forceInstanceName(QStringLiteral("Own (2)"));
        QCOMPARE(daemon.newest(Op::Register)->name, QByteArray("Own (2)"));
    }

    void anIdleAdvertiserIsStarted()
    {
        const auto idle = advertiser(QStringLiteral("Own"));
        idle->forceInstanceName(QStringLiteral("Other"));
        QCOMPARE(logs(),
                 QStringList{QStringLiteral("INFO BonjourAdvertiser: Started advertising: Other type: "
                                            "_demo._tcp on port 8080")});
    }

    void anIdleAdvertiserStaysIdleForItsOwnName()
    {
        const auto idle = advertiser(QStringLiteral("Own"));
        idle->forceInstanceName(QStringLiteral("Own"));
        QCOMPARE(record.of(~0), QStringList());
    }

    void aRestartIsVirtual()
    {
        class Counting : public BonjourAdvertiser
        {
        public:
            using BonjourAdvertiser::BonjourAdvertiser;
            void start() override
            {
                ++starts;
                BonjourAdvertiser::start();
            }
            int starts = 0;
        } counting(nullptr, QStringLiteral("Own"), QStringLiteral("_demo._tcp"), 80);
        counting.forceInstanceName(QStringLiteral("Other"));
        QCOMPARE(counting.starts, 1);
    }

    void theNewNameStaysWhenTheRestartFails()
    {
        const auto started = advertiser(QStringLiteral("Own"));
        started->start();
        daemon.failNext(Op::Register, kDNSServiceErr_ServiceNotRunning);
        started->forceInstanceName(QStringLiteral("Other"));
        QCOMPARE(daemon.live(), 0);
        started->start();
        QCOMPARE(daemon.newest(Op::Register)->name, QByteArray("Other"));
    }

    void entriesOfTheOldNameAreGone()
    {
        const auto started = advertiser(QStringLiteral("Own"));
        started->start();
        started->updateTxt(QStringLiteral("k"), QStringLiteral("1"));
        started->forceInstanceName(QStringLiteral("Other"));
        started->updateTxt();
        QVERIFY(calls().last().contains(QLatin1String("rdata=0 null")));
    }
};

static const TestClass<ForcedName> registeredClass("ForcedName");

#include "ForcedNameTest.moc"
