// SPDX-License-Identifier: MIT
#include "LabFixture.h"

#include "ErrorLog.h"

#include <QCoreApplication>
#include <QJsonDocument>

/// Qt is built without the thread sanitizer, which sees none of its locks: what it reports from within Qt is
/// no race.
extern "C" Q_DECL_EXPORT const char* __tsan_default_options()
{
    return "ignore_noninstrumented_modules=1";
}

static const QString serviceType = QStringLiteral("_labtest._tcp");

static const ErrorLog errorLog;

bool runLab(const QString& helper, const QStringList& arguments)
{
    return QProcess::execute(helper, arguments) == 0;
}

Peer::Peer(const QString& host)
{
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_process.start(QStringLiteral("lab-on"),
                    {host, QCoreApplication::applicationDirPath() + QStringLiteral("/lab-peer")});
    m_process.waitForStarted();
}

Peer::~Peer()
{
    m_process.closeWriteChannel();
    m_process.waitForFinished(deadlineMs);
}

void Peer::advertise(const QString& name, int port)
{
    order({QStringLiteral("advertise"), name, serviceType, port});
}

void Peer::set(const QString& name, const QString& key, const QString& value)
{
    order({QStringLiteral("set"), name, key, value});
}

void Peer::remove(const QString& name, const QString& key)
{
    order({QStringLiteral("remove"), name, key});
}

void Peer::count(const QString& name, const QString& key, int last, int milliseconds)
{
    order({QStringLiteral("count"), name, key, last, milliseconds});
}

void Peer::withdraw(const QString& name)
{
    order({QStringLiteral("withdraw"), name});
}

void Peer::kill()
{
    m_process.kill();
    m_process.waitForFinished(deadlineMs);
}

QString Peer::registeredHost(const QString& name)
{
    while (m_process.canReadLine()) {
        const QJsonArray report = QJsonDocument::fromJson(m_process.readLine()).array();
        m_registered.insert(report[1].toString(), report[2].toString());
    }
    return m_registered.value(name);
}

void Peer::order(const QJsonArray& line)
{
    m_process.write(QJsonDocument(line).toJson(QJsonDocument::Compact) + '\n');
    m_process.waitForBytesWritten();
}

Watch::Watch(MDnsProtocolType protocol)
    : m_lister(MDnsListerFactory::create(nullptr, serviceType, protocol))
    , m_changed(m_lister.get(), &MDnsLister::clientChanged)
    , m_removed(m_lister.get(), &MDnsLister::clientRemoved)
{
    QObject::connect(m_lister.get(), &MDnsLister::clientChanged, &m_changed,
                     [this](const QString& name) { m_clients << m_lister->getClient(name); });
}

QStringList Watch::values(const QString& name, const QString& key) const
{
    QStringList all;
    for (const MDnsVeskClient& client : m_clients) {
        if (client.serviceName == name && client.txt.contains(key))
            all << client.txt.value(key);
    }
    return all;
}
