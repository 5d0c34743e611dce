// SPDX-License-Identifier: MIT
#ifndef SERVICE_TEXT_H
#define SERVICE_TEXT_H

#include "ServiceWatch.h"

#include <QJsonObject>
#include <QString>
#include <QStringList>

/** The name of an interface, or its number when there is no such interface. */
QString interfaceName(quint32 index);

/** The addresses of @p client in a fixed order; only link-local ones with their interface: "fe80::1%lan1". */
QStringList addressTexts(const MDnsVeskClient& client);

/**
 * The name of the interface that @p client was seen on, as far as its record tells: by the scope of an IPv6
 * address, or by the one local subnet that holds an IPv4 address. Empty when that is not known.
 */
QString interfaceText(const MDnsVeskClient& client);

/** interfaceText() for people: "lan1", "lan1 +1" when listed on one more, "?" when it is not known. */
QString interfaceColumn(const SeenService& service);

/** The TXT entries by key, "key=value" parted by blanks; entries with blanks or quotes inside are quoted. */
QString txtText(const QHash<QString, QString>& txt);

/** The documented JSON fields: type, name, host, addresses, port, interface, interfaces, txt. */
QJsonObject serviceFields(const QString& type, const SeenService& service);

/** Name, host, address, port, interface and TXT, each printable(). */
QStringList serviceCells(const SeenService& service);

#endif
