// SPDX-License-Identifier: MIT
#include "ServiceWatch.h"

namespace {

// Two addresses that differ in their scope alone are equal to QHostAddress.
QSet<QString> addressTexts(const MDnsVeskClient& client)
{
    QSet<QString> texts;
    for (const QHostAddress& address : client.addresses)
        texts.insert(address.toString());
    return texts;
}

bool isSame(const SeenService& left, const SeenService& right)
{
    return left.interfaces == right.interfaces && left.client.hostName == right.client.hostName &&
           left.client.port == right.client.port && left.client.txt == right.client.txt &&
           addressTexts(left.client) == addressTexts(right.client);
}

} // namespace

ServiceWatch::ServiceWatch(MDnsLister* lister)
    : m_lister(lister)
{
    connect(lister, &MDnsLister::clientChanged, this, &ServiceWatch::refresh);
    connect(lister, &MDnsLister::clientRemoved, this, &ServiceWatch::refresh);
}

void ServiceWatch::refresh(const QString& name)
{
    if (name.isEmpty())
        return; // it went before it was resolved
    const SeenService now{m_lister->getClient(name), m_lister->getClients().count(name)};
    const bool wasKnown = m_services.contains(name);
    if (now.interfaces == 0) {
        if (wasKnown)
            Q_EMIT happened(Change::Removed, m_services.take(name));
        return;
    }
    const SeenService before = m_services.value(name);
    m_services.insert(name, now);
    if (!wasKnown)
        Q_EMIT happened(Change::Added, now);
    else if (!isSame(before, now))
        Q_EMIT happened(Change::Changed, now);
}
