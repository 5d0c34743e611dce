// SPDX-License-Identifier: MIT
#include "Death.h"
#include "ScriptedTest.h"

#include <poll.h>
#include <unistd.h>

/** The double itself: a test stands on it, so it has to notice misuse. */
class DnsSdDoubleTest : public ScriptedTest
{
    Q_OBJECT

private:
    DNSServiceRef browse(int* replies = nullptr)
    {
        daemon.onStart = nullptr; // the owner is none of the library's
        DNSServiceRef sdRef = nullptr;
        DNSServiceBrowse(
            &sdRef, 0, 0, "_demo._tcp", nullptr,
            [](DNSServiceRef, DNSServiceFlags, std::uint32_t, DNSServiceErrorType, const char*, const char*,
               const char*, void* context) { ++*static_cast<int*>(context); },
            replies);
        return sdRef;
    }

    void replyTo(DNSServiceRef sdRef)
    {
        daemon.queue(sdRef, [sdRef] {
            reinterpret_cast<DNSServiceBrowseReply>(sdRef->callback)(sdRef, 0, 0, 0, "", "", "",
                                                                     sdRef->context);
        });
    }

    static bool readable(int descriptor)
    {
        pollfd watched = {descriptor, POLLIN, 0};
        return poll(&watched, 1, 0) == 1;
    }

private Q_SLOTS:
    void aHandleUsedAfterItsReleaseStopsTheProcess_data()
    {
        QTest::addColumn<QString>("call");
        for (const char* call : {"DNSServiceRefSockFD", "DNSServiceProcessResult", "DNSServiceUpdateRecord",
                                 "DNSServiceRefDeallocate"})
            QTest::newRow(call) << QString::fromLatin1(call);
    }

    void aHandleUsedAfterItsReleaseStopsTheProcess()
    {
        QFETCH(QString, call);
        const DNSServiceRef sdRef = browse();
        DNSServiceRefDeallocate(sdRef);
        const QByteArray words = lastWordsOf([&] {
            if (call == QLatin1String("DNSServiceRefSockFD"))
                DNSServiceRefSockFD(sdRef);
            else if (call == QLatin1String("DNSServiceProcessResult"))
                DNSServiceProcessResult(sdRef);
            else if (call == QLatin1String("DNSServiceUpdateRecord"))
                DNSServiceUpdateRecord(sdRef, nullptr, 0, 0, nullptr, 0);
            else
                DNSServiceRefDeallocate(sdRef);
        });
        QCOMPARE(words,
                 "Misuse of the DNS-SD library: " + call.toLatin1() + " with the released handle #1\n");
    }

    void aTxtRecordUsedAfterItsReleaseStopsTheProcess_data()
    {
        QTest::addColumn<QString>("call");
        for (const char* call : {"TXTRecordSetValue", "TXTRecordRemoveValue", "TXTRecordGetLength",
                                 "TXTRecordGetBytesPtr", "TXTRecordDeallocate"})
            QTest::newRow(call) << QString::fromLatin1(call);
    }

    void aTxtRecordUsedAfterItsReleaseStopsTheProcess()
    {
        QFETCH(QString, call);
        TXTRecordRef txtRecord;
        TXTRecordCreate(&txtRecord, 0, nullptr);
        TXTRecordDeallocate(&txtRecord);
        const QByteArray words = lastWordsOf([&] {
            if (call == QLatin1String("TXTRecordSetValue"))
                TXTRecordSetValue(&txtRecord, "k", 0, "");
            else if (call == QLatin1String("TXTRecordRemoveValue"))
                TXTRecordRemoveValue(&txtRecord, "k");
            else if (call == QLatin1String("TXTRecordGetLength"))
                TXTRecordGetLength(&txtRecord);
            else if (call == QLatin1String("TXTRecordGetBytesPtr"))
                TXTRecordGetBytesPtr(&txtRecord);
            else
                TXTRecordDeallocate(&txtRecord);
        });
        QCOMPARE(words, "Misuse of the DNS-SD library: " + call.toLatin1() + " with a released TXT record\n");
    }

    void aHandleLeftOverStopsTheProcess()
    {
        const DNSServiceRef sdRef = browse();
        QCOMPARE(
            lastWordsOf([&] { daemon.finish(); }),
            QByteArray("Misuse of the DNS-SD library: the handle #1 of DNSServiceBrowse is left over\n"));
        DNSServiceRefDeallocate(sdRef);
    }

    void aFailureThatNeverHappenedStopsTheProcess()
    {
        QVERIFY(!lastWordsOf([&] {
                     daemon.failNext(Op::Resolve, kDNSServiceErr_Unknown);
                     daemon.finish();
                 }).isNull());
    }

    void aPumpCallThatWouldBlockStopsTheProcess()
    {
        const DNSServiceRef sdRef = browse();
        QVERIFY(!lastWordsOf([&] { DNSServiceProcessResult(sdRef); }).isNull());
        DNSServiceRefDeallocate(sdRef);
    }

    void aStartOverAHandleStopsTheProcess()
    {
        DNSServiceRef sdRef = browse();
        QVERIFY(!lastWordsOf([&] {
                     DNSServiceBrowse(&sdRef, 0, 0, "_demo._tcp", nullptr, nullptr, nullptr);
                 }).isNull());
        DNSServiceRefDeallocate(sdRef);
    }

