// SPDX-License-Identifier: MIT
#ifndef CONFIG_STORE_H
#define CONFIG_STORE_H

#include "VeskValue.h"

#include <QDeadlineTimer>
#include <QEnableSharedFromThis>
#include <QFileSystemWatcher>
#include <QJsonObject>
#include <QObject>
#include <QSharedPointer>
#include <QTimer>

namespace log4cplus {
class Logger;
}

/**
 * The settings of one scheme: a JSON object in one file, kept in memory and watched.
 *
 * Every thread has its own store per file, shared by the items of that thread and gone with the last of them.
 */
class ConfigStore : public QObject, public QEnableSharedFromThis<ConfigStore>
{
    Q_OBJECT

public:
    static QSharedPointer<ConfigStore> ofScheme(const QString& scheme);
    static log4cplus::Logger& logger();

    explicit ConfigStore(const QString& fileName);

    VeskValue value(const QString& key) const;
    /** Empty, or one sentence that says why nothing was stored. */
    QString setValue(const QString& key, const VeskValue& value);

Q_SIGNALS:
    /** The values in memory were read or written anew; some may differ. */
    void reloaded();

private:
    void watch();
    void settle(const QString& changedPath);
    void reload();
    bool readFile(QJsonObject* values, QString* error) const;
    QString writeFile(const QJsonObject& values) const;
    void adopt(const QJsonObject& values);

    QString m_fileName;
    QJsonObject m_values;
    bool m_warned = false;
    QFileSystemWatcher m_watcher;
    QTimer m_settled;
    QDeadlineTimer m_settledAtLatest;
};

#endif
