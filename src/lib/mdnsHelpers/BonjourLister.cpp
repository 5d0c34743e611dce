// SPDX-License-Identifier: MIT
#include "BonjourLister.h"

#include <QNetworkInterface>
#include <QRegExp>
#include <QSocketNotifier>
#include <QTimer>
#include <QtEndian>
#include <cstring>
#include <dbglog.h>
#include <log4cplus/logger.h>
#include <log4cplus/loggingmacros.h>
#include <sys/socket.h>
#include <textStreams.h>
#include <veskConnect.h>

namespace {

constexpr char loggerName[] = "BonjourLister";
const log4cplus::Logger logger = log4cplus::Logger::getInstance(loggerName);

constexpr int replyTimeoutMs = 30000;

// The opening of an entry line. The signature is spelled out: compilers differ in how they write their own.
std::string enter(const char* signature)
{
    return "Enter " + dbglog_scopedFunction(signature, loggerName) + ": ";
}

DNSServiceProtocol toDnsSdProtocol(MDnsProtocolType protocol)
{
    switch (protocol) {
    case MDnsProtocolType::IPv4:
        return kDNSServiceProtocol_IPv4;
    case MDnsProtocolType::IPv6:
        return kDNSServiceProtocol_IPv6;
    }
    return 0; // both families
}

std::string txtText(const QHash<QString, QString>& txt)
{
    std::string text = "QHash(";
    for (auto entry = txt.cbegin(); entry != txt.cend(); ++entry)
        text += "(" + entry.key().toStdString() + ", " + entry.value().toStdString() + ")";
    return text + ")";
}

template <typename Receiver>
void startTimeout(QTimer* timer, Receiver* receiver, void (Receiver::*on_timeout)())
{
    timer->setInterval(replyTimeoutMs);
    timer->setSingleShot(true);
    veskConnect(timer, &QTimer::timeout, receiver, on_timeout);
    timer->start();
}

} // namespace

std::string interfaceLabel(std::uint32_t interfaceIndex)
{
    // One question to the system, where interfaceFromIndex() would have it describe every interface.
    const QString name = QNetworkInterface::interfaceNameFromIndex(int(interfaceIndex));
    return name.toStdString() + "," + std::to_string(interfaceIndex);
}

// --- Service reference -----------------------------------------------------------------------------------

BonjourServiceRef::BonjourServiceRef() = default;

BonjourServiceRef::~BonjourServiceRef()
{
    DNSServiceRefDeallocate(sdRef); // before the base class deletes the notifier on its socket
}

void BonjourServiceRef::setNotifier(QObject* receiver, const char* slot)
{
    if (DNSServiceRefSockFD(sdRef) == -1) {
        LOG4CPLUS_ERROR(logger, "Error creating Bonjour connection: socket is -1");
        return;
    }
    notifier = new QSocketNotifier(DNSServiceRefSockFD(sdRef), QSocketNotifier::Read, this);
    veskConnect(notifier, SIGNAL(activated(int)), receiver, slot, Qt::AutoConnection);
}

// The result of DNSServiceProcessResult is ignored in every pump slot below: an operation ends only by being
// destroyed. Each may destroy its own object from inside that call.

// --- Browse ----------------------------------------------------------------------------------------------

static void browseReply(DNSServiceRef sdRef, DNSServiceFlags flags, std::uint32_t interfaceIndex,
                        DNSServiceErrorType errorCode, const char* serviceName, const char* regtype,
                        const char* replyDomain, void* context)
{
    static_cast<BonjourLister*>(context)->bonjourBrowseReplyCallback(sdRef, flags, interfaceIndex, errorCode,
                                                                     serviceName, regtype, replyDomain);
}

BonjourLister::BonjourLister(QObject* parent, const QString& serviceType, MDnsProtocolType protocol)
    : MDnsLister(parent)
    , regType(serviceType.toUtf8())
    , browseRef(std::make_unique<BonjourServiceRef>())
    , protocolType(protocol)
{
    LOG4CPLUS_INFO(logger, enter("BonjourLister::BonjourLister(QObject*, const QString&, MDnsProtocolType)")
                               << "Creating Bonjour lister for service: " << serviceType);
    const DNSServiceErrorType error =
        DNSServiceBrowse(&browseRef->sdRef, /* flags */ 0, kDNSServiceInterfaceIndexAny, regType.constData(),
                         /* domain */ nullptr, &browseReply, this);
    if (error == kDNSServiceErr_NoError)
        browseRef->setNotifier(this, SLOT(on_browseSocketNotifier_activated(int)));
    else
        LOG4CPLUS_ERROR(logger, "Error starting BonjourLister: " << error);
}

