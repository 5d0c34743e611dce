// SPDX-License-Identifier: MIT
// demo-lister TYPE: lists the services of a type and shows every signal with the client's record.
#include "show.h"

#include <MDnsLister.h>
#include <QCoreApplication>
#include <QMap>
#include <cstdio>

static QString recordText(const MDnsVeskClient& client)
{
    QStringList parts{QStringLiteral("%1:%2").arg(client.hostName).arg(client.port)};
    for (const QHostAddress& address : client.addresses)
        parts << address.toString();
    QMap<QString, QString> sorted;
    for (auto entry = client.txt.cbegin(); entry != client.txt.cend(); ++entry)
        sorted.insert(entry.key(), entry.value());
    for (auto entry = sorted.cbegin(); entry != sorted.cend(); ++entry)
        if (!entry.key().isEmpty())
            parts << entry.key() + QLatin1Char('=') + entry.value();
    return parts.join(QLatin1Char(' '));
}

int main(int argc, char** argv)
{
    ErrorLog log;
    QCoreApplication application(argc, argv);
    if (argc != 2) {
        std::fputs("Usage: demo-lister TYPE\n", stderr);
        return 2;
    }
    const QString type = application.arguments().at(1);
    show("lister", QStringLiteral("create(%1)").arg(quoted(type)));
    MDnsLister* lister = MDnsListerFactory::create(&application, type, MDnsProtocolType::IPv4);
    QObject::connect(lister, &MDnsLister::clientChanged, [lister](const QString& name) {
        show("lister",
             QStringLiteral("clientChanged(%1)  %2").arg(quoted(name), recordText(lister->getClient(name))));
    });
    QObject::connect(lister, &MDnsLister::clientRemoved, [lister](const QString& name) {
        show("lister", QStringLiteral("clientRemoved(%1)  left: %2")
                           .arg(quoted(name), lister->getClients().join(QStringLiteral(", "))));
    });
    return application.exec();
}
