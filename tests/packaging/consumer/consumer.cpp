// SPDX-License-Identifier: MIT
// Advertises and lists for a moment, then prints which libraries it ran on, one path a line.
#include <CMValueItem.h>
#include <MDnsAdvertiser.h>
#include <MDnsLister.h>

#include <QCoreApplication>
#include <QTimer>
#include <fstream>
#include <iostream>
#include <memory>
#include <set>
#include <string>

int main(int argc, char* argv[])
{
    QCoreApplication application(argc, argv);
    const std::unique_ptr<MDnsLister> lister(
        MDnsListerFactory::create(nullptr, QStringLiteral("_demo._tcp"), MDnsProtocolType::IPv4));
    const std::unique_ptr<MDnsAdvertiser> advertiser(MDnsAdvertiserFactory::create(
        nullptr, QStringLiteral("Kitchen"), QStringLiteral("_demo._tcp"), 8080));
    advertiser->updateTxt(QStringLiteral("k"), QStringLiteral("v"));
    const CMValueItem item(CMPath::fromEncoded("consumer:/item"));
    QTimer::singleShot(50, &application, &QCoreApplication::quit);
    application.exec();

    std::set<std::string> libraries;
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);)
        for (const char* name : {"/libvesk_", "/libdns_sd"})
            if (line.find(name) != std::string::npos)
                libraries.insert(line.substr(line.find('/')));
    for (const std::string& library : libraries)
        std::cout << library << '\n';
    return lister->getClients().isEmpty() ? 0 : 1;
}