void BonjourLister::on_browseSocketNotifier_activated(int /*socket*/)
{
    DNSServiceProcessResult(browseRef->sdRef); // `this` may be gone after this line
}

void BonjourLister::bonjourBrowseReplyCallback(DNSServiceRef /*sdRef*/, DNSServiceFlags flags,
                                               std::uint32_t interfaceIndex, DNSServiceErrorType errorCode,
                                               const char* serviceName, const char* regtype,
                                               const char* replyDomain)
{
    LOG4CPLUS_TRACE(
        logger,
        enter("void BonjourLister::bonjourBrowseReplyCallback(DNSServiceRef, DNSServiceFlags, uint32_t, "
              "DNSServiceErrorType, const char*, const char*, const char*)")
            << "flags=" << flags << " if=" << interfaceLabel(interfaceIndex) << " error=" << errorCode
            << " serviceName=" << serviceName << " regtype=" << regtype << " replyDomain=" << replyDomain);
    if (errorCode != kDNSServiceErr_NoError) {
        LOG4CPLUS_ERROR(logger, "Error in bonjourBrowseReplyCallback: " << errorCode);
        return;
    }
    ResolveData key;
    key.serviceName = QString::fromUtf8(serviceName);
    key.serviceNameUtf8 = key.serviceName.toUtf8();
    key.interfaceIndex = interfaceIndex;
    if (flags & kDNSServiceFlagsAdd) {
        if (resolvers.contains(key) || txtMonitors.contains(key)) {
            LOG4CPLUS_WARN(logger, "Resetting resolver of: " << key);
            drop(key); // but not the client's record, visible until the new resolve replaces it
        }
        LOG4CPLUS_INFO(logger, "Browse found: " << key);
        resolve(key, regtype, replyDomain);
    } else {
        LOG4CPLUS_INFO(logger, "Browse remove: " << key);
        drop(key);
        const MDnsVeskClient client = clients.take(key);
        Q_EMIT clientRemoved(client.serviceName); // empty when never resolved; `this` may be gone after this
    }
}

void BonjourLister::drop(const ResolveData& key)
{
    resolvers.remove(key);
    txtMonitors.remove(key);
}

void BonjourLister::resolve(const ResolveData& key, const char* regtype, const char* domain)
{
    resolvers.insert(key, QSharedPointer<BonjourResolver>::create(key, regtype, domain, protocolType));
    const BonjourResolver* resolver = resolvers.value(key).data();
    veskConnect(resolver, &BonjourResolver::resolveSucceeded, this, &BonjourLister::on_resolveSucceeded);
    veskConnect(resolver, &BonjourResolver::resolveFailed, this, &BonjourLister::on_resolveFailed);
}

// --- Resolve ---------------------------------------------------------------------------------------------

static void resolveReply(DNSServiceRef sdRef, DNSServiceFlags flags, std::uint32_t interfaceIndex,
                         DNSServiceErrorType errorCode, const char* fullname, const char* hosttarget,
                         std::uint16_t port, std::uint16_t txtLen, const unsigned char* txtRecord,
                         void* context)
{
    static_cast<BonjourResolver*>(context)->bonjourResolveReplyCallback(
        sdRef, flags, interfaceIndex, errorCode, fullname, hosttarget, port, txtLen, txtRecord);
}

BonjourResolver::BonjourResolver(ResolveData data, const char* regtype, const char* domain,
                                 MDnsProtocolType protocolType)
    : resolveData(std::move(data))
    , timer(new QTimer(this))
    , protocol(protocolType)
{
    LOG4CPLUS_TRACE(
        logger,
        enter("BonjourResolver::BonjourResolver(ResolveData, const char*, const char*, MDnsProtocolType)")
            << "Creating BonjourResolver for: " << resolveData);
    const DNSServiceErrorType error =
        DNSServiceResolve(&serviceRef.sdRef, /* flags */ 0, resolveData.interfaceIndex,
                          resolveData.serviceNameUtf8.constData(), regtype, domain, &resolveReply, this);
    if (error != kDNSServiceErr_NoError) {
        LOG4CPLUS_ERROR(logger, "Error calling DNSServiceResolve: " << error);
        Q_EMIT resolveFailed(resolveData); // no slot can be connected yet
        return;
    }
    serviceRef.setNotifier(this, SLOT(on_socketNotifier_activated(int)));
    startTimeout(timer, this, &BonjourResolver::on_timeout);
}

void BonjourResolver::on_socketNotifier_activated(int /*socket*/)
{
    DNSServiceProcessResult(serviceRef.sdRef); // `this` may be gone after this line
}

