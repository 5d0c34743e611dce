// SPDX-License-Identifier: MIT
// lab-peer: advertises services as its input says and reports each signal, one JSON array a line. It reads
//   ["advertise", NAME, TYPE, PORT]   ["withdraw", NAME]
//   ["set", NAME, KEY, VALUE]         ["remove", NAME, KEY]
//   ["count", NAME, KEY, LAST, MILLISECONDS]   once it is registered sets the key to 1, 2 and so on
// and writes ["nameRegistered", NAME, HOST]. It ends with its input.
#include "ErrorLog.h"

#include <MDnsAdvertiser.h>
#include <QCoreApplication>
#include <QFile>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSocketNotifier>
#include <QTimer>
#include <cstdio>
#include <unistd.h>

class Peer
{
public:
    void obey(const QJsonArray& order)
    {
        const QString verb = order[0].toString();
        const QString name = order[1].toString();
        if (verb == QLatin1String("advertise"))
            advertise(name, order[2].toString(), order[3].toInt());
        else if (verb == QLatin1String("set"))
            m_advertisers.value(name)->updateTxt(order[2].toString(), order[3].toString());
        else if (verb == QLatin1String("remove"))
            m_advertisers.value(name)->rmTxt(order[2].toString());
        else if (verb == QLatin1String("count"))
            count(m_advertisers.value(name), order[2].toString(), order[3].toInt(), order[4].toInt());
        else if (verb == QLatin1String("withdraw"))
            delete m_advertisers.take(name);
        else
            qFatal("unknown order %s", qPrintable(verb));
    }

private:
    void advertise(const QString& name, const QString& type, int port)
    {
        MDnsAdvertiser* advertiser = MDnsAdvertiserFactory::create(&m_owner, name, type, port);
        m_advertisers.insert(name, advertiser);
        QObject::connect(advertiser, &MDnsAdvertiser::nameRegistered, [name](const QString& host) {
            const QJsonArray report{QStringLiteral("nameRegistered"), name, host};
            std::puts(QJsonDocument(report).toJson(QJsonDocument::Compact).constData());
            std::fflush(stdout);
        });
    }

    static void count(MDnsAdvertiser* advertiser, const QString& key, int last, int milliseconds)
    {
        auto* timer = new QTimer(advertiser);
        QObject::connect(timer, &QTimer::timeout, advertiser, [=, value = 0]() mutable {
            advertiser->updateTxt(key, QString::number(++value));
            if (value == last)
                timer->deleteLater();
        });
        QObject::connect(advertiser, &MDnsAdvertiser::nameRegistered, timer,
                         [=] { timer->start(milliseconds); });
    }

    QObject m_owner;
    QHash<QString, MDnsAdvertiser*> m_advertisers;
};

int main(int argc, char** argv)
{
    const ErrorLog log;
    QCoreApplication application(argc, argv);
    Peer peer;
    QFile input;
    input.open(STDIN_FILENO, QIODevice::ReadOnly | QIODevice::Unbuffered);
    QSocketNotifier readable(input.handle(), QSocketNotifier::Read);
    QObject::connect(&readable, &QSocketNotifier::activated, &application, [&] {
        const QByteArray line = input.readLine();
        if (line.isEmpty())
            application.quit();
        else
            peer.obey(QJsonDocument::fromJson(line).array());
    });
    return application.exec();
}
