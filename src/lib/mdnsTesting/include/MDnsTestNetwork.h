// SPDX-License-Identifier: MIT
#ifndef MDNS_TEST_NETWORK_H
#define MDNS_TEST_NETWORK_H

#include "MDnsTestService.h"

#include <QVector>
#include <QtEndian>
#include <vesk_dnssd.h>
#include <vesk_dnssd_memory.h>

/**
 * The network of an application's tests: it exists in the test's process alone, without daemon and sockets.
 * The application's advertisers and listers see each other and what the test publishes for other hosts.
 *
 * @code
 * MDnsTestNetwork network;
 * DeviceList devices; // the application's own class, with an MDnsLister inside
 * network.publish({"Kitchen", "_demo._tcp", 8080});
 * QTRY_COMPARE(devices.names(), QStringList{"Kitchen"});
 * @endcode
 *
 * It is the backend of all DNS-SD operations of the process, so that the first one has to be made before the
 * first advertiser or lister. There is one at a time; each begins and ends without other hosts, with network
 * and responder there.
 *
 * Every call returns when its change has been made. What the application hears of it comes through its event
 * loop, as always. Any thread may call, inside slots, too. What a call cannot do, such as publish under a
 * name that is none, ends the program by qFatal: a test that went on would test something else than it says.
 */
class MDnsTestNetwork
{
public:
    /** Chooses the network in memory for the process, and has it begin anew. */
    MDnsTestNetwork()
    {
        VeskDnssdChooseBackend(kVeskDnssdBackend_Memory); // refused when it has been chosen already
        require(VeskDnssdMemoryReset(), "make a network: is it made after the first operation?");
    }
    /** The other hosts are gone. What the application has not deleted stays on the network. */
    ~MDnsTestNetwork() { VeskDnssdMemoryReset(); }
    Q_DISABLE_COPY(MDnsTestNetwork)

    /**
     * Another host publishes a service, or changes the one that it has under that name, type and interface.
     * An advertiser of the application with the same name and type has to take another name.
     */
    void publish(const MDnsTestService& service)
    {
        const QByteArray name = service.name.toUtf8();
        const QByteArray type = service.type.toUtf8();
        const QByteArray host = service.hostName.toUtf8();
        const QByteArray txt = txtRecord(service.txt);
        const QList<QByteArray> addresses = texts(service.addresses);
        QVector<const char*> addressPointers;
        for (const QByteArray& address : addresses)
            addressPointers.append(address.constData());

        VeskDnssdMemoryService argument = {};
        argument.name = name.constData();
        argument.type = type.constData();
        argument.host = host.constData();
        argument.addresses = addresses.isEmpty() ? nullptr : addressPointers.constData();
        argument.addressCount = quint32(addresses.size());
        argument.interfaceIndex = service.interfaceIndex;
        argument.port = qToBigEndian(service.port);
        argument.txtLen = quint16(txt.size());
        argument.txtRecord = txt.constData();
        require(VeskDnssdMemoryPublish(&argument), "publish", name);
    }

    /** Another host withdraws a service, on that interface or, with 0, on all. */
    void withdraw(const QString& name, const QString& type, quint32 interfaceIndex = 0)
    {
        const QByteArray utf8 = name.toUtf8();
        require(VeskDnssdMemoryWithdraw(utf8.constData(), type.toUtf8().constData(), interfaceIndex),
                "withdraw", utf8);
    }
    /** The same, for the service of that name, type and interface. */
    void withdraw(const MDnsTestService& service)
    {
        withdraw(service.name, service.type, service.interfaceIndex);
    }

    /**
     * Another host takes a name for a service that it does not offer yet. An advertiser that has it has to
     * take another one. withdraw() gives the name free.
     */
    void takeName(const QString& name, const QString& type) { publish({name, type}); }

    /** Takes the network away, as by a pulled cable, or gives it back. Without it the services of other hosts
     * are gone; those of the application stay. */
    void setConnected(bool isConnected)
    {
        require(VeskDnssdMemorySetConnected(isConnected ? 1 : 0), "change the network");
    }

    /**
     * Takes the responder away, as when the daemon is stopped, or gives it back. Without it nothing changes
     * for listers, and nothing is published. With it everything is back, and what has gone meanwhile is
     * removed 0.2 to 0.4 seconds later.
     */
    void setResponding(bool isResponding)
    {
        require(VeskDnssdMemorySetResponding(isResponding ? 1 : 0), "change the responder");
    }

    /** Has the responder refuse what is started from now on, as the daemon does when it has no room. */
    void setRefusing(bool isRefusing)
    {
        require(VeskDnssdMemorySetRefusing(isRefusing ? 1 : 0), "change the responder");
    }

private:
    static void require(DNSServiceErrorType error, const char* what, const QByteArray& name = {})
    {
        if (error != kDNSServiceErr_NoError)
            qFatal("MDnsTestNetwork cannot %s %s: error %d", what, name.constData(), int(error));
    }

    static QByteArray txtRecord(const QMap<QByteArray, QByteArray>& txt)
    {
        QByteArray record;
        for (auto entry = txt.cbegin(); entry != txt.cend(); ++entry) {
            const QByteArray item = entry.value().isNull() ? entry.key() : entry.key() + '=' + entry.value();
            if (item.size() > 255)
                qFatal("MDnsTestNetwork: the TXT entry %s is too long", entry.key().constData());
            record.append(char(item.size())).append(item);
        }
        if (record.size() > 65535)
            qFatal("MDnsTestNetwork: the TXT record is too long");
        return record;
    }

    static QList<QByteArray> texts(const QList<QHostAddress>& addresses)
    {
        QList<QByteArray> texts;
        for (QHostAddress address : addresses) {
            address.setScopeId({}); // that of the interface on which it is seen is added there
            texts.append(address.toString().toLatin1());
        }
        return texts;
    }
};

#endif