void BonjourResolver::bonjourResolveReplyCallback(DNSServiceRef /*sdRef*/, DNSServiceFlags /*flags*/,
                                                  std::uint32_t interfaceIndex, DNSServiceErrorType errorCode,
                                                  const char* fullname, const char* hosttarget,
                                                  std::uint16_t port, std::uint16_t /*txtLen*/,
                                                  const unsigned char* /*txtRecord*/)
{
    const std::uint16_t hostPort = qFromBigEndian(port);
    LOG4CPLUS_TRACE(logger,
                    enter("void BonjourResolver::bonjourResolveReplyCallback(DNSServiceRef, DNSServiceFlags, "
                          "uint32_t, DNSServiceErrorType, const char*, const char*, uint16_t, uint16_t, "
                          "const unsigned char*)")
                        << "if=" << interfaceLabel(interfaceIndex) << " error=" << errorCode
                        << " fullname=" << fullname << " hosttarget=" << hosttarget << " port=" << hostPort);
    timer->stop();
    if (errorCode != kDNSServiceErr_NoError) {
        LOG4CPLUS_ERROR(logger,
                        "Error in bonjourResolveReplyCallback: " << errorCode << " for " << resolveData);
        Q_EMIT resolveFailed(resolveData); // `this` may be gone after this line
        return;
    }
    resolveData.fullName = QString::fromUtf8(fullname);
    // The label ends at the first dot without a backslash before it. One that ends in an escaped backslash is
    // therefore cut too late; applications know such names in that form.
    const int lastOfLabel = QRegExp(QStringLiteral("[^\\\\]\\.")).indexIn(resolveData.fullName);
    client.serviceName = unescape(resolveData.fullName.left(lastOfLabel + 1));
    client.hostName = QString::fromUtf8(hosttarget);
    client.port = hostPort;
    addressLookup = std::make_unique<BonjourGetAddrInfo>(interfaceIndex, hosttarget, protocol);
    veskConnect(addressLookup.get(), &BonjourGetAddrInfo::resolved, this,
                &BonjourResolver::on_addressResolved);
    // A failed look-up ends like a timeout.
    veskConnect(addressLookup.get(), &BonjourGetAddrInfo::resolveFailed, this, &BonjourResolver::on_timeout);
}

QString BonjourResolver::unescape(const QString& escaped) const
{
    QString text = escaped;
    const QRegExp numericEscape(QStringLiteral("\\\\\\d\\d\\d"));
    // From the start each time: a backslash that an escape gave takes part in the next match.
    for (int at = numericEscape.indexIn(text); at != -1; at = numericEscape.indexIn(text))
        text.replace(at, 4, QChar(ushort(text.midRef(at + 1, 3).toInt())));

    QStringList parts = text.split(QStringLiteral("\\\\"));
    for (QString& part : parts)
        part.remove(QLatin1Char('\\'));
    return parts.join(QLatin1Char('\\'));
}

void BonjourResolver::on_addressResolved(const QHostAddress& address)
{
    LOG4CPLUS_TRACE(logger, enter("void BonjourResolver::on_addressResolved(const QHostAddress&)")
                                << "address: " << address.toString());
    client.addresses.insert(address);
    Q_EMIT resolveSucceeded(resolveData, client); // `this` may be gone after this line
}

void BonjourResolver::on_timeout()
{
    LOG4CPLUS_INFO(logger, enter("void BonjourResolver::on_timeout()") << "Resolving timed out");
    Q_EMIT resolveFailed(resolveData); // `this` may be gone after this line
}

// --- Address look-up -------------------------------------------------------------------------------------

static void getAddrInfoReply(DNSServiceRef /*sdRef*/, DNSServiceFlags /*flags*/, std::uint32_t interfaceIndex,
                             DNSServiceErrorType errorCode, const char* /*hostname*/, const sockaddr* address,
                             std::uint32_t /*ttl*/, void* context)
{
    static_cast<BonjourGetAddrInfo*>(context)->bonjourGetAddrInfoReplyCallback(interfaceIndex, address,
                                                                               errorCode);
}

