// SPDX-License-Identifier: MIT
// A program outside this tree with a network in memory: succeeds once its lister knows what is there.
#include <MDnsLister.h>
#include <MDnsTestNetwork.h>

#include <QCoreApplication>
#include <QTimer>
#include <memory>

int main(int argc, char* argv[])
{
    QCoreApplication application(argc, argv);
    MDnsTestNetwork network;
    network.publish({"Kitchen", "_demo._tcp", 8080});
    const std::unique_ptr<MDnsLister> lister(
        MDnsListerFactory::create(nullptr, "_demo._tcp", MDnsProtocolType::IPv4));
    QObject::connect(lister.get(), &MDnsLister::clientChanged, &application, [&](const QString& name) {
        QCoreApplication::exit(name == "Kitchen" && lister->getClient(name).port == 8080 ? 0 : 1);
    });
    QTimer::singleShot(30000, &application, [] { QCoreApplication::exit(1); });
    return application.exec();
}
