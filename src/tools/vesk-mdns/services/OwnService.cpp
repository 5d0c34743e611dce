// SPDX-License-Identifier: MIT
#include "OwnService.h"

#include <MDnsLister.h>
#include <QNetworkInterface>
#include <QRegularExpression>
#include <algorithm>

namespace {

bool isOfThisHost(const MDnsVeskClient& client)
{
    const QList<QHostAddress> own = QNetworkInterface::allAddresses();
    return std::any_of(client.addresses.begin(), client.addresses.end(),
                       [&own](const QHostAddress& address) { return own.contains(address); });
}

/** Whether @p name can be what became of @p wanted: numbered after a conflict, cut to the size of a label. */
bool mayStemFrom(const QString& wanted, const QString& name)
{
    static const QRegularExpression number("( \\([0-9]+\\)| #[0-9]+)$");
    return QString(wanted).remove(number).startsWith(QString(name).remove(number));
}

} // namespace

bool isOwnService(const MDnsVeskClient& client, const QString& wanted, int port)
{
    return client.port == port && isOfThisHost(client) && mayStemFrom(wanted, client.serviceName);
}
