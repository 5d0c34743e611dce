// SPDX-License-Identifier: MIT
// Lists the services of one type as they come and go: lister TYPE
#include <MDnsLister.h>
#include <QCoreApplication>
#include <QTextStream>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QTextStream out(stdout);
    const QString type = app.arguments().value(1, "_demo._tcp");
    MDnsLister* lister = MDnsListerFactory::create(&app, type, MDnsProtocolType::IPv4);
    QObject::connect(lister, &MDnsLister::clientChanged, &app, [&](const QString& name) {
        const MDnsVeskClient client = lister->getClient(name);
        out << "+ " << name << " at " << client.hostName << ":" << client.port;
        for (const QHostAddress& address : client.addresses)
            out << " " << address.toString();
        for (auto entry = client.txt.cbegin(); entry != client.txt.cend(); ++entry)
            out << " " << entry.key() << "=" << entry.value();
        out << Qt::endl;
    });
    QObject::connect(lister, &MDnsLister::clientRemoved, &app,
                     [&](const QString& name) { out << "- " << name << Qt::endl; });
    return app.exec();
}
