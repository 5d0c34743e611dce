// SPDX-License-Identifier: MIT
#include "OvenList.h"

OvenList::OvenList()
    : m_lister(MDnsListerFactory::create(nullptr, "_oven._tcp", MDnsProtocolType::IPv4))
{
    connect(m_lister.get(), &MDnsLister::clientChanged, this, &OvenList::changed);
    connect(m_lister.get(), &MDnsLister::clientRemoved, this, &OvenList::changed);
}

QStringList OvenList::hotOvens() const
{
    QStringList names;
    for (const QString& name : m_lister->getClients()) {
        if (m_lister->getClient(name).txt.value("state") == "hot")
            names.append(name);
    }
    names.sort();
    return names;
}
