// SPDX-License-Identifier: MIT
#ifndef BONJOUR_ADVERTISER_H
#define BONJOUR_ADVERTISER_H

#include "BonjourLister.h"
#include "MDnsAdvertiser.h"

#include <QByteArray>
#include <QSharedPointer>
#include <QSocketNotifier>
#include <QString>
#include <dns_sd.h>
#include <memory>

/**
 * The advertiser over a DNS-SD client library: one registration, pumped on the Qt event loop, and a resolve
 * of our own service that tells the host name under which it really went out.
 */
class BonjourAdvertiser : public MDnsAdvertiser
{
    Q_OBJECT

public:
    /** Stays idle until start(). Name and type are cut to 63 bytes of UTF-8, the limit of a DNS label (RFC
     * 1035, 2.3.4). */
    BonjourAdvertiser(QObject* parent, const QString& name, const QString& type, int port);
    /** Stops. */
    ~BonjourAdvertiser() override;

    void start() override;
    /** Ends advertising; does nothing while idle. */
    void stop();

    /** Handles one reply of the registration; @p context is the advertiser. */
    static void registrationHandler(DNSServiceRef sdRef, DNSServiceFlags flags, DNSServiceErrorType errorCode,
                                    const char* name, const char* regtype, const char* domain, void* context);

public Q_SLOTS:
    void updateTxt(const QString& key, const QString& value) override;
    void rmTxt(const QString& key) override;
    void forceInstanceName(const QString& instanceName) override;
    void on_socketNotifier_activated(int socket);
    void on_resolved(const ResolveData& data, const MDnsVeskClient& client);
    /** Sends the TXT record as it stands. */
    void updateTxt();

private:
    void registered(const char* name, const char* regtype, const char* domain);

    QByteArray instanceName;
    QByteArray defaultInstanceName;
    QByteArray serviceType;
    int port;
    char* txtBuffer = nullptr; // null on purpose: the TXT functions then manage the storage
    TXTRecordRef txtRecord = {};
    DNSServiceRef serviceRef = nullptr;  // set exactly while advertising
    DNSRecordRef txtRecordRef = nullptr; // null on purpose: names the service's own TXT record
    std::unique_ptr<QSocketNotifier> socketNotifier;
    QSharedPointer<BonjourResolver> selfResolver;
    QString registeredName;
};

#endif
