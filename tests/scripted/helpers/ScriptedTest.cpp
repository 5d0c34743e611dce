// SPDX-License-Identifier: MIT
#include "ScriptedTest.h"

#include <QElapsedTimer>
#include <QNetworkInterface>
#include <QTimerEvent>
#include <QtEndian>
#include <algorithm>
#include <arpa/inet.h>
#include <net/if.h>
#include <netinet/in.h>

namespace {

using Op = DnsSdDouble::Operation;

constexpr int deadlineMs = 3000;

const char* data(const std::optional<QByteArray>& bytes)
{
    return bytes ? bytes->constData() : nullptr;
}

/** The callback as what the start call took it for. */
template <typename Callback>
Callback callbackOf(const Op* operation)
{
    return reinterpret_cast<Callback>(operation->callback);
}

void add(Record::Kind kind, const QString& line)
{
    Record::instance().add(kind, line);
}

void watchEnd(const QObject* object, const QString& name)
{
    QObject::connect(object, &QObject::destroyed,
                     [name] { add(Record::Destroyed, QLatin1Char('~') + name); });
}

void watch(BonjourLister* lister, const QString&)
{
    watchEnd(lister, QStringLiteral("BonjourLister"));
    QObject::connect(lister, &MDnsLister::clientChanged, [](const QString& name) {
        add(Record::Signal, QStringLiteral("clientChanged(%1)").arg(name));
    });
    QObject::connect(lister, &MDnsLister::clientRemoved, [](const QString& name) {
        add(Record::Signal, QStringLiteral("clientRemoved(%1)").arg(name));
    });
}

void watch(BonjourAdvertiser* advertiser, const QString&)
{
    watchEnd(advertiser, QStringLiteral("BonjourAdvertiser"));
    QObject::connect(advertiser, &MDnsAdvertiser::nameRegistered, [](const QString& name) {
        add(Record::Signal, QStringLiteral("nameRegistered(%1)").arg(name));
    });
}

void watch(BonjourResolver* resolver, const QString& number)
{
    watchEnd(resolver, QStringLiteral("BonjourResolver ") + number);
    QObject::connect(
        resolver, &BonjourResolver::resolveSucceeded,
        [number](const ResolveData& data, const MDnsVeskClient& client) {
            add(Record::Signal,
                QStringLiteral("%1 resolveSucceeded(%2, %3)").arg(number, text(data), text(client)));
        });
    QObject::connect(resolver, &BonjourResolver::resolveFailed, [number](const ResolveData& data) {
        add(Record::Signal, QStringLiteral("%1 resolveFailed(%2)").arg(number, text(data)));
    });
}

void watch(BonjourGetAddrInfo* lookup, const QString& number)
{
    watchEnd(lookup, QStringLiteral("BonjourGetAddrInfo ") + number);
    QObject::connect(lookup, &BonjourGetAddrInfo::resolved, [number](const QHostAddress& address) {
        add(Record::Signal, QStringLiteral("%1 resolved(%2)").arg(number, address.toString()));
    });
    QObject::connect(lookup, &BonjourGetAddrInfo::resolveFailed,
                     [number] { add(Record::Signal, QStringLiteral("%1 resolveFailed()").arg(number)); });
}

void watch(BonjourTxtMonitor* monitor, const QString& number)
{
    watchEnd(monitor, QStringLiteral("BonjourTxtMonitor ") + number);
    QObject::connect(
        monitor, &BonjourTxtMonitor::clientUpdated,
        [number](const ResolveData& data, const MDnsVeskClient& client) {
            add(Record::Signal,
                QStringLiteral("%1 clientUpdated(%2, %3)").arg(number, text(data), text(client)));
        });
    QObject::connect(monitor, &BonjourTxtMonitor::txtMonitorFailed,
                     [number] { add(Record::Signal, QStringLiteral("%1 txtMonitorFailed()").arg(number)); });
}

template <typename Owner>
void watchOnce(const Op* operation, QList<const QObject*>* known)
{
    auto* owner = static_cast<Owner*>(operation->context);
    if (known->contains(owner))
        return;
    known->append(owner);
    QObject::connect(owner, &QObject::destroyed, [known, owner] { known->removeOne(owner); });
    watch(owner, text(const_cast<Op*>(operation)));
}

void watchOwner(const Op* operation)
{
    static QList<const QObject*> known;
    switch (operation->kind) {
    case Op::Register:
        return watchOnce<BonjourAdvertiser>(operation, &known);
    case Op::Browse:
        return watchOnce<BonjourLister>(operation, &known);
    case Op::Resolve:
        return watchOnce<BonjourResolver>(operation, &known);
    case Op::GetAddrInfo:
        return watchOnce<BonjourGetAddrInfo>(operation, &known);
    case Op::QueryRecord:
        return watchOnce<BonjourTxtMonitor>(operation, &known);
    }
}

} // namespace

