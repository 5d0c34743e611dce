// SPDX-License-Identifier: MIT
#ifndef MDNS_LISTER_H
#define MDNS_LISTER_H

#include "MDnsHelpersExport.h"

#include <QByteArray>
#include <QHash>
#include <QHostAddress>
#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>
#include <cstdint>
#include <iosfwd>

/** Which addresses of a host are looked up. Any other value, such as -1, asks for both families. */
enum class MDnsProtocolType : std::int32_t
{
    IPv4 = 0,
    IPv6 = 1
};

/**
 * The identity of one browsed service instance: its name and the interface that it was seen on.
 *
 * Two records are equal when these two are; serviceNameUtf8 and fullName take no part, so that the record of
 * a browse reply finds what is stored under the same record with its full name filled in.
 */
struct MDNS_HELPERS_EXPORT ResolveData
{
    /** Instance name as browsed. */
    QString serviceName;
    /** serviceName in UTF-8, as it is handed to the DNS-SD library. */
    QByteArray serviceNameUtf8;
    /** Escaped instance name, service type and domain joined by dots; empty until resolved. */
    QString fullName;
    /** Interface index of the operating system; 0 for a service of our own. */
    std::uint32_t interfaceIndex = 0;
};

MDNS_HELPERS_EXPORT bool operator==(const ResolveData& left, const ResolveData& right);
MDNS_HELPERS_EXPORT uint qHash(const ResolveData& data, uint seed = 0);
/** Writes "NAME on INTERFACE,INDEX" in UTF-8, e.g. "Kitchen on wlan0,3"; "Kitchen on ,7" when index 7 is
 * none. */
MDNS_HELPERS_EXPORT std::ostream& operator<<(std::ostream& out, const ResolveData& data);

/** One resolved service instance on one interface. A default-made record is empty, with port 0. */
struct MDNS_HELPERS_EXPORT MDnsVeskClient
{
    /** Host that offers the service, with its trailing dot, such as "kitchen.local.". */
    QString hostName;
    /** Plain instance name; the one that the lister's queries and signals use. */
    QString serviceName;
    /** Port in host byte order, 0 to 65535. */
    std::int32_t port = 0;
    /**
     * Addresses of hostName, the IPv6 ones with the interface index as scope id. A lister ends the look-up at
     * the first address, so its records hold one.
     */
    QSet<QHostAddress> addresses;
    /**
     * TXT entries; "key" and "key=" both have an empty value. Entries are only ever added or replaced: one
     * that disappeared from the service's TXT record keeps its last value.
     */
    QHash<QString, QString> txt;
};

/**
 * Lists the services of one type on the local network and keeps the list current.
 *
 * @code
 * MDnsLister* lister = MDnsListerFactory::create(parent, "_demo._tcp", MDnsProtocolType::IPv4);
 * QObject::connect(lister, &MDnsLister::clientChanged, [lister](const QString& name) {
 *     qInfo() << name << lister->getClient(name).hostName;
 * });
 * @endcode
 *
 * An instance is listed once per interface that it is seen on. Everything runs on the thread that owns the
 * lister and needs that thread's event loop. Failures of the DNS-SD library are logged by the log4cplus
 * logger "BonjourLister" and never reach the caller.
 */
class MDNS_HELPERS_EXPORT MDnsLister : public QObject
{
    Q_OBJECT

public:
    /** For implementations; applications get their listers from MDnsListerFactory. */
    explicit MDnsLister(QObject* parent = nullptr);

    /** The names of all resolved clients in no particular order; one that is seen on two interfaces stands
     * twice. */
    virtual QStringList getClients() = 0;

    /**
     * The client named exactly @p serviceName; the record of any one interface when there are several, an
     * empty record when there is none.
     */
    virtual MDnsVeskClient getClient(const QString& serviceName) = 0;

Q_SIGNALS:
    /**
     * The client @p serviceName reported its TXT record: the first time when it becomes known, then with each
     * report, also when nothing in the record changed. The queries show the new record already; they show a
     * new client even a moment before its first signal. Emitted from the event loop; the receiver may delete
     * the lister.
     */
    void clientChanged(const QString& serviceName);

    /**
     * The client @p serviceName left the network, on one of its interfaces; the queries no longer show that
     * record. @p serviceName is empty when the instance was never resolved. Emitted from the event loop; the
     * receiver may delete the lister.
     */
    void clientRemoved(const QString& serviceName);
};

/** Makes listers. */
class MDNS_HELPERS_EXPORT MDnsListerFactory
{
public:
    /**
     * Makes a lister that is browsing already.
     *
     * @param parent owns the lister; when null, the caller deletes it.
     * @param type the service type, such as "_demo._tcp", lower-cased.
     * @param protocol which addresses to look up.
     * @return the lister, never null: when the DNS-SD library refuses, it logs that and stays empty.
     */
    static MDnsLister* create(QObject* parent, const QString& type, MDnsProtocolType protocol);
};

#endif