BonjourGetAddrInfo::BonjourGetAddrInfo(std::uint32_t interfaceIndex, const char* hostname,
                                       MDnsProtocolType protocol)
    : timer(new QTimer(this))
{
    LOG4CPLUS_TRACE(logger,
                    enter("BonjourGetAddrInfo::BonjourGetAddrInfo(uint32_t, const char*, MDnsProtocolType)")
                        << "Creating BonjourGetAddrInfo for hostname: " << hostname
                        << " on interface: " << interfaceLabel(interfaceIndex));
    const DNSServiceErrorType error =
        DNSServiceGetAddrInfo(&serviceRef.sdRef, /* flags */ 0, interfaceIndex, toDnsSdProtocol(protocol),
                              hostname, &getAddrInfoReply, this);
    if (error != kDNSServiceErr_NoError) {
        LOG4CPLUS_ERROR(logger, "Error calling DNSGetAddrInfo: " << error << " for hostname: " << hostname);
        Q_EMIT resolveFailed(); // no slot can be connected yet
        return;
    }
    serviceRef.setNotifier(this, SLOT(on_socketNotifier_activated(int)));
    startTimeout(timer, this, &BonjourGetAddrInfo::on_timeout);
}

void BonjourGetAddrInfo::on_socketNotifier_activated(int /*socket*/)
{
    DNSServiceProcessResult(serviceRef.sdRef); // `this` may be gone after this line
}

void BonjourGetAddrInfo::bonjourGetAddrInfoReplyCallback(std::uint32_t interfaceIndex,
                                                         const sockaddr* address,
                                                         DNSServiceErrorType errorCode)
{
    timer->stop();
    if (errorCode != kDNSServiceErr_NoError) {
        LOG4CPLUS_ERROR(logger, "bonjourGetAddrInfoReplyCallback failed with error: " << errorCode);
        Q_EMIT resolveFailed(); // `this` may be gone after this line
        return;
    }
    QHostAddress hostAddress;
    if (address)
        hostAddress.setAddress(address);
    if (hostAddress.protocol() == QAbstractSocket::IPv6Protocol)
        hostAddress.setScopeId(QString::number(interfaceIndex));
    LOG4CPLUS_TRACE(logger, "Address is: " << hostAddress.toString() << " scopeId: " << hostAddress.scopeId()
                                           << " interfaceIndex: " << interfaceLabel(interfaceIndex));
    Q_EMIT resolved(hostAddress); // `this` may be gone after this line
}

void BonjourGetAddrInfo::on_timeout()
{
    LOG4CPLUS_INFO(logger, enter("void BonjourGetAddrInfo::on_timeout()") << "Resolving timed out");
    Q_EMIT resolveFailed(); // `this` may be gone after this line
}

// --- Client table ----------------------------------------------------------------------------------------

void BonjourLister::on_resolveSucceeded(const ResolveData& data, const MDnsVeskClient& client)
{
    LOG4CPLUS_INFO(logger,
                   enter("void BonjourLister::on_resolveSucceeded(const ResolveData&, const MDnsVeskClient&)")
                       << "Resolve succeeded: " << data);
    clients.insert(data, client);
    resolvers.remove(data); // the emitter of this very signal
    txtMonitors.insert(data, QSharedPointer<BonjourTxtMonitor>::create(data, client));
    connect(txtMonitors.value(data).data(), &BonjourTxtMonitor::clientUpdated, this,
            &BonjourLister::on_clientUpdated);
    // Nothing is emitted: a client becomes known with the first report of its monitor.
}

void BonjourLister::on_resolveFailed(const ResolveData& data)
{
    LOG4CPLUS_INFO(logger, enter("void BonjourLister::on_resolveFailed(const ResolveData&)")
                               << "Resolve failed, remove resolver: " << data);
    resolvers.remove(data); // the emitter of this very signal
}

void BonjourLister::on_clientUpdated(const ResolveData& data, const MDnsVeskClient& client)
{
    QString addresses;
    for (const QHostAddress& address : client.addresses)
        addresses += address.toString() + QLatin1Char(' ');
    LOG4CPLUS_INFO(logger, "Client updated: " << data << " " << addresses);
    clients.insert(data, client);
    Q_EMIT clientChanged(client.serviceName); // `this` may be gone after this line
}

QStringList BonjourLister::getClients()
{
    const auto table = clients;
    QStringList names;
    for (const MDnsVeskClient& client : table)
        names.append(client.serviceName);
    return names;
}

MDnsVeskClient BonjourLister::getClient(const QString& name)
{
    const auto table = clients;
    for (const MDnsVeskClient& client : table)
        if (client.serviceName == name)
            return client;
    return {};
}

// --- TXT monitor -----------------------------------------------------------------------------------------

