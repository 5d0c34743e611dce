// SPDX-License-Identifier: MIT
#ifndef SCRIPTED_TEST_H
#define SCRIPTED_TEST_H

#include "BonjourAdvertiser.h"
#include "BonjourLister.h"
#include "CoreDouble.h"
#include "DnsSdDouble.h"
#include "Guards.h"
#include "LogCapture.h"
#include "Record.h"
#include "TestMain.h"

#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <memory>
#include <optional>

constexpr DNSServiceFlags add = kDNSServiceFlagsAdd;
constexpr DNSServiceFlags moreComing = kDNSServiceFlagsMoreComing;
/** Flags that the library never asked for; every reply carries them unless a test says otherwise. */
constexpr DNSServiceFlags unasked = 0x10000000 | 0x4;
constexpr auto anyProtocol = static_cast<MDnsProtocolType>(-1);

/** What a resolve reply carries; the rest follows from the operation it answers. */
struct ResolveReply
{
    std::optional<QByteArray> fullName = QByteArray("Kitchen._demo._tcp.local.");
    std::optional<QByteArray> host = QByteArray("kitchen.local.");
    std::uint16_t port = 8080;
    DNSServiceErrorType error = kDNSServiceErr_NoError;
    DNSServiceFlags flags = unasked;
    QByteArray txt = QByteArray("\5never", 6);
};

/** What a TXT reply carries besides the record. */
struct TxtReply
{
    DNSServiceFlags flags = add | unasked;
    DNSServiceErrorType error = kDNSServiceErr_NoError;
    std::uint16_t rrtype = kDNSServiceType_TXT;
    std::uint16_t rrclass = kDNSServiceClass_IN;
    std::optional<QByteArray> fullName = QByteArray("Kitchen._demo._tcp.local.");
};

/**
 * The base of all tests that run the library on the scripted DNS-SD library.
 *
 * The verbs below make the daemon reply. A reply takes the whole road: descriptor, event loop, notifier, pump
 * slot, callback. It has arrived when the verb returns, unless `hold` is set: then it waits for deliver().
 * Replies are as unkind as a DNS-SD library may be: they carry flags that the caller did not ask for, "more
 * coming" while others wait, IPv6 scopes of another interface, and what they echo comes back in capitals.
 * Every object that starts an operation is watched from its first call on: its signals and its end are in the
 * record, also those that no other host can hear.
 */
class ScriptedTest : public QObject
{
    Q_OBJECT

protected:
    using Op = DnsSdDouble::Operation;

    DnsSdDouble& daemon = DnsSdDouble::instance();
    Record& record = Record::instance();
    bool hold = false;

    // --- The daemon's verbs ------------------------------------------------------------------------------

    void browseReplies(DNSServiceFlags flags, const char* name, std::uint32_t interfaceIndex,
                       DNSServiceErrorType error = kDNSServiceErr_NoError, const char* type = "_demo._tcp.",
                       const char* domain = "local.");
    void browseAdd(const char* name, std::uint32_t interfaceIndex)
    {
        browseReplies(add | unasked, name, interfaceIndex);
    }
    void browseRemove(const char* name, std::uint32_t interfaceIndex)
    {
        browseReplies(unasked, name, interfaceIndex);
    }
    /** The newest resolve on this interface gets a reply. */
    void resolveReplies(std::uint32_t interfaceIndex, const ResolveReply& reply = {});
    void resolveReplies(Op* operation, std::uint32_t interfaceIndex, const ResolveReply& reply = {});
    /** As resolveReplies(), with the full name and host that belong to an instance name without escapes. */
    void resolveRepliesFor(const QByteArray& name, std::uint32_t interfaceIndex);
    /** The newest address look-up on this interface gets a reply; no address is a null pointer, and "%7"
     * behind an IPv6 address is its scope. */
    void addressArrives(const char* address, std::uint32_t interfaceIndex = 3,
                        DNSServiceErrorType error = kDNSServiceErr_NoError,
                        DNSServiceFlags flags = add | unasked);
    void addressArrives(Op* operation, const char* address, std::uint32_t interfaceIndex,
                        DNSServiceErrorType error = kDNSServiceErr_NoError,
                        DNSServiceFlags flags = add | unasked);
    /** The newest TXT query on this interface gets a reply. */
    void txtArrives(const QByteArray& rdata, std::uint32_t interfaceIndex = 3, const TxtReply& reply = {});
    void txtArrives(Op* operation, const QByteArray& rdata, std::uint32_t interfaceIndex,
                    const TxtReply& reply = {});
    void registered(const char* name, DNSServiceErrorType error = kDNSServiceErr_NoError,
                    DNSServiceFlags flags = add | unasked);
    /** Runs the event loop until no reply waits. */
    void deliver();
    /** The timer of this object, checked to be the one timeout it should have, runs out now. */
    void runOut(QObject* operation);

    // --- What to test ------------------------------------------------------------------------------------

    static std::unique_ptr<BonjourLister> lister(MDnsProtocolType protocol = anyProtocol);
    static std::unique_ptr<BonjourAdvertiser> advertiser(const QString& name = QStringLiteral("Kitchen"),
                                                         const QString& type = QStringLiteral("_demo._tcp"),
                                                         int port = 8080);
    static std::unique_ptr<BonjourResolver> resolver(const char* name = "Kitchen",
                                                     std::uint32_t interfaceIndex = 3,
                                                     MDnsProtocolType protocol = anyProtocol);
    static std::unique_ptr<BonjourGetAddrInfo> lookup(MDnsProtocolType protocol = anyProtocol,
                                                      std::uint32_t interfaceIndex = 3);
    static std::unique_ptr<BonjourTxtMonitor> monitor(std::uint32_t interfaceIndex = 3);
    /** A lister with Kitchen resolved on interface 3; the record starts empty after that. */
    std::unique_ptr<BonjourLister> listerWithKitchen();

    static QTimer* timerOf(const QObject* operation);

    // --- What to expect ----------------------------------------------------------------------------------

    QStringList calls() const { return record.of(Record::Call); }
    QStringList signalsSeen() const { return record.of(Record::Signal); }
    QStringList logs() const { return record.of(Record::Log); }
    /** Log lines of one level, without level and logger. */
    QStringList logs(const QString& level) const;
    void note(const QString& text) { record.add(Record::Note, text); }

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

private:
    void queue(Op* operation, std::function<void()> reply);
    Op* wanted(Op::Kind kind, std::uint32_t interfaceIndex);
    QStringList checkLogLines() const;

    Guards guards;
    std::unique_ptr<LogCapture> logCapture;
    std::unique_ptr<QTemporaryDir> configuration;
};

ResolveData key(const QString& name, std::uint32_t interfaceIndex, const QString& fullName = {});

/** The name of an interface, a comma and its index, without the library's help. */
QString label(std::uint32_t interfaceIndex);
/** "Kitchen on lo,1" */
QString label(const QString& name, std::uint32_t interfaceIndex);
/** A TXT record in wire form. */
QByteArray txt(const QList<QByteArray>& items);

/** "{host=h name=n port=1 addresses=[a b] txt=[k=v]}", sorted. */
QString text(const MDnsVeskClient& client);
/** "Kitchen on 3", and its full name in brackets when it has one. */
QString text(const ResolveData& data);

/** An interface that exists. */
std::uint32_t someInterface();

#endif
