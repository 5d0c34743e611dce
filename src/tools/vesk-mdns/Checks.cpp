// SPDX-License-Identifier: MIT
#include "Checks.h"

#include "DnsSd.h"
#include "LibraryLog.h"

#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QEventLoop>
#include <QHostInfo>
#include <QNetworkInterface>
#include <QTimer>
#include <dlfcn.h>
#include <future>
#include <thread>

namespace {

constexpr int answerMs = 3000;
constexpr char daemonStart[] = "Install avahi-daemon and start it: systemctl start avahi-daemon";
constexpr char startOther[] = "Start the daemon that this library needs, and put the interfaces in order";
constexpr char daemonRestart[] = "Restart it: systemctl restart avahi-daemon";

/** Connects to the system bus once. QtDBus has no time-out for that, so it is done beside the caller. */
const std::shared_future<void>& busConnection()
{
    static const std::shared_future<void> connected = [] {
        auto promise = std::make_shared<std::promise<void>>();
        std::shared_future<void> future = promise->get_future();
        std::thread([promise] {
            QDBusConnection::connectToBus(QDBusConnection::SystemBus, "doctor");
            promise->set_value();
        }).detach();
        future.wait_for(std::chrono::milliseconds(answerMs));
        return future;
    }();
    return connected;
}

/** The system bus; not connected when it cannot be reached or does not answer. */
QDBusConnection systemBus()
{
    return isBusHung() ? QDBusConnection(QString()) : QDBusConnection("doctor");
}

QDBusMessage askDaemon(const QString& method)
{
    const QDBusConnection bus = systemBus();
    QDBusMessage question =
        QDBusMessage::createMethodCall("org.freedesktop.Avahi", "/", "org.freedesktop.Avahi.Server", method);
    question.setAutoStartService(false);
    return bus.call(question, QDBus::Block, answerMs);
}

QString textAnswer(const QString& method)
{
    const QDBusMessage answer = askDaemon(method);
    return answer.type() == QDBusMessage::ReplyMessage ? answer.arguments().value(0).toString() : QString();
}

Check failedDaemon(const QDBusMessage& error)
{
    // A name without owner is an error without a number of its own.
    if (QDBusError(error).type() == QDBusError::ServiceUnknown ||
        error.errorName().endsWith("NameHasNoOwner"))
        return {"daemon", false, "the mDNS daemon is not running", daemonStart};
    switch (QDBusError(error).type()) {
    case QDBusError::NoReply:
    case QDBusError::Timeout:
    case QDBusError::TimedOut:
        return {"daemon", false, "the mDNS daemon does not answer", daemonRestart};
    default:
        return {"daemon", false, "the mDNS daemon cannot be asked: " + error.errorMessage(),
                "Let the bus's policy allow org.freedesktop.Avahi"};
    }
}

bool isUsable(const QNetworkInterface& interface)
{
    constexpr auto needed =
        QNetworkInterface::IsUp | QNetworkInterface::IsRunning | QNetworkInterface::CanMulticast;
    return (interface.flags() & needed) == needed && !interface.addressEntries().isEmpty();
}

Check checkInterface(const QNetworkInterface& interface)
{
    const QNetworkInterface::InterfaceFlags flags = interface.flags();
    const QString name = interface.name();
    if (!(flags & QNetworkInterface::IsUp))
        return {"interface", true, name + " is down, so it is not used", QString()};
    if (!(flags & QNetworkInterface::IsRunning))
        return {"interface", true, name + " is not connected, so it is not used", QString()};
    if (interface.addressEntries().isEmpty())
        return {"interface", true, name + " has no address, so it is not used", QString()};
    if (!(flags & QNetworkInterface::CanMulticast)) {
        const bool isTunnel = flags & QNetworkInterface::IsPointToPoint;
        return {"interface", isTunnel, name + " does no multicast, so it is not used",
                isTunnel ? QString() : QString("Switch it on: ip link set %1 multicast on").arg(name)};
    }
    QStringList addresses;
    const QList<QNetworkAddressEntry> entries = interface.addressEntries();
    for (const QNetworkAddressEntry& entry : entries)
        addresses.append(entry.ip().toString().section('%', 0, 0));
    return {"interface", true, name + " is up and does multicast: " + addresses.join(' '), QString()};
}

QString libraryFile()
{
    Dl_info info = {};
    dladdr(reinterpret_cast<const void*>(&DNSServiceBrowse), &info);
    return QString::fromLocal8Bit(info.dli_fname);
}

/** What the daemon calls this host; the usual name where it cannot be asked. */
QString ownHost()
{
    const bool canAsk = isLibraryOverAvahi() && systemBus().isConnected();
    const QString told = canAsk ? textAnswer("GetHostNameFqdn") : QString();
    return told.isEmpty() ? QHostInfo::localHostName().section('.', 0, 0) + ".local" : told;
}

/** The first address of @p host, null when none comes in time. */
QHostAddress addressOf(HostQuestion* question)
{
    QHostAddress first;
    QEventLoop loop;
    QObject::connect(question, &HostQuestion::answered, &loop, [&](const QHostAddress& address) {
        first = address;
        loop.quit();
    });
    QTimer::singleShot(answerMs, &loop, &QEventLoop::quit);
    loop.exec();
    return first;
}

} // namespace

