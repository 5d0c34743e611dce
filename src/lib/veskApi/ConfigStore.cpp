// SPDX-License-Identifier: MIT
#include "ConfigStore.h"

#include "textStreams.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QJsonDocument>
#include <QLockFile>
#include <QSaveFile>
#include <QStandardPaths>
#include <log4cplus/logger.h>
#include <log4cplus/loggingmacros.h>

namespace {

// An editor replaces a file in several steps: it is read when all has been quiet for this long, but, as
// others may never rest, not later than that.
constexpr int settleMs = 20;
constexpr int settleAtMostMs = 500;
constexpr int lockWaitMs = 5000;

QString directory()
{
    const QString chosen = qEnvironmentVariable("VESK_CONFIG_DIR");
    if (!chosen.isEmpty())
        return QDir(chosen).absolutePath();
    return QDir(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation))
        .absoluteFilePath(QStringLiteral("vesk"));
}

} // namespace

log4cplus::Logger& ConfigStore::logger()
{
    static log4cplus::Logger instance = log4cplus::Logger::getInstance("ConfigStore");
    return instance;
}

QSharedPointer<ConfigStore> ConfigStore::ofScheme(const QString& scheme)
{
    static thread_local QHash<QString, QWeakPointer<ConfigStore>> stores;
    const QString fileName = directory() + QLatin1Char('/') + scheme + QStringLiteral(".json");
    QWeakPointer<ConfigStore>& known = stores[fileName];
    QSharedPointer<ConfigStore> store = known.toStrongRef();
    if (!store) {
        store = QSharedPointer<ConfigStore>::create(fileName);
        known = store;
    }
    return store;
}

ConfigStore::ConfigStore(const QString& fileName)
    : m_fileName(fileName)
{
    m_settled.setSingleShot(true);
    m_settled.setInterval(settleMs);
    connect(&m_settled, &QTimer::timeout, this, &ConfigStore::reload);
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, this, &ConfigStore::settle);
    connect(&m_watcher, &QFileSystemWatcher::fileChanged, this, &ConfigStore::settle);
    reload();
}

VeskValue ConfigStore::value(const QString& key) const
{
    const QJsonValue stored = m_values.value(key);
    return stored.isNull() ? VeskValue() : VeskValue(stored);
}

QString ConfigStore::setValue(const QString& key, const VeskValue& value)
{
    const QString directoryName = QFileInfo(m_fileName).path();
    if (!QDir().mkpath(directoryName))
        return QStringLiteral(
                   "Cannot make the directory %1; make it, or name another one in VESK_CONFIG_DIR.")
            .arg(directoryName);
    // Another process may write another key of the same file at the same time.
    QLockFile lock(m_fileName + QStringLiteral(".lock"));
    if (!lock.tryLock(lockWaitMs))
        return QStringLiteral("Cannot lock %1; check that its directory exists and is writable.")
            .arg(m_fileName);
    QJsonObject values;
    QString error;
    if (!readFile(&values, &error))
        return QStringLiteral("Not stored, so that nothing is lost: %1").arg(error);
    values.insert(key, value.json()); // an unset value takes it out
    error = writeFile(values);
    lock.unlock();
    if (error.isEmpty())
        adopt(values);
    return error;
}

void ConfigStore::watch()
{
    // The watch on a file or directory that was replaced may live on and tells nothing any more.
    const QStringList stale = m_watcher.directories() + m_watcher.files();
    if (!stale.isEmpty())
        m_watcher.removePaths(stale);
    // The file tells when it is written in place; each directory on the way to it, when the next step is
    // made, removed or replaced. From the root on, so that whatever is made meanwhile is told by the step
    // before.
    QStringList way = {m_fileName};
    while (!QDir(way.first()).isRoot())
        way.prepend(QFileInfo(way.first()).path());
    for (const QString& step : qAsConst(way))
        if (QFileInfo(step).isReadable())
            m_watcher.addPath(step);
}

void ConfigStore::settle(const QString& changedPath)
{
    const bool waiting = m_settled.isActive();
    if (!waiting)
        m_settledAtLatest.setRemainingTime(settleAtMostMs);
    // What goes on further up, /tmp say, is seldom about our file.
    const bool near = changedPath == m_fileName || changedPath == QFileInfo(m_fileName).path();
    if (!waiting || (near && !m_settledAtLatest.hasExpired()))
        m_settled.start();
}

void ConfigStore::reload()
{
    watch();
    QJsonObject values;
    QString error;
    if (readFile(&values, &error)) {
        m_warned = false;
        adopt(values);
    } else if (!m_warned) {
        m_warned = true;
        LOG4CPLUS_WARN(logger(), error);
    }
}

bool ConfigStore::readFile(QJsonObject* values, QString* error) const
{
    QFile file(m_fileName);
    if (!file.exists())
        return true;
    if (!file.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("Cannot read %1 (%2); the last good values stay in force")
                     .arg(m_fileName, file.errorString());
        return false;
    }
    QJsonParseError parsed;
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &parsed);
    if (parsed.error != QJsonParseError::NoError || !document.isObject()) {
        const QString why = parsed.error != QJsonParseError::NoError
                                ? QStringLiteral("%1 at byte %2").arg(parsed.errorString()).arg(parsed.offset)
                                : QStringLiteral("it holds no JSON object");
        *error = QStringLiteral("Cannot parse %1 (%2); the last good values stay in force until it is mended")
                     .arg(m_fileName, why);
        return false;
    }
    *values = document.object();
    return true;
}

QString ConfigStore::writeFile(const QJsonObject& values) const
{
    QSaveFile file(m_fileName);
    // Only flush() tells of a full disk in time: commit() would put what was cut off in the place of the old
    // file.
    if (!file.open(QIODevice::WriteOnly) || file.write(QJsonDocument(values).toJson()) < 0 || !file.flush() ||
        !file.commit())
        return QStringLiteral("Cannot write %1 (%2).").arg(m_fileName, file.errorString());
    return QString();
}

void ConfigStore::adopt(const QJsonObject& values)
{
    // The last item, and owner, may go inside a slot of reloaded(): live on until all have heard.
    const QSharedPointer<ConfigStore> self = sharedFromThis();
    m_values = values;
    Q_EMIT reloaded();
}
