// SPDX-License-Identifier: MIT
// Advertises one service until it is interrupted: advertiser NAME TYPE PORT
#include <MDnsAdvertiser.h>
#include <QCoreApplication>
#include <QTextStream>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    if (arguments.size() != 4) {
        QTextStream(stderr) << "Usage: advertiser NAME TYPE PORT, e.g. advertiser Kitchen _demo._tcp 8080\n";
        return 2;
    }
    MDnsAdvertiser* advertiser =
        MDnsAdvertiserFactory::create(&app, arguments[1], arguments[2], arguments[3].toInt());
    QObject::connect(advertiser, &MDnsAdvertiser::nameRegistered, &app, [advertiser](const QString& host) {
        QTextStream(stdout) << "registered on " << host << "\n";
        advertiser->updateTxt("path", "/");
    });
    return app.exec();
}
