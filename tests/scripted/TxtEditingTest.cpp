// SPDX-License-Identifier: MIT
#include "ScriptedTest.h"

class TxtEditing : public ScriptedTest
{
    Q_OBJECT

private:
    std::unique_ptr<BonjourAdvertiser> advertising()
    {
        auto started = advertiser();
        started->start();
        record.clear();
        return started;
    }

    static QString update(int length, const QString& bytes)
    {
        return QStringLiteral("DNSServiceUpdateRecord(#1, record=null, flags=0, rdata=%1 %2, ttl=0)")
            .arg(length)
            .arg(bytes);
    }

private Q_SLOTS:
    void aKeyIsSetAndSent()
    {
        const auto started = advertising();
        started->updateTxt(QStringLiteral("path"), QStringLiteral("/"));
        QCOMPARE(record.of(~Record::Pure),
                 (QStringList{QStringLiteral("INFO BonjourAdvertiser: Adding txt: path=/"),
                              QStringLiteral("TXTRecordSetValue('path', 1 '/')"),
                              update(7, QStringLiteral("'\\06path=/'"))}));
    }

    void anEmptyValueIsSentWithItsEqualsSign_data()
    {
        QTest::addColumn<QString>("value");
        QTest::newRow("null") << QString();
        QTest::newRow("empty") << QStringLiteral("");
    }

    void anEmptyValueIsSentWithItsEqualsSign()
    {
        QFETCH(QString, value);
        const auto started = advertising();
        started->updateTxt(QStringLiteral("k"), value);
        QCOMPARE(calls(), (QStringList{QStringLiteral("TXTRecordSetValue('k', 0 '')"),
                                       update(3, QStringLiteral("'\\02k='"))}));
    }

    void lengthsCountModulo256_data()
    {
        QTest::addColumn<int>("length");
        QTest::addColumn<int>("sent");
        QTest::newRow("0 bytes") << 0 << 0;
        QTest::newRow("1 byte") << 1 << 1;
        QTest::newRow("43 bytes") << 43 << 43;
        QTest::newRow("252 bytes: the longest item") << 252 << 252;
        QTest::newRow("253 bytes") << 253 << 253;
        QTest::newRow("254 bytes") << 254 << 254;
        QTest::newRow("255 bytes") << 255 << 255;
        QTest::newRow("256 bytes are none") << 256 << 0;
        QTest::newRow("257 bytes are 1") << 257 << 1;
        QTest::newRow("300 bytes are 44") << 300 << 44;
    }

    void lengthsCountModulo256()
    {
        QFETCH(int, length);
        QFETCH(int, sent);
        const auto started = advertising();
        started->updateTxt(QStringLiteral("k"), QString(length, QLatin1Char('x')));
        const QString value(sent, QLatin1Char('x'));
        QCOMPARE(calls().first(), QStringLiteral("TXTRecordSetValue('k', %1 '%2')").arg(sent).arg(value));
        // Key, equals sign and value together are at most 254 bytes; beyond that the record stays as it was.
        const QByteArray item = "k=" + value.toLatin1();
        QCOMPARE(calls().last(),
                 item.size() > 254
                     ? update(0, QStringLiteral("null"))
                     : update(item.size() + 1, QStringLiteral("'%1'").arg(QString::fromLatin1(
                                                   txt({item}).toPercentEncoding("= ", {}, '\\')))));
    }

    void keyAndValueAreSentInUtf8()
    {
        const auto started = advertising();
        started->updateTxt(QStringLiteral("k"), QStringLiteral(u"\u00FC\u53F0"));
        QCOMPARE(calls(), (QStringList{QStringLiteral("TXTRecordSetValue('k', 5 '\\C3\\BC\\E5\\8F\\B0')"),
                                       update(8, QStringLiteral("'\\07k=\\C3\\BC\\E5\\8F\\B0'"))}));
        QCOMPARE(logs(), QStringList{QStringLiteral(u"INFO BonjourAdvertiser: Adding txt: k=\u00FC\u53F0")});
    }

    void equalsSignsInTheValueAreKept()
    {
        const auto started = advertising();
        started->updateTxt(QStringLiteral("a"), QStringLiteral("b=c"));
        QCOMPARE(calls().last(), update(6, QStringLiteral("'\\05a=b=c'")));
    }

