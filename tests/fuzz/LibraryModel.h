// SPDX-License-Identifier: MIT
#ifndef VESK_TESTS_LIBRARY_MODEL_H
#define VESK_TESTS_LIBRARY_MODEL_H

#include "MDnsLister.h"

#include <QByteArray>
#include <QString>
#include <map>
#include <optional>
#include <utility>
#include <vector>

namespace fuzz {

/// What identifies an instance: its browsed name and interface.
using Key = std::pair<QString, unsigned>;

/// A resolve that runs, and the record that it has brought together so far.
struct ModelResolver
{
    MDnsVeskClient client;
    bool isLive = false; ///< its start call gave a handle
    bool hasLookup = false;
    bool isLookupLive = false;
};

struct ModelMonitor
{
    MDnsVeskClient client;
    bool isLive = false;
};

/// What a lister has to hold, told in terms of the daemon's replies alone.
struct ModelLister
{
    std::map<Key, ModelResolver> resolvers;
    std::map<Key, ModelMonitor> monitors;
    std::map<Key, MDnsVeskClient> clients;

    void found(const Key& key)
    {
        monitors.erase(key);
        resolvers[key] = {};
    }

    /// Gives the name under which the removal is to be told.
    QString removed(const Key& key)
    {
        resolvers.erase(key);
        monitors.erase(key);
        const auto client = clients.find(key);
        if (client == clients.end())
            return {};
        const QString name = client->second.serviceName;
        clients.erase(client);
        return name;
    }

    void resolveFailed(const Key& key) { resolvers.erase(key); }

    void addressFound(const Key& key, const QHostAddress& address)
    {
        MDnsVeskClient client = resolvers.at(key).client;
        client.addresses.insert(address);
        resolvers.erase(key);
        clients[key] = client;
        monitors[key] = {client, false};
    }

    /// Gives the name under which the change is to be told.
    QString textFound(const Key& key, const std::vector<std::pair<QString, QString>>& entries)
    {
        MDnsVeskClient& client = monitors.at(key).client;
        for (const auto& [name, value] : entries)
            client.txt.insert(name, value);
        clients[key] = client;
        return client.serviceName;
    }
};

/// The instance label of a full name in its plain form.
inline QString plainLabel(const QString& fullName)
{
    int end = 0;
    for (int at = 1; at < fullName.size() && end == 0; ++at)
        if (fullName.at(at) == QLatin1Char('.') && fullName.at(at - 1) != QLatin1Char('\\'))
            end = at;
    QString text = fullName.left(end);

    // Numbers first, over and over from the start: what one gives may be part of the next.
    for (int at = 0; at + 3 < text.size();) {
        if (text.at(at) != QLatin1Char('\\') || !text.at(at + 1).isDigit() || !text.at(at + 2).isDigit() ||
            !text.at(at + 3).isDigit()) {
            ++at;
            continue;
        }
        int value = 0;
        for (int digit = at + 1; digit <= at + 3; ++digit) {
            const ushort code = text.at(digit).unicode();
            value = code < '0' || code > '9' || value < 0 ? -1 : value * 10 + (code - '0');
        }
        text = text.left(at) + QChar(ushort(value < 0 ? 0 : value)) + text.mid(at + 4);
        at = 0;
    }
    QString plain;
    for (int at = 0; at < text.size(); ++at) {
        if (text.at(at) != QLatin1Char('\\'))
            plain += text.at(at);
        else if (at + 1 < text.size() && text.at(at + 1) == QLatin1Char('\\'))
            plain += text.at(at++);
    }
    return plain;
}

/// The entries of a TXT record up to its first fault.
inline std::vector<std::pair<QString, QString>> entriesOf(const QByteArray& rdata)
{
    std::vector<std::pair<QString, QString>> entries;
    const auto untilZero = [](const QByteArray& bytes) { return QString::fromUtf8(bytes.constData()); };
    for (int at = 0; at < rdata.size();) {
        const int length = uchar(rdata.at(at));
        if (at + 1 + length > rdata.size())
            break;
        const QByteArray item = rdata.mid(at + 1, length);
        const int equals = item.indexOf('=');
        entries.emplace_back(untilZero(equals < 0 ? item : item.left(equals)),
                             equals < 0 ? QString() : untilZero(item.mid(equals + 1)));
        at += 1 + length;
    }
    return entries;
}

} // namespace fuzz

#endif
