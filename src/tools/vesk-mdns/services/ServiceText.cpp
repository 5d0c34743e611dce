// SPDX-License-Identifier: MIT
#include "ServiceText.h"

#include "PrintableText.h"

#include <QJsonArray>
#include <QMap>
#include <QNetworkInterface>
#include <algorithm>

namespace {

QString interfaceOfSubnet(const QHostAddress& address)
{
    QStringList names;
    const QList<QNetworkInterface> interfaces = QNetworkInterface::allInterfaces();
    for (const QNetworkInterface& interface : interfaces) {
        const QList<QNetworkAddressEntry> entries = interface.addressEntries();
        const bool holds =
            std::any_of(entries.begin(), entries.end(), [&](const QNetworkAddressEntry& entry) {
                return address.isInSubnet(entry.ip(), entry.prefixLength());
            });
        if (holds)
            names.append(interface.name());
    }
    return names.size() == 1 ? names.first() : QString();
}

QString scopeName(const QHostAddress& address)
{
    return interfaceName(address.scopeId().toUInt());
}

QString addressText(QHostAddress address)
{
    address.setScopeId(address.isLinkLocal() ? scopeName(address) : QString());
    return address.toString();
}

// A record without entries arrives as one entry that has neither key nor value.
bool saysNothing(const QString& key, const QString& value)
{
    return key.isEmpty() && value.isEmpty();
}

QString quotedIfNeeded(const QString& entry)
{
    if (!entry.contains(' ') && !entry.contains('"'))
        return entry;
    return '"' + QString(entry).replace('"', "\\\"") + '"';
}

} // namespace

QString interfaceName(quint32 index)
{
    QString name = QNetworkInterface::interfaceFromIndex(int(index)).name();
    return name.isEmpty() ? QString::number(index) : name;
}

QStringList addressTexts(const MDnsVeskClient& client)
{
    QStringList texts;
    for (const QHostAddress& address : client.addresses)
        texts.append(addressText(address));
    texts.sort();
    return texts;
}

QString interfaceText(const MDnsVeskClient& client)
{
    for (const QHostAddress& address : client.addresses) {
        QString name = address.protocol() == QAbstractSocket::IPv6Protocol ? scopeName(address)
                                                                           : interfaceOfSubnet(address);
        if (!name.isEmpty())
            return name;
    }
    return QString();
}

QString interfaceColumn(const SeenService& service)
{
    const QString name = interfaceText(service.client);
    const QString known = name.isEmpty() ? QString("?") : name;
    return service.interfaces > 1 ? QString("%1 +%2").arg(known).arg(service.interfaces - 1) : known;
}

QString txtText(const QHash<QString, QString>& txt)
{
    QMap<QString, QString> sorted;
    for (auto entry = txt.begin(); entry != txt.end(); ++entry)
        sorted.insert(entry.key(), entry.value());
    QStringList entries;
    for (auto entry = sorted.begin(); entry != sorted.end(); ++entry)
        if (!saysNothing(entry.key(), entry.value()))
            entries.append(quotedIfNeeded(entry.key() + '=' + entry.value()));
    return entries.join(' ');
}

QJsonObject serviceFields(const QString& type, const SeenService& service)
{
    const MDnsVeskClient& client = service.client;
    QJsonObject txt;
    for (auto entry = client.txt.begin(); entry != client.txt.end(); ++entry)
        if (!saysNothing(entry.key(), entry.value()))
            txt.insert(entry.key(), entry.value());
    const QString interface = interfaceText(client);
    return {{"type", type},
            {"name", client.serviceName},
            {"host", client.hostName},
            {"addresses", QJsonArray::fromStringList(addressTexts(client))},
            {"port", client.port},
            {"interface", interface.isEmpty() ? QJsonValue() : QJsonValue(interface)},
            {"interfaces", service.interfaces},
            {"txt", txt}};
}

QStringList serviceCells(const SeenService& service)
{
    const MDnsVeskClient& client = service.client;
    QStringList cells = {
        client.serviceName,           client.hostName,          addressTexts(client).join(' '),
        QString::number(client.port), interfaceColumn(service), txtText(client.txt)};
    std::transform(cells.begin(), cells.end(), cells.begin(), &printable);
    return cells;
}
