// SPDX-License-Identifier: MIT
// demo-advertiser NAME TYPE PORT: advertises a service. Each line "KEY=VALUE" of its input sets a TXT entry,
// "-KEY" removes one, and the end of the input ends the service.
#include "show.h"

#include <MDnsAdvertiser.h>
#include <QCoreApplication>
#include <QFile>
#include <QSocketNotifier>
#include <cstdio>
#include <unistd.h>

static void edit(MDnsAdvertiser* advertiser, const QString& line)
{
    if (line.startsWith(QLatin1Char('-'))) {
        show("advertiser", QStringLiteral("rmTxt(%1)").arg(quoted(line.mid(1))));
        advertiser->rmTxt(line.mid(1));
        return;
    }
    const QString key = line.section(QLatin1Char('='), 0, 0);
    const QString value = line.section(QLatin1Char('='), 1);
    show("advertiser", QStringLiteral("updateTxt(%1, %2)").arg(quoted(key), quoted(value)));
    advertiser->updateTxt(key, value);
}

int main(int argc, char** argv)
{
    ErrorLog log;
    QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    if (arguments.size() != 4) {
        std::fputs("Usage: demo-advertiser NAME TYPE PORT\n", stderr);
        return 2;
    }
    show("advertiser",
         QStringLiteral("create(%1, %2, %3)").arg(quoted(arguments[1]), quoted(arguments[2]), arguments[3]));
    MDnsAdvertiser* advertiser =
        MDnsAdvertiserFactory::create(&application, arguments[1], arguments[2], arguments[3].toInt());
    QObject::connect(advertiser, &MDnsAdvertiser::nameRegistered, [](const QString& host) {
        show("advertiser", QStringLiteral("nameRegistered(%1)").arg(quoted(host)));
    });

    QFile input;
    input.open(STDIN_FILENO, QIODevice::ReadOnly | QIODevice::Unbuffered);
    QSocketNotifier readable(input.handle(), QSocketNotifier::Read);
    QObject::connect(&readable, &QSocketNotifier::activated, &application, [&] {
        const QByteArray line = input.readLine();
        if (line.isEmpty())
            application.quit();
        else
            edit(advertiser, QString::fromUtf8(line.trimmed()));
    });
    const int result = application.exec();
    show("advertiser", QStringLiteral("deleted"));
    return result;
}
