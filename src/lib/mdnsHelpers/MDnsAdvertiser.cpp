// SPDX-License-Identifier: MIT
#include "MDnsAdvertiser.h"

#include "BonjourAdvertiser.h"

#include <CMValueItem.h>
#include <veskConnect.h>

MDnsAdvertiser::MDnsAdvertiser(QObject* parent)
    : QObject(parent)
{
}

void MDnsAdvertiser::on_forceServiceName_changed(const VeskValue& newValue, const VeskValue& /*oldValue*/)
{
    forceInstanceName(newValue.string_());
}

MDnsAdvertiser* MDnsAdvertiserFactory::create(QObject* parent, const QString& name, const QString& type,
                                              int port)
{
    MDnsAdvertiser* advertiser = createInternal(parent, name, type, port);
    advertiser->start();
    return advertiser;
}

MDnsAdvertiser* MDnsAdvertiserFactory::create(QObject* parent, const QString& name, const QString& type,
                                              int port, QObject* receiver, const char* slot,
                                              Qt::ConnectionType connectionType)
{
    MDnsAdvertiser* advertiser = createInternal(parent, name, type, port);
    if (receiver && slot)
        veskConnect(advertiser, SIGNAL(nameRegistered(QString)), receiver, slot, connectionType);
    advertiser->start();
    return advertiser;
}

MDnsAdvertiser* MDnsAdvertiserFactory::createInternal(QObject* parent, const QString& name,
                                                      const QString& type, int port)
{
    auto* advertiser = new BonjourAdvertiser(parent, name, type.toLower(), port);

    // The path is handed over together with its terminating zero byte: devices rely on these 39 bytes.
    static const char path[] = "systemmanager:/bonjourForceServiceName";
    const QByteArray encoded(path, sizeof path);
    auto* forceServiceName = new CMValueItem(CMPath::fromEncoded(encoded), advertiser);
    veskConnect(forceServiceName, &CMValueItem::changed, static_cast<MDnsAdvertiser*>(advertiser),
                &MDnsAdvertiser::on_forceServiceName_changed);
    return advertiser;
}
