// SPDX-License-Identifier: MIT
#ifndef MDNS_ADVERTISER_H
#define MDNS_ADVERTISER_H

#include "MDnsHelpersExport.h"

#include <QObject>
#include <QString>
#include <VeskValue.h>

/**
 * Advertises one service of this device on the local network by DNS-SD over multicast DNS.
 *
 * @code
 * MDnsAdvertiser* advertiser = MDnsAdvertiserFactory::create(parent, "Kitchen", "_demo._tcp", 8080);
 * QObject::connect(advertiser, &MDnsAdvertiser::nameRegistered,
 *                  [](const QString& host) { qInfo() << "reachable as" << host; });
 * advertiser->updateTxt("path", "/");
 * @endcode
 *
 * Everything runs on the thread that owns the advertiser and needs that thread's event loop. Failures of the
 * DNS-SD library are logged by the log4cplus logger "BonjourAdvertiser" and never reach the caller.
 */
class MDNS_HELPERS_EXPORT MDnsAdvertiser : public QObject
{
    Q_OBJECT

public:
    /** For implementations; applications get their advertisers from MDnsAdvertiserFactory. */
    explicit MDnsAdvertiser(QObject* parent = nullptr);

    /**
     * Begins advertising with an empty TXT record: entries set before are gone. Does nothing while the
     * service is advertised. When the DNS-SD library refuses, the advertiser stays idle and start() may be
     * tried again.
     */
    virtual void start() = 0;

Q_SIGNALS:
    /**
     * The registered service was resolved to the host name @p name (a host, such as "kitchen.local.", not the
     * instance name).
     *
     * Emitted from the event loop after each confirmed registration, but only when @p name differs from the
     * one emitted last: neither a rename of the instance after a name conflict nor a restart under another
     * name emits it again while the host keeps its name. The receiver may delete the advertiser.
     */
    void nameRegistered(const QString& name);

private Q_SLOTS:
    void on_forceServiceName_changed(const VeskValue& newValue, const VeskValue& oldValue);

public Q_SLOTS:
    /**
     * Sets one TXT entry and sends the whole record to the daemon at once.
     *
     * @param key 1 or more printable ASCII characters without "=" (RFC 6763, section 6.4); any other key
     *        leaves the record unchanged.
     * @param value sent as UTF-8. Its length in bytes counts modulo 256: 300 bytes are sent as the first 44,
     *        256 as none. An empty value is sent as "key=". Key, "=" and value together hold at most 254
     *        bytes (255 with some DNS-SD libraries); a longer entry leaves the record unchanged.
     *
     * Without effect, but for an error in the log, while the service is not advertised.
     */
    virtual void updateTxt(const QString& key, const QString& value) = 0;

    /** Removes one TXT entry, if it is there, and sends the whole record to the daemon at once. */
    virtual void rmTxt(const QString& key) = 0;

    /**
     * Advertises under another instance name; the registration starts anew, with an empty TXT record.
     *
     * A trailing dot, ".local" and the service type are cut off first; what then still holds "._" is ignored.
     * An empty name restores the one given to the factory. A name longer than 63 bytes of UTF-8 is cut at a
     * character. The name in force already changes nothing; any other one also starts an idle advertiser.
     */
    virtual void forceInstanceName(const QString& instanceName) = 0;

private:
    friend class MDnsAdvertiserFactory;
};

/**
 * Makes advertisers.
 *
 * Each is bound to the configuration item "systemmanager:/bonjourForceServiceName": whenever that item
 * changes, its text becomes the instance name by MDnsAdvertiser::forceInstanceName(). The value that the item
 * has at creation is not applied.
 *
 * An advertiser is a Qt child of @p parent, or the caller's to delete when @p parent is null. Null is never
 * returned: what the DNS-SD library refuses is only logged.
 *
 * In every function: name is the instance name, at most 63 bytes of UTF-8, cut at a character beyond that;
 * type the service type, such as "_demo._tcp", lower-cased; port the TCP or UDP port, 0 to 65535.
 */
class MDNS_HELPERS_EXPORT MDnsAdvertiserFactory
{
public:
    /** Makes an advertiser that is advertising already. */
    static MDnsAdvertiser* create(QObject* parent, const QString& name, const QString& type, int port);

    /**
     * Makes an advertiser, connects its nameRegistered(QString) to the slot text @p slot, as Qt's SLOT()
     * gives it, of @p receiver, and starts it, so that the first emission cannot be missed. When receiver or
     * slot is null, nothing is connected and the advertiser starts all the same.
     */
    static MDnsAdvertiser* create(QObject* parent, const QString& name, const QString& type, int port,
                                  QObject* receiver, const char* slot, Qt::ConnectionType connectionType);

    /** Makes an idle advertiser; MDnsAdvertiser::start() starts it. */
    static MDnsAdvertiser* createInternal(QObject* parent, const QString& name, const QString& type,
                                          int port);
};

#endif
