// SPDX-License-Identifier: MIT
#include "MDnsLister.h"

#include "BonjourLister.h"

#include <ostream>
#include <textStreams.h>

bool operator==(const ResolveData& left, const ResolveData& right)
{
    return left.serviceName == right.serviceName && left.interfaceIndex == right.interfaceIndex;
}

uint qHash(const ResolveData& data, uint seed)
{
    return qHash(data.serviceName, 0) ^ data.interfaceIndex ^ seed;
}

std::ostream& operator<<(std::ostream& out, const ResolveData& data)
{
    return out << data.serviceName << " on " << interfaceLabel(data.interfaceIndex);
}

MDnsLister::MDnsLister(QObject* parent)
    : QObject(parent)
{
}

MDnsLister* MDnsListerFactory::create(QObject* parent, const QString& type, MDnsProtocolType protocol)
{
    return new BonjourLister(parent, type.toLower(), protocol);
}
