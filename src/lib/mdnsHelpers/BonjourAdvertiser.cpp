// SPDX-License-Identifier: MIT
#include "BonjourAdvertiser.h"

#include <QPointer>
#include <QRegExp>
#include <QtEndian>
#include <cstdlib>
#include <log4cplus/logger.h>
#include <log4cplus/loggingmacros.h>
#include <textStreams.h>
#include <veskConnect.h>

namespace {

const log4cplus::Logger logger = log4cplus::Logger::getInstance("BonjourAdvertiser");

constexpr int maxLabelBytes = 63;
constexpr auto bothFamilies = static_cast<MDnsProtocolType>(-1);

QByteArray toLabel(const QString& text)
{
    return QByteArray_leftUtf8(text.toUtf8(), maxLabelBytes);
}

} // namespace

BonjourAdvertiser::BonjourAdvertiser(QObject* parent, const QString& name, const QString& type,
                                     int servicePort)
    : MDnsAdvertiser(parent)
    , instanceName(toLabel(name))
    , defaultInstanceName(instanceName)
    , serviceType(toLabel(type))
    , port(servicePort)
{
}

BonjourAdvertiser::~BonjourAdvertiser()
{
    stop();
}

// --- Registration ----------------------------------------------------------------------------------------

void BonjourAdvertiser::start()
{
    if (serviceRef)
        return;
    const DNSServiceErrorType error = DNSServiceRegister(
        &serviceRef, /* flags */ 0, kDNSServiceInterfaceIndexAny, instanceName.constData(),
        serviceType.constData(), /* domain */ nullptr, /* host */ nullptr, qToBigEndian(quint16(port)),
        /* txtLen */ 0, /* txtRecord */ nullptr, &BonjourAdvertiser::registrationHandler, this);
    if (error != kDNSServiceErr_NoError) {
        LOG4CPLUS_ERROR(logger, "An error occured during creation of the advertiser: "
                                    << instanceName << " type: " << serviceType);
        LOG4CPLUS_ERROR(logger, "The DNSServiceErrorType was: " << error);
        if (serviceRef) // written although the call failed: idle is told by a null reference
            DNSServiceRefDeallocate(serviceRef);
        serviceRef = nullptr;
        return;
    }
    socketNotifier =
        std::make_unique<QSocketNotifier>(DNSServiceRefSockFD(serviceRef), QSocketNotifier::Read, this);
    veskConnect(socketNotifier.get(), &QSocketNotifier::activated, this,
                &BonjourAdvertiser::on_socketNotifier_activated);
    TXTRecordCreate(&txtRecord, /* bufferLen */ 0, txtBuffer);
    LOG4CPLUS_INFO(logger, "Started advertising: " << instanceName << " type: " << serviceType << " on port "
                                                   << port);
}

void BonjourAdvertiser::stop()
{
    if (!serviceRef)
        return;
    LOG4CPLUS_INFO(logger, "Stopping advertising: " << instanceName << " type: " << serviceType);
    socketNotifier.reset();
    TXTRecordDeallocate(&txtRecord);
    std::free(txtBuffer);
    DNSServiceRefDeallocate(serviceRef);
    serviceRef = nullptr;
    txtRecord = {}; // keeps edits while idle harmless
}

void BonjourAdvertiser::on_socketNotifier_activated(int /*socket*/)
{
    DNSServiceProcessResult(serviceRef); // `this` may be gone after this line
}

void BonjourAdvertiser::registrationHandler(DNSServiceRef /*sdRef*/, DNSServiceFlags /*flags*/,
                                            DNSServiceErrorType errorCode, const char* name,
                                            const char* regtype, const char* domain, void* context)
{
    auto* advertiser = static_cast<BonjourAdvertiser*>(context);
    if (errorCode != kDNSServiceErr_NoError) {
        LOG4CPLUS_DEBUG(logger, "Failed to register service: " << advertiser->instanceName
                                                               << ", error: " << errorCode);
        return;
    }
    advertiser->registered(name, regtype, domain);
}

void BonjourAdvertiser::registered(const char* name, const char* regtype, const char* domain)
{
    // The daemon may have renamed the service after a conflict: resolve the name that it gave.
    ResolveData data;
    data.serviceName = QString::fromUtf8(name);
    data.serviceNameUtf8 = data.serviceName.toUtf8();
    selfResolver = QSharedPointer<BonjourResolver>::create(data, regtype, domain, bothFamilies);
    // A failed resolve of our own service is silent: resolveFailed stays unconnected.
    veskConnect(selfResolver.data(), &BonjourResolver::resolveSucceeded, this,
                &BonjourAdvertiser::on_resolved);
}

void BonjourAdvertiser::on_resolved(const ResolveData& /*data*/, const MDnsVeskClient& client)
{
    if (registeredName != client.hostName) {
        const QPointer<BonjourAdvertiser> self(this);
        registeredName = client.hostName;
        Q_EMIT nameRegistered(client.hostName);
        if (!self)
            return; // the receiver deleted us
    }
    selfResolver.clear();
}

// --- TXT record ------------------------------------------------------------------------------------------

void BonjourAdvertiser::updateTxt()
{
    const DNSServiceErrorType error =
        DNSServiceUpdateRecord(serviceRef, txtRecordRef, /* flags */ 0, TXTRecordGetLength(&txtRecord),
                               TXTRecordGetBytesPtr(&txtRecord), /* ttl: the daemon's default */ 0);
    if (error != kDNSServiceErr_NoError)
        LOG4CPLUS_ERROR(logger, "Error while updating txt, error code is:" << error);
    if (!serviceRef) {
        // Nothing is advertised: what the edit allocated would be lost by the next start.
        TXTRecordDeallocate(&txtRecord);
        txtRecord = {};
    }
}

void BonjourAdvertiser::updateTxt(const QString& key, const QString& value)
{
    LOG4CPLUS_INFO(logger, "Adding txt: " << key << "=" << value);
    const QByteArray valueUtf8 = value.toUtf8();
    // The length is cut to 8 bits: applications know 256 bytes as none. An invalid key changes nothing.
    TXTRecordSetValue(&txtRecord, key.toUtf8().constData(), quint8(valueUtf8.size()), valueUtf8.constData());
    updateTxt();
}

void BonjourAdvertiser::rmTxt(const QString& key)
{
    LOG4CPLUS_INFO(logger, "Removing txt: " << key);
    TXTRecordRemoveValue(&txtRecord, key.toUtf8().constData());
    updateTxt();
}

// --- Instance name ---------------------------------------------------------------------------------------

void BonjourAdvertiser::forceInstanceName(const QString& forcedName)
{
    QString name = forcedName;
    name.remove(QRegExp(QStringLiteral("\\.$")));
    name.remove(QRegExp(QStringLiteral("\\.local$")));
    QString type = QString::fromUtf8(serviceType.constData());
    if (name.endsWith(type)) {
        // Only dots are escaped: any other operator in a type keeps its meaning, and the type may then stay.
        type.replace(QLatin1String("."), QLatin1String("\\."));
        name.remove(QRegExp(QStringLiteral("\\.?") + type + QLatin1Char('$')));
    } else if (name.contains(QLatin1String("._"))) {
        return; // the full name of a service of another type
    }
    const QByteArray newName = name.isEmpty() ? defaultInstanceName : toLabel(name);
    if (newName == instanceName)
        return;
    stop();
    instanceName = newName;
    start();
}