    void invalidKeysLeaveTheRecordAndAreStillSent_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("empty") << QString();
        QTest::newRow("equals sign") << QStringLiteral("a=b");
        QTest::newRow("not ASCII") << QStringLiteral(u"\u00FC");
        QTest::newRow("control character") << QStringLiteral("a\tb");
    }

    void invalidKeysLeaveTheRecordAndAreStillSent()
    {
        QFETCH(QString, name);
        const auto started = advertising();
        started->updateTxt(QStringLiteral("k"), QStringLiteral("v"));
        record.clear();
        started->updateTxt(name, QStringLiteral("x"));
        QCOMPARE(calls().size(), 2);
        QCOMPARE(calls().first(), QStringLiteral("TXTRecordSetValue('%1', 1 'x')").arg(name));
        QCOMPARE(calls().last(), update(4, QStringLiteral("'\\03k=v'")));
        QCOMPARE(logs(), QStringList{QStringLiteral("INFO BonjourAdvertiser: Adding txt: %1=x").arg(name)});
    }

    void theSameEntryAgainIsSentAgain()
    {
        const auto started = advertising();
        started->updateTxt(QStringLiteral("k"), QStringLiteral("v"));
        record.clear();
        started->updateTxt(QStringLiteral("k"), QStringLiteral("v"));
        QCOMPARE(calls().last(), update(4, QStringLiteral("'\\03k=v'")));
    }

    void keysAndValuesAreTakenAsTheyAre()
    {
        const auto started = advertising();
        started->updateTxt(QStringLiteral(" K "), QStringLiteral(" V "));
        QCOMPARE(calls().last(), update(8, QStringLiteral("'\\07 K = V '")));
    }

    void aKeyIsReplaced()
    {
        const auto started = advertising();
        started->updateTxt(QStringLiteral("k"), QStringLiteral("1"));
        started->updateTxt(QStringLiteral("k"), QStringLiteral("2"));
        QCOMPARE(calls().last(), update(4, QStringLiteral("'\\03k=2'")));
    }

    void aKeyIsRemovedAndTheRecordSent()
    {
        const auto started = advertising();
        started->updateTxt(QStringLiteral("k"), QStringLiteral("1"));
        started->updateTxt(QStringLiteral("l"), QStringLiteral("2"));
        record.clear();
        started->rmTxt(QStringLiteral("k"));
        QCOMPARE(record.of(~Record::Pure),
                 (QStringList{QStringLiteral("INFO BonjourAdvertiser: Removing txt: k"),
                              QStringLiteral("TXTRecordRemoveValue('k')"),
                              update(4, QStringLiteral("'\\03l=2'"))}));
    }

    void removingAnAbsentKeyStillSends()
    {
        const auto started = advertising();
        started->updateTxt(QStringLiteral("k"), QStringLiteral("1"));
        record.clear();
        started->rmTxt(QStringLiteral("other"));
        QCOMPARE(calls(), (QStringList{QStringLiteral("TXTRecordRemoveValue('other')"),
                                       update(4, QStringLiteral("'\\03k=1'"))}));
    }

    void keysAreRemovedInUtf8()
    {
        const auto started = advertising();
        started->rmTxt(QStringLiteral(u"\u00FC"));
        QCOMPARE(calls().first(), QStringLiteral(u"TXTRecordRemoveValue('\u00FC')"));
        QCOMPARE(logs(), QStringList{QStringLiteral(u"INFO BonjourAdvertiser: Removing txt: \u00FC")});
    }

    void theRecordIsSentAsItStands()
    {
        const auto started = advertising();
        started->updateTxt(QStringLiteral("k"), QStringLiteral("1"));
        record.clear();
        started->updateTxt();
        QCOMPARE(record.of(~Record::Pure), QStringList{update(4, QStringLiteral("'\\03k=1'"))});
        QVERIFY(QMetaObject::invokeMethod(started.get(), "updateTxt"));
        QCOMPARE(calls().size(), 2);
    }

    void aFailedUpdateIsLoggedAndTheEditIsKept()
    {
        const auto started = advertising();
        daemon.failUpdates(kDNSServiceErr_NoMemory);
        started->updateTxt(QStringLiteral("k"), QStringLiteral("1"));
        QCOMPARE(logs(QStringLiteral("ERROR")),
                 QStringList{QStringLiteral("Error while updating txt, error code is:-65539")});
        daemon.failUpdates(kDNSServiceErr_NoError);
        started->updateTxt(QStringLiteral("l"), QStringLiteral("2"));
        QCOMPARE(calls().last(), update(8, QStringLiteral("'\\03k=1\\03l=2'")));
    }

    void editsWhileIdleAreHarmless_data()
    {
        QTest::addColumn<bool>("wasAdvertising");
        QTest::newRow("before the first start") << false;
        QTest::newRow("after the stop") << true;
    }

    void editsWhileIdleAreHarmless()
    {
        QFETCH(bool, wasAdvertising);
        const auto idle = advertiser();
        if (wasAdvertising) {
            idle->start();
            idle->updateTxt(QStringLiteral("old"), QStringLiteral("1"));
            idle->stop();
        }
        record.clear();
        idle->updateTxt(QStringLiteral("k"), QStringLiteral("1"));
        idle->rmTxt(QStringLiteral("k"));
        idle->updateTxt();
        // Nothing piles up: what is not advertised is forgotten at once.
        const QString update = QStringLiteral("DNSServiceUpdateRecord(null, record=null, flags=0, rdata=%1, "
                                              "ttl=0) = -65540");
        QCOMPARE(calls().filter(QStringLiteral("DNSServiceUpdateRecord")),
                 (QStringList{update.arg(QStringLiteral("4 '\\03k=1'")), update.arg(QStringLiteral("0 null")),
                              update.arg(QStringLiteral("0 null"))}));
        QCOMPARE(logs(),
                 (QStringList{QStringLiteral("INFO BonjourAdvertiser: Adding txt: k=1"),
                              QStringLiteral("ERROR BonjourAdvertiser: Error while updating txt, error "
                                             "code is:-65540"),
                              QStringLiteral("INFO BonjourAdvertiser: Removing txt: k"),
                              QStringLiteral("ERROR BonjourAdvertiser: Error while updating txt, error "
                                             "code is:-65540"),
                              QStringLiteral("ERROR BonjourAdvertiser: Error while updating txt, error "
                                             "code is:-65540")}));
        // What an edit allocated is not kept for a start that would lose it.
        QCOMPARE(calls().count(QStringLiteral("TXTRecordDeallocate()")), 3);
        record.clear();
        idle->start();
        idle->updateTxt();
        QVERIFY(calls().last().contains(QLatin1String("rdata=0 null")));
    }

    void aRestartBeginsWithAnEmptyRecord()
    {
        const auto started = advertising();
        started->updateTxt(QStringLiteral("k"), QStringLiteral("1"));
        started->stop();
        started->start();
        started->updateTxt();
        QVERIFY(calls().last().contains(QLatin1String("rdata=0 null")));
    }
};

static const TestClass<TxtEditing> registeredClass("TxtEditing");

#include "TxtEditingTest.moc"
