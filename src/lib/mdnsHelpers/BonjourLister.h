// SPDX-License-Identifier: MIT
#ifndef BONJOUR_LISTER_H
#define BONJOUR_LISTER_H

// The road of a remote service, in its order: the lister browses, a resolver resolves each instance and looks
// up its host's addresses, a monitor then watches its TXT record.

#include "MDnsLister.h"

#include <QByteArray>
#include <QHash>
#include <QHostAddress>
#include <QObject>
#include <QSharedPointer>
#include <QString>
#include <cstdint>
#include <dns_sd.h>
#include <memory>
#include <string>

class QSocketNotifier;
class QTimer;
struct sockaddr;

/** The text by which log lines name an interface: "NAME,INDEX", with an empty name for an index that is none.
 */
std::string interfaceLabel(std::uint32_t interfaceIndex);

/** Owns one DNS-SD operation and the notifier that tells when a reply of it waits. */
class BonjourServiceRef : public QObject
{
    Q_OBJECT

public:
    BonjourServiceRef();
    /** Releases the operation, then the notifier. */
    ~BonjourServiceRef() override;

    /**
     * Watches the operation; to be called once, right after its start call succeeded.
     *
     * @param slot what to call when a reply waits, as SLOT() gives it. It runs DNSServiceProcessResult().
     */
    void setNotifier(QObject* receiver, const char* slot);

    DNSServiceRef sdRef = nullptr; ///< filled in by the owner's start call
    QSocketNotifier* notifier = nullptr;
};

/** One look-up of a host's addresses; it goes on reporting until it is destroyed. */
class BonjourGetAddrInfo : public QObject
{
    Q_OBJECT

public:
    /** Starts at once. A refusal is signalled from here, before a slot can be connected. */
    BonjourGetAddrInfo(std::uint32_t interfaceIndex, const char* hostname, MDnsProtocolType protocol);

    void bonjourGetAddrInfoReplyCallback(std::uint32_t interfaceIndex, const sockaddr* address,
                                         DNSServiceErrorType errorCode);

Q_SIGNALS:
    /** One reply; a withdrawn address is reported like a new one. The receiver may delete the look-up. */
    void resolved(QHostAddress address);
    /** Refused, an error reply, or no reply within 30 seconds. The receiver may delete the look-up. */
    void resolveFailed();

private Q_SLOTS:
    void on_socketNotifier_activated(int socket);
    void on_timeout();

private:
    BonjourServiceRef serviceRef;
    QTimer* timer;
};

/** Turns one browsed instance into a client record; it goes on reporting until it is destroyed. */
class BonjourResolver : public QObject
{
    Q_OBJECT

public:
    /** Starts at once. A refusal is signalled from here, before a slot can be connected. */
    BonjourResolver(ResolveData data, const char* regtype, const char* domain, MDnsProtocolType protocol);

    void bonjourResolveReplyCallback(DNSServiceRef sdRef, DNSServiceFlags flags, std::uint32_t interfaceIndex,
                                     DNSServiceErrorType errorCode, const char* fullname,
                                     const char* hosttarget, std::uint16_t port, std::uint16_t txtLen,
                                     const unsigned char* txtRecord);

    /**
     * The plain form of an escaped label. First every backslash with three digits becomes the one character
     * of that value, each replacement searched again from the start; then "\\" becomes "\" and other
     * backslashes go.
     */
    QString unescape(const QString& escaped) const;

Q_SIGNALS:
    /** An address arrived; @p client holds all so far and no TXT entries. The receiver may delete the
     * resolver. */
    void resolveSucceeded(ResolveData data, MDnsVeskClient client);
    /** Refused, an error reply, no reply within 30 seconds, or a failed look-up. The receiver may delete the
     * resolver. */
    void resolveFailed(ResolveData data);

public Q_SLOTS:
    void on_socketNotifier_activated(int socket);
    void on_addressResolved(const QHostAddress& address);
    void on_timeout();

private:
    BonjourServiceRef serviceRef;
    ResolveData resolveData;
    MDnsVeskClient client;
    std::unique_ptr<BonjourGetAddrInfo> addressLookup;
    QTimer* timer;
    MDnsProtocolType protocol;
};

/** Watches the TXT record of one resolved instance; merges what it reports into its copy of the client
 * record. */
class BonjourTxtMonitor : public QObject
{
    Q_OBJECT

public:
    /** Starts at once. A refusal is signalled from here, before a slot can be connected. */
    BonjourTxtMonitor(const ResolveData& data, const MDnsVeskClient& client);

    void bonjourTxtMonitorReplyCallback(DNSServiceRef sdRef, DNSServiceFlags flags,
                                        std::uint32_t interfaceIndex, DNSServiceErrorType errorCode,
                                        const char* fullname, std::uint16_t rrtype, std::uint16_t rrclass,
                                        std::uint16_t rdlen, const void* rdata, std::uint32_t ttl);

Q_SIGNALS:
    /** A TXT record was reported, changed or not. The receiver may delete the monitor. */
    void clientUpdated(ResolveData data, MDnsVeskClient client);
    /** Refused, an error reply, or a record of another kind. The receiver may delete the monitor. */
    void txtMonitorFailed();

public Q_SLOTS:
    void on_socketNotifier_activated(int socket);

private:
    void mergeTxt(std::uint16_t rdlen, const void* rdata);

    BonjourServiceRef serviceRef;
    ResolveData data;
    MDnsVeskClient client;
};

/** The lister over a DNS-SD client library. */
class BonjourLister : public MDnsLister
{
    Q_OBJECT

public:
    /** Browses from here on. A refusal is only logged; the lister then stays empty. */
    BonjourLister(QObject* parent, const QString& serviceType, MDnsProtocolType protocolType);

    QStringList getClients() override;
    MDnsVeskClient getClient(const QString& name) override;

    void bonjourBrowseReplyCallback(DNSServiceRef sdRef, DNSServiceFlags flags, std::uint32_t interfaceIndex,
                                    DNSServiceErrorType errorCode, const char* serviceName,
                                    const char* regtype, const char* replyDomain);

public Q_SLOTS:
    void on_browseSocketNotifier_activated(int socket);
    void on_resolveSucceeded(const ResolveData& data, const MDnsVeskClient& client);
    void on_clientUpdated(const ResolveData& data, const MDnsVeskClient& client);
    void on_resolveFailed(const ResolveData& data);

private:
    void drop(const ResolveData& key);
    void resolve(const ResolveData& key, const char* regtype, const char* domain);

    QByteArray regType;
    std::unique_ptr<BonjourServiceRef> browseRef;
    MDnsProtocolType protocolType;
    // Taking a key out of one of these two destroys the object at once.
    QHash<ResolveData, QSharedPointer<BonjourResolver>> resolvers;
    QHash<ResolveData, QSharedPointer<BonjourTxtMonitor>> txtMonitors;
    QHash<ResolveData, MDnsVeskClient> clients;
};

#endif