static void txtMonitorReply(DNSServiceRef sdRef, DNSServiceFlags flags, std::uint32_t interfaceIndex,
                            DNSServiceErrorType errorCode, const char* fullname, std::uint16_t rrtype,
                            std::uint16_t rrclass, std::uint16_t rdlen, const void* rdata, std::uint32_t ttl,
                            void* context)
{
    static_cast<BonjourTxtMonitor*>(context)->bonjourTxtMonitorReplyCallback(
        sdRef, flags, interfaceIndex, errorCode, fullname, rrtype, rrclass, rdlen, rdata, ttl);
}

BonjourTxtMonitor::BonjourTxtMonitor(const ResolveData& resolveData, const MDnsVeskClient& resolvedClient)
    : data(resolveData)
    , client(resolvedClient)
{
    LOG4CPLUS_TRACE(logger,
                    enter("BonjourTxtMonitor::BonjourTxtMonitor(const ResolveData&, const MDnsVeskClient&)")
                        << "Creating BonjourTxtMonitor for serviceName: " << data.fullName
                        << " on interface: " << interfaceLabel(data.interfaceIndex));
    const DNSServiceErrorType error = DNSServiceQueryRecord(
        &serviceRef.sdRef, kDNSServiceFlagsForceMulticast, data.interfaceIndex,
        data.fullName.toUtf8().constData(), kDNSServiceType_TXT, kDNSServiceClass_IN, &txtMonitorReply, this);
    if (error != kDNSServiceErr_NoError) {
        LOG4CPLUS_ERROR(logger, "Error calling DNSServiceQueryRecord: " << error << " for client: " << data);
        Q_EMIT txtMonitorFailed(); // no slot can be connected yet
        return;
    }
    serviceRef.setNotifier(this, SLOT(on_socketNotifier_activated(int)));
}

void BonjourTxtMonitor::on_socketNotifier_activated(int /*socket*/)
{
    DNSServiceProcessResult(serviceRef.sdRef); // `this` may be gone after this line
}

void BonjourTxtMonitor::bonjourTxtMonitorReplyCallback(DNSServiceRef /*sdRef*/, DNSServiceFlags flags,
                                                       std::uint32_t /*interfaceIndex*/,
                                                       DNSServiceErrorType errorCode, const char* fullname,
                                                       std::uint16_t rrtype, std::uint16_t rrclass,
                                                       std::uint16_t rdlen, const void* rdata,
                                                       std::uint32_t /*ttl*/)
{
    // Before the error test: a withdrawn record never removes entries and never signals.
    if (!(flags & kDNSServiceFlagsAdd)) {
        LOG4CPLUS_TRACE(logger, "TXT RMV event received, ignoring.");
        return;
    }
    LOG4CPLUS_TRACE(
        logger,
        enter("void BonjourTxtMonitor::bonjourTxtMonitorReplyCallback(DNSServiceRef, DNSServiceFlags, "
              "uint32_t, DNSServiceErrorType, const char*, uint16_t, uint16_t, uint16_t, const void*, "
              "uint32_t)")
            << "fullname: " << fullname << " rrtype=" << rrtype);
    if (errorCode != kDNSServiceErr_NoError) {
        LOG4CPLUS_ERROR(logger, "bonjourTxtMonitorReplyCallback failed with error: " << errorCode);
        Q_EMIT txtMonitorFailed(); // `this` may be gone after this line
        return;
    }
    if (rrtype != kDNSServiceType_TXT || rrclass != kDNSServiceClass_IN) {
        LOG4CPLUS_ERROR(logger, "bonjourTxtMonitorReplyCallback has the wrong class and/or type: "
                                    << rrclass << ", " << rrtype);
        Q_EMIT txtMonitorFailed(); // `this` may be gone after this line
        return;
    }
    mergeTxt(rdlen, rdata);
    LOG4CPLUS_TRACE(logger, "Device: " << fullname << " updated TXT=" << txtText(client.txt));
    Q_EMIT clientUpdated(data, client); // `this` may be gone after this line
}

void BonjourTxtMonitor::mergeTxt(std::uint16_t rdlen, const void* rdata)
{
    for (std::uint32_t index = 0; index <= UINT16_MAX; ++index) {
        char key[256] = {};
        std::uint8_t length = 0;
        const void* value = nullptr;
        if (TXTRecordGetItemAtIndex(rdlen, rdata, std::uint16_t(index), sizeof key, key, &length, &value) ==
            kDNSServiceErr_Invalid)
            return;
        // "key" and "key=" are the same: a null text. A value ends at its first zero byte.
        const auto* bytes = static_cast<const char*>(value);
        const int textLength = bytes ? int(qstrnlen(bytes, length)) : 0;
        client.txt.insert(QString::fromUtf8(key),
                          length > 0 && bytes ? QString::fromUtf8(bytes, textLength) : QString());
    }
}
