// SPDX-License-Identifier: MIT
// A device whose owner can name it: the configuration item, when it is set, names the service. The library
// follows changes by itself; what the item holds at the start is the application's to apply.
#include <CMValueItem.h>
#include <MDnsAdvertiser.h>
#include <QCoreApplication>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const CMValueItem name(CMPath::fromEncoded("systemmanager:/bonjourForceServiceName"));
    MDnsAdvertiser* device = MDnsAdvertiserFactory::createInternal(&app, "Device", "_demo._tcp", 8080);
    if (name.value() == VeskValue())
        device->start();
    else
        device->forceInstanceName(name.value().string_()); // starts it, too
    return app.exec();
}