// --- Around every test -----------------------------------------------------------------------------------

void ScriptedTest::initTestCase()
{
    // What Qt and the C library make once and keep is none of a test's doing.
    QNetworkInterface::interfaceFromIndex(1);
    QTest::qWait(0);
}

void ScriptedTest::init()
{
    configuration = std::make_unique<QTemporaryDir>();
    qputenv("VESK_CONFIG_DIR", configuration->path().toUtf8());
    hold = false;
    record.clear();
    logCapture.reset(); // of a test that failed
    logCapture = std::make_unique<LogCapture>();
    daemon.onStart = &watchOwner;
    daemon.setDraining(qEnvironmentVariableIsSet("SCRIPTED_DRAINING"));
    guards.begin();
}

void ScriptedTest::cleanup()
{
    if (QTest::currentTestFailed()) {
        daemon.abandon();
        guards.end();
        return;
    }
    daemon.finish();
    QCoreApplication::sendPostedEvents();
    const QStringList complaints = guards.end() + checkLogLines();
    logCapture.reset();
    QVERIFY2(complaints.isEmpty(), qPrintable(complaints.join(QLatin1Char('\n'))));
}

/** Every line names the source and the function that it was written in, and an entry line says so itself. */
QStringList ScriptedTest::checkLogLines() const
{
    QStringList complaints;
    for (const Record::Line& line : record.all()) {
        if (line.kind != Record::Log || !line.text.contains(QLatin1String(" Bonjour")))
            continue;
        const QString logger = line.text.section(QLatin1Char(' '), 1, 1).chopped(1);
        const QString file = QStringLiteral("src/lib/mdnsHelpers/%1.cpp").arg(logger);
        if (QString::fromUtf8(line.file) != file || line.number <= 0)
            complaints.append(
                QStringLiteral("Logged from %1: %2").arg(QString::fromUtf8(line.file), line.text));
        const QString enter = QStringLiteral(": Enter ");
        const QString own = enter + QLatin1String(CoreDouble::scopeOpen) + QString::fromUtf8(line.function) +
                            QLatin1String(CoreDouble::scopeClose) + QStringLiteral(": ");
        if (line.text.contains(enter) && !line.text.contains(own))
            complaints.append(
                QStringLiteral("Written in %1: %2").arg(QString::fromUtf8(line.function), line.text));
    }
    return complaints;
}

// --- The daemon's verbs ----------------------------------------------------------------------------------

void ScriptedTest::queue(Op* operation, std::function<void()> reply)
{
    daemon.queue(operation, std::move(reply));
    if (!hold)
        deliver();
}

DnsSdDouble::Operation* ScriptedTest::wanted(Op::Kind kind, std::uint32_t interfaceIndex)
{
    Op* const found =
        daemon.newest(kind, [=](const Op& operation) { return operation.interfaceIndex == interfaceIndex; });
    if (!found)
        QTest::qFail("The daemon was not asked for what it is to answer.", __FILE__, __LINE__);
    return found;
}

void ScriptedTest::browseReplies(DNSServiceFlags flags, const char* name, std::uint32_t interfaceIndex,
                                 DNSServiceErrorType error, const char* type, const char* domain)
{
    const auto copy = [](const char* string) {
        return string ? std::optional<QByteArray>(string) : std::nullopt;
    };
    Op* const operation = daemon.newest(Op::Browse);
    QVERIFY(operation);
    // Copies that live only as long as the callback, which may not keep the pointers.
    queue(operation, [=, name = copy(name), type = copy(type), domain = copy(domain)] {
        callbackOf<DNSServiceBrowseReply>(operation)(operation, flags | DnsSdDouble::moreComingOn(operation),
                                                     interfaceIndex, error, data(name), data(type),
                                                     data(domain), operation->context);
    });
}

void ScriptedTest::resolveReplies(std::uint32_t interfaceIndex, const ResolveReply& reply)
{
    resolveReplies(wanted(Op::Resolve, interfaceIndex), interfaceIndex, reply);
}

