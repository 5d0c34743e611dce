// SPDX-License-Identifier: MIT
#ifndef MDNS_TEST_SERVICE_H
#define MDNS_TEST_SERVICE_H

#include <QByteArray>
#include <QHostAddress>
#include <QList>
#include <QMap>
#include <QString>

/**
 * A service of another host, for MDnsTestNetwork.
 *
 * @code
 * MDnsTestService kitchen{"Kitchen", "_demo._tcp", 8080, {{"oven", "off"}}};
 * kitchen.addresses = {QHostAddress("192.0.2.7")};
 * @endcode
 */
struct MDnsTestService
{
    /** Of the instance: at most 63 bytes of UTF-8. */
    QString name{};
    /** Such as "_demo._tcp", with subtypes after commas: "_demo._tcp,_printer". */
    QString type{};
    /** In host byte order; 0: only the name is taken, and nothing offered. */
    quint16 port = 0;
    /** Entries of the TXT record, 255 bytes with key and "=" at most. A null value is published as "key", an
     * empty one as "key=". */
    QMap<QByteArray, QByteArray> txt{};
    /** Such as "kitchen.local."; empty: named after the service. */
    QString hostName{};
    /** Of the host; empty: 192.0.2.1 alone. Services with one host name share their addresses. */
    QList<QHostAddress> addresses{};
    /** That it is seen on, which need not exist; 0: whichever is asked for, and else loopback. */
    quint32 interfaceIndex = 0;
};

#endif
