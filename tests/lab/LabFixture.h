// SPDX-License-Identifier: MIT
#ifndef LAB_FIXTURE_H
#define LAB_FIXTURE_H

#include <MDnsLister.h>
#include <QJsonArray>
#include <QProcess>
#include <QSignalSpy>
#include <QStringList>
#include <memory>

/** How long an event of the network may take at most. */
constexpr int deadlineMs = 60000;

/** Waits, with a deadline, until an expression of the events so far is true. */
#define EVENTUALLY(expression) QTRY_VERIFY_WITH_TIMEOUT((expression), deadlineMs)

/** Runs a helper of the lab, such as lab-link, to its end. */
bool runLab(const QString& helper, const QStringList& arguments);

/** Advertisers in a process of another host of the lab. */
class Peer
{
public:
    explicit Peer(const QString& host);
    ~Peer();

    void advertise(const QString& name, int port = 8080);
    void set(const QString& name, const QString& key, const QString& value);
    void remove(const QString& name, const QString& key);
    /** Once it is registered, sets a key to 1, 2 and so on at that pace. */
    void count(const QString& name, const QString& key, int last, int milliseconds);
    void withdraw(const QString& name);
    /** Ends without a word, as a process that crashed. */
    void kill();

    /** Reads what was reported meanwhile; the host last registered for @p name, empty while there is none. */
    QString registeredHost(const QString& name);

private:
    void order(const QJsonArray& line);

    QProcess m_process;
    QHash<QString, QString> m_registered;
};

/** A lister of the type that the peers advertise, and all its signals. */
class Watch
{
public:
    explicit Watch(MDnsProtocolType protocol = MDnsProtocolType::IPv4);

    bool lists(const QString& name) const { return count(name) > 0; }
    int count(const QString& name) const { return m_lister->getClients().count(name); }
    MDnsVeskClient client(const QString& name) const { return m_lister->getClient(name); }
    QStringList clients() const { return m_lister->getClients(); }
    int changes(const QString& name) const { return m_changed.count({name}); }
    /** What the key's value was at each change. */
    QStringList values(const QString& name, const QString& key) const;
    int removals(const QString& name) const { return m_removed.count({name}); }

private:
    std::unique_ptr<MDnsLister> m_lister;
    QSignalSpy m_changed;
    QVector<MDnsVeskClient> m_clients; ///< as they were at each change
    QSignalSpy m_removed;
};

#endif