bool isLibraryOverAvahi()
{
    return VESK_DNSSD_OVER_AVAHI;
}

bool isBusHung()
{
    return busConnection().wait_for(std::chrono::seconds(0)) != std::future_status::ready;
}

QVector<Check> checkBus()
{
    if (isBusHung())
        return {
            {"bus", false, "the system's message bus does not answer", "Restart the machine's dbus service"}};
    const QDBusConnection bus = systemBus();
    if (!bus.isConnected())
        return {{"bus", false, "the system's message bus cannot be reached: " + bus.lastError().message(),
                 "Start it: systemctl start dbus; or set DBUS_SYSTEM_BUS_ADDRESS to where it listens"}};
    return {{"bus", true, "the system's message bus answers", QString()}};
}

QVector<Check> checkDaemon()
{
    if (!systemBus().isConnected())
        return {{"daemon", false, "the mDNS daemon cannot be asked without the bus", QString()}};
    const QDBusMessage state = askDaemon("GetState");
    if (state.type() == QDBusMessage::ErrorMessage)
        return {failedDaemon(state)};
    switch (state.arguments().value(0).toInt()) {
    case 2:
        return {{"daemon", true,
                 QString("%1 runs; this host is %2")
                     .arg(textAnswer("GetVersionString"), textAnswer("GetHostNameFqdn")),
                 QString()}};
    case 1:
        return {
            {"daemon", false, "the mDNS daemon is still claiming the host name", "Try again in a moment"}};
    case 3:
        return {{"daemon", false, "another host has this host's name",
                 "Give one of them another name in /etc/hostname or avahi-daemon.conf"}};
    default:
        return {{"daemon", false, "the mDNS daemon has failed", daemonRestart}};
    }
}

QVector<Check> checkInterfaces()
{
    QVector<Check> checks;
    bool isAnyUsable = false;
    const QList<QNetworkInterface> interfaces = QNetworkInterface::allInterfaces();
    for (const QNetworkInterface& interface : interfaces) {
        if (interface.flags() & QNetworkInterface::IsLoopBack)
            continue;
        checks.append(checkInterface(interface));
        isAnyUsable = isAnyUsable || isUsable(interface);
    }
    if (!isAnyUsable)
        checks.append({"interface", false, "no interface reaches other hosts",
                       "Connect one and give it an address: 'ip address' shows them"});
    return checks;
}

QVector<Check> checkLibrary()
{
    const QString which = "the DNS-SD library is " + libraryFile();
    const QString limit = isLibraryOverAvahi() ? "" : "; bus and daemon are not examined for it";
    QVector<Check> checks = {{"library", true, which + limit, QString()}};
    const QString host = ownHost();
    HostQuestion question(host);
    if (question.error() != kDNSServiceErr_NoError)
        return checks << Check{
                   "library", false, "it refuses: " + explainError(QString::number(question.error())),
                   isLibraryOverAvahi() ? "Put the bus and the daemon in order first" : startOther};
    const QHostAddress address = addressOf(&question);
    if (address.isNull())
        return checks << Check{"library", false, QString("it got no answer about %1 in 3 seconds").arg(host),
                               isLibraryOverAvahi() ? "Put the daemon and the interfaces in order first"
                                                    : startOther};
    return checks << Check{"library", true,
                           QString("it answers: %1 is %2").arg(host, address.toString().section('%', 0, 0)),
                           QString()};
}