    void properUseSurvives()
    {
        QVERIFY(lastWordsOf([&] { DNSServiceRefDeallocate(browse()); }).isNull());
    }

    void theDescriptorIsReadableExactlyWhileAReplyWaits()
    {
        int replies = 0;
        const DNSServiceRef sdRef = browse(&replies);
        daemon.setDraining(false);
        QVERIFY(!readable(DNSServiceRefSockFD(sdRef)));
        replyTo(sdRef);
        replyTo(sdRef);
        QVERIFY(readable(DNSServiceRefSockFD(sdRef)));
        DNSServiceProcessResult(sdRef);
        QVERIFY(readable(DNSServiceRefSockFD(sdRef)));
        DNSServiceProcessResult(sdRef);
        QVERIFY(!readable(DNSServiceRefSockFD(sdRef)));
        QCOMPARE(replies, 2);
        DNSServiceRefDeallocate(sdRef);
    }

    void drainingHandsOverAllThatWaits()
    {
        int replies = 0;
        const DNSServiceRef sdRef = browse(&replies);
        daemon.setDraining(true);
        replyTo(sdRef);
        replyTo(sdRef);
        DNSServiceProcessResult(sdRef);
        QCOMPARE(replies, 2);
        DNSServiceRefDeallocate(sdRef);
    }

    void moreComingIsSaidWhileAReplyWaits()
    {
        const auto started = lookup();
        hold = true;
        addressArrives("10.0.0.1", 3, kDNSServiceErr_NoError, add);
        addressArrives("10.0.0.2", 3, kDNSServiceErr_NoError, add);
        QList<DNSServiceFlags> flags;
        Op* const operation = daemon.byId(1);
        operation->callback = reinterpret_cast<void (*)()>(DNSServiceGetAddrInfoReply(
            [](DNSServiceRef, DNSServiceFlags given, std::uint32_t, DNSServiceErrorType, const char*,
               const sockaddr*, std::uint32_t,
               void* context) { static_cast<QList<DNSServiceFlags>*>(context)->append(given); }));
        operation->context = &flags;
        deliver();
        QCOMPARE(flags, (QList<DNSServiceFlags>{add | moreComing, add}));
    }

    void aHandleReleasedInItsOwnCallbackGetsNoFurtherReply()
    {
        int replies = 0;
        const DNSServiceRef sdRef = browse(&replies);
        daemon.setDraining(true);
        daemon.queue(sdRef, [sdRef] { DNSServiceRefDeallocate(sdRef); });
        replyTo(sdRef);
        QCOMPARE(DNSServiceProcessResult(sdRef), DNSServiceErrorType(kDNSServiceErr_NoError));
        QCOMPARE(replies, 0);
    }

    void failingStarts_data()
    {
        QTest::addColumn<int>("handle");
        QTest::addColumn<bool>("stays");
        QTest::addColumn<bool>("live");
        QTest::newRow("untouched") << int(DnsSdDouble::Handle::Untouched) << true << false;
        QTest::newRow("nulled") << int(DnsSdDouble::Handle::Null) << true << false;
        QTest::newRow("written") << int(DnsSdDouble::Handle::Written) << false << true;
    }

    void failingStarts()
    {
        QFETCH(int, handle);
        QFETCH(bool, stays);
        QFETCH(bool, live);
        daemon.failNext(Op::Browse, -42, DnsSdDouble::Handle(handle));
        const DNSServiceRef sdRef = browse();
        QCOMPARE(sdRef == nullptr, stays);
        QCOMPARE(daemon.live(), live ? 1 : 0);
        QCOMPARE(calls(), QStringList{QStringLiteral(
                              "DNSServiceBrowse(#1, flags=0, if=0, type='_demo._tcp', domain=null) = -42")});
        if (sdRef)
            DNSServiceRefDeallocate(sdRef);
    }

    void nullHandlesAreAnsweredLikeTheRealLibrarys()
    {
        QCOMPARE(DNSServiceRefSockFD(nullptr), -1);
        QCOMPARE(DNSServiceProcessResult(nullptr), DNSServiceErrorType(kDNSServiceErr_BadParam));
        QCOMPARE(DNSServiceUpdateRecord(nullptr, nullptr, 0, 0, nullptr, 0),
                 DNSServiceErrorType(kDNSServiceErr_BadParam));
        DNSServiceRefDeallocate(nullptr);
    }

    void whatATestLeavesBehindIsNoticed()
    {
        Guards inner;
        inner.begin();
        auto* const leaked = new QObject;
        const int descriptor = dup(0);
        qWarning("something odd");
        const QStringList complaints = inner.end();
        delete leaked;
        close(descriptor);
        QCOMPARE(complaints.size(), 3);
        QCOMPARE(complaints.at(0), QStringLiteral("Qt warned: something odd"));
        QVERIFY(complaints.at(1).startsWith(QLatin1String("Descriptors: ")));
        QCOMPARE(complaints.at(2), QStringLiteral("Still alive: QObject"));
    }
};

static const TestClass<DnsSdDoubleTest> registeredClass("DnsSdDouble");

#include "DnsSdDoubleTest.moc"
