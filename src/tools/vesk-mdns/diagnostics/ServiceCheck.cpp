// SPDX-License-Identifier: MIT
#include "AvahiDaemon.h"
#include "Checks.h"
#include "DnsSdError.h"
#include "DnsSdLibrary.h"
#include "HostLookup.h"
#include "InstanceBrowser.h"
#include "InstanceResolver.h"
#include "Registration.h"

#include <QEventLoop>
#include <QRandomGenerator>
#include <QTimer>

namespace {

constexpr char type[] = "_vesk-doctor._tcp";
constexpr int port = 9; // where whatever is sent is discarded
constexpr int registrationMs = 5000;
constexpr int answerMs = 3000;
constexpr DNSServiceErrorType notPermitted = -65571; // other libraries' dns_sd.h may lack the name

/** What to do where nothing answers. */
QString inOrderFirst()
{
    switch (backendInUse()) {
    case Backend::Daemon:
        return "Put bus, daemon and interfaces in order, then try again";
    case Backend::Unknown:
        return "Start the daemon that this library needs, and put the interfaces in order";
    default:
        return "Put the interfaces in order, then try again";
    }
}

/** What to do where something is published and not heard. */
QString hearingAdvice()
{
    const QString firewall = "the firewall let UDP port 5353 through";
    const bool isInProcess = backendInUse() == Backend::Process;
    return isInProcess ? "Let " + firewall : "Let the daemon use the interfaces, and " + firewall;
}

/** Runs @p loop until it is quit for an answer, @p operation fails, or the time is over. */
DNSServiceErrorType waitForAnswer(QEventLoop* loop, const DnsSdOperation& operation, int timeMs)
{
    if (operation.error() != kDNSServiceErr_NoError)
        return operation.error();
    QObject::connect(&operation, &DnsSdOperation::failed, loop,
                     [loop](DNSServiceErrorType error) { loop->exit(error); });
    QTimer::singleShot(timeMs, loop, [loop] { loop->exit(kDNSServiceErr_Timeout); });
    return loop->exec();
}

/** What keeps a service from being published where the daemon or the bus forbids that. */
QString permissionAdvice()
{
    // The bus itself refuses what its policy forbids; such a call never reaches the daemon.
    if (backendInUse() == Backend::Daemon &&
        callDaemon("EntryGroupNew").errorName().startsWith("org.freedesktop.DBus."))
        return "Let the message bus's policy (/etc/dbus-1/system.d) allow calls to org.freedesktop.Avahi";
    return "Set disable-publishing=no and disable-user-service-publishing=no in avahi-daemon.conf and "
           "restart it";
}

/** @param silenceAdvice what to do where nothing answers. */
Check failed(const QString& subject, const QString& what, DNSServiceErrorType error,
             const QString& silenceAdvice)
{
    if (error == kDNSServiceErr_Timeout)
        return {subject, false, what + ": no answer within seconds", silenceAdvice};
    const ErrorWords words = errorWords(error);
    const bool isSilent = error == kDNSServiceErr_ServiceNotRunning;
    return {subject, false, QString("%1: %2 (error %3)").arg(what, words.meaning).arg(error),
            isSilent ? silenceAdvice : words.advice};
}

/** How others reach the host, as far as this one sees. */
Check checkAddress(const QString& host, int seenPort)
{
    const QString heard = QString("the service is heard back: port %1 of %2")
                              .arg(seenPort)
                              .arg(host.endsWith('.') ? host.chopped(1) : host);
    HostLookup lookup(host);
    QEventLoop loop;
    QString address;
    QObject::connect(&lookup, &HostLookup::answered, &loop, [&](const QHostAddress& found) {
        address = found.toString().section('%', 0, 0);
        loop.quit();
    });
    if (waitForAnswer(&loop, lookup, answerMs) != kDNSServiceErr_NoError)
        return {"browse", true, heard + ", whose address is not published",
                "Let the daemon publish the host's addresses if others cannot reach its services"};
    return {"browse", true, heard + " at " + address, QString()};
}

Check checkBrowsing(const QString& name)
{
    QEventLoop loop;
    InstanceBrowser browser(type);
    QObject::connect(&browser, &InstanceBrowser::found, &loop, [&](const QString& found) {
        if (found == name)
            loop.quit();
    });
    if (const auto error = waitForAnswer(&loop, browser, answerMs))
        return failed("browse", "the service is not heard back", error, hearingAdvice());

    QString host;
    int seenPort = 0;
    QEventLoop resolveLoop;
    InstanceResolver resolver(name, type);
    QObject::connect(&resolver, &InstanceResolver::resolved, &resolveLoop,
                     [&](const QString& target, int at) {
                         host = target;
                         seenPort = at;
                         resolveLoop.quit();
                     });
    if (const auto error = waitForAnswer(&resolveLoop, resolver, answerMs))
        return failed("browse", "the service's host and port are not heard back", error, hearingAdvice());
    return checkAddress(host, seenPort);
}

} // namespace

QVector<Check> checkService()
{
    if (isBusMissing())
        return {{"advertise", false,
                 "no service can be registered: " + errorWords(kDNSServiceErr_ServiceNotRunning).meaning,
                 inOrderFirst()}};
    QEventLoop loop;
    QString name =
        QString("vesk-mdns doctor %1").arg(QRandomGenerator::global()->generate(), 8, 16, QChar('0'));
    Registration registration(name, type, port);
    QObject::connect(&registration, &Registration::registered, &loop, [&](const QString& registered) {
        name = registered;
        loop.quit();
    });
    if (const auto error = waitForAnswer(&loop, registration, registrationMs)) {
        Check check = failed("advertise", "no service can be registered", error, inOrderFirst());
        if (error == notPermitted)
            check.advice = permissionAdvice();
        return {check};
    }
    return {{"advertise", true, "a service can be registered", QString()}, checkBrowsing(name)};
}