void ScriptedTest::resolveReplies(Op* operation, std::uint32_t interfaceIndex, const ResolveReply& reply)
{
    if (!operation)
        return;
    queue(operation, [=] {
        callbackOf<DNSServiceResolveReply>(operation)(
            operation, reply.flags | DnsSdDouble::moreComingOn(operation), interfaceIndex, reply.error,
            data(reply.fullName), data(reply.host), qToBigEndian(reply.port), std::uint16_t(reply.txt.size()),
            reinterpret_cast<const unsigned char*>(reply.txt.constData()), operation->context);
    });
}

void ScriptedTest::resolveRepliesFor(const QByteArray& name, std::uint32_t interfaceIndex)
{
    ResolveReply reply;
    reply.fullName = name + "._demo._tcp.local.";
    reply.host = name.toLower() + ".local.";
    resolveReplies(interfaceIndex, reply);
}

void ScriptedTest::addressArrives(const char* address, std::uint32_t interfaceIndex,
                                  DNSServiceErrorType error, DNSServiceFlags flags)
{
    addressArrives(wanted(Op::GetAddrInfo, interfaceIndex), address, interfaceIndex, error, flags);
}

void ScriptedTest::addressArrives(Op* operation, const char* address, std::uint32_t interfaceIndex,
                                  DNSServiceErrorType error, DNSServiceFlags flags)
{
    if (!operation)
        return;
    QByteArray bytes;
    sockaddr_in v4 = {};
    sockaddr_in6 v6 = {};
    // Without a scope of its own an IPv6 address has that of another interface than the reply's.
    const QByteArray host = QByteArray(address).split('%').first();
    v6.sin6_scope_id =
        host == address ? interfaceIndex + 100 : QByteArray(address).split('%').last().toUInt();
    if (address && inet_pton(AF_INET, host, &v4.sin_addr) == 1) {
        v4.sin_family = AF_INET;
        bytes = QByteArray(reinterpret_cast<const char*>(&v4), sizeof v4);
    } else if (address && inet_pton(AF_INET6, host, &v6.sin6_addr) == 1) {
        v6.sin6_family = AF_INET6;
        bytes = QByteArray(reinterpret_cast<const char*>(&v6), sizeof v6);
    } else {
        QVERIFY2(!address, "Not an address.");
    }
    queue(operation, [=] {
        const auto* pointer =
            bytes.isEmpty() ? nullptr : reinterpret_cast<const sockaddr*>(bytes.constData());
        callbackOf<DNSServiceGetAddrInfoReply>(operation)(
            operation, flags | DnsSdDouble::moreComingOn(operation), interfaceIndex, error,
            operation->name.toUpper().constData(), pointer, 120, operation->context);
    });
}

void ScriptedTest::txtArrives(const QByteArray& rdata, std::uint32_t interfaceIndex, const TxtReply& reply)
{
    txtArrives(wanted(Op::QueryRecord, interfaceIndex), rdata, interfaceIndex, reply);
}

void ScriptedTest::txtArrives(Op* operation, const QByteArray& rdata, std::uint32_t interfaceIndex,
                              const TxtReply& reply)
{
    if (!operation)
        return;
    queue(operation, [=] {
        // Exactly as long as it says, so that a sanitizer sees a callback that reads on.
        const auto bytes = std::make_unique<char[]>(std::size_t(rdata.size()));
        std::copy(rdata.begin(), rdata.end(), bytes.get());
        callbackOf<DNSServiceQueryRecordReply>(operation)(
            operation, reply.flags | DnsSdDouble::moreComingOn(operation), interfaceIndex, reply.error,
            data(reply.fullName), reply.rrtype, reply.rrclass, std::uint16_t(rdata.size()),
            rdata.isNull() ? nullptr : bytes.get(), 4500, operation->context);
    });
}

void ScriptedTest::registered(const char* name, DNSServiceErrorType error, DNSServiceFlags flags)
{
    Op* const operation = daemon.newest(Op::Register);
    QVERIFY(operation);
    queue(operation, [=, name = std::optional<QByteArray>(name)] {
        const QByteArray type("_Demo._TCP.");
        const QByteArray domain("Local.");
        callbackOf<DNSServiceRegisterReply>(operation)(
            operation, flags | DnsSdDouble::moreComingOn(operation), error, data(name), type.constData(),
            domain.constData(), operation->context);
    });
}

void ScriptedTest::deliver()
{
    QElapsedTimer elapsed;
    elapsed.start();
    while (daemon.replyWaits()) {
        QVERIFY2(elapsed.elapsed() < deadlineMs, "A reply waits and is not fetched.");
        QCoreApplication::processEvents(QEventLoop::AllEvents);
    }
}

QTimer* ScriptedTest::timerOf(const QObject* operation)
{
    const auto timers = operation->findChildren<QTimer*>(QString(), Qt::FindDirectChildrenOnly);
    return timers.size() == 1 ? timers.first() : nullptr;
}

void ScriptedTest::runOut(QObject* operation)
{
    QTimer* const timer = timerOf(operation);
    QVERIFY(timer);
    QVERIFY(timer->isActive());
    QCOMPARE(timer->interval(), 30000);
    QVERIFY(timer->isSingleShot());
    QTimerEvent expired(timer->timerId());
    QCoreApplication::sendEvent(timer, &expired);
}

// --- What to test ----------------------------------------------------------------------------------------

std::unique_ptr<BonjourLister> ScriptedTest::lister(MDnsProtocolType protocol)
{
    return std::make_unique<BonjourLister>(nullptr, QStringLiteral("_demo._tcp"), protocol);
}

std::unique_ptr<BonjourAdvertiser> ScriptedTest::advertiser(const QString& name, const QString& type,
                                                            int port)
{
    return std::make_unique<BonjourAdvertiser>(nullptr, name, type, port);
}

std::unique_ptr<BonjourResolver> ScriptedTest::resolver(const char* name, std::uint32_t interfaceIndex,
                                                        MDnsProtocolType protocol)
{
    return std::make_unique<BonjourResolver>(key(QString::fromUtf8(name), interfaceIndex), "_demo._tcp.",
                                             "local.", protocol);
}

std::unique_ptr<BonjourGetAddrInfo> ScriptedTest::lookup(MDnsProtocolType protocol,
                                                         std::uint32_t interfaceIndex)
{
    return std::make_unique<BonjourGetAddrInfo>(interfaceIndex, "kitchen.local.", protocol);
}

std::unique_ptr<BonjourTxtMonitor> ScriptedTest::monitor(std::uint32_t interfaceIndex)
{
    MDnsVeskClient client;
    client.serviceName = QStringLiteral("Kitchen");
    return std::make_unique<BonjourTxtMonitor>(
        key(QStringLiteral("Kitchen"), interfaceIndex, QStringLiteral("Kitchen._demo._tcp.local.")), client);
}

std::unique_ptr<BonjourLister> ScriptedTest::listerWithKitchen()
{
    auto made = lister();
    browseAdd("Kitchen", 3);
    resolveReplies(3);
    addressArrives("192.168.1.5");
    record.clear();
    return made;
}

// --- What to expect --------------------------------------------------------------------------------------

QStringList ScriptedTest::logs(const QString& level) const
{
    QStringList messages;
    for (const QString& line : logs())
        if (line.startsWith(level + QLatin1Char(' ')))
            messages.append(line.mid(line.indexOf(QLatin1String(": ")) + 2));
    return messages;
}

ResolveData key(const QString& name, std::uint32_t interfaceIndex, const QString& fullName)
{
    return {name, name.toUtf8(), fullName, interfaceIndex};
}

QString label(std::uint32_t interfaceIndex)
{
    char name[IF_NAMESIZE] = "";
    if_indextoname(interfaceIndex, name);
    return QStringLiteral("%1,%2").arg(QString::fromUtf8(name)).arg(interfaceIndex);
}

QString label(const QString& name, std::uint32_t interfaceIndex)
{
    return QStringLiteral("%1 on %2").arg(name, label(interfaceIndex));
}

QByteArray txt(const QList<QByteArray>& items)
{
    QByteArray record("");
    for (const QByteArray& item : items)
        record += char(item.size()) + item;
    return record;
}

QString text(const MDnsVeskClient& client)
{
    QStringList addresses;
    for (const QHostAddress& address : client.addresses)
        addresses.append(address.toString());
    addresses.sort();
    QStringList entries;
    for (auto entry = client.txt.cbegin(); entry != client.txt.cend(); ++entry)
        entries.append(entry.key() + QLatin1Char('=') + entry.value());
    entries.sort();
    return QStringLiteral("{host=%1 name=%2 port=%3 addresses=[%4] txt=[%5]}")
        .arg(client.hostName, client.serviceName)
        .arg(client.port)
        .arg(addresses.join(QLatin1Char(' ')), entries.join(QLatin1Char(' ')));
}

QString text(const ResolveData& data)
{
    const QString full = data.fullName.isEmpty() ? QString() : QStringLiteral(" [%1]").arg(data.fullName);
    return QStringLiteral("%1 on %2%3").arg(data.serviceName).arg(data.interfaceIndex).arg(full);
}

std::uint32_t someInterface()
{
    struct if_nameindex* const all = if_nameindex();
    const std::uint32_t first = all ? all->if_index : 0;
    if_freenameindex(all);
    return first;
}
