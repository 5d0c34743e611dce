// SPDX-License-Identifier: MIT
#ifndef TOOL_PROCESS_H
#define TOOL_PROCESS_H

#include <QJsonObject>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <functional>
#include <memory>

constexpr int deadlineMs = 60000;
inline const QString serviceType = "_demo._tcp";

/** The tool, started on a host of the lab. Its JSON events are gathered; it ends with this object. */
class ToolProcess : public QProcess
{
public:
    explicit ToolProcess(const QStringList& arguments, const QString& host = "hosta");
    ~ToolProcess() override;

    /** Waits until an event satisfies @p isWanted; an empty one when that does not happen in time. Each
     * event is looked at once. */
    QJsonObject nextEvent(const std::function<bool(const QJsonObject&)>& isWanted);
    QJsonObject nextEvent(const QString& name, const QString& service = QString());

    /** Ends with an exit status in time; -1 when it does not. */
    int status();
    int statusAfter(int signal);

    void enter(const QByteArray& text);

    /** Waits until there is a line with that text; all that was written so far. */
    QString outputWith(const QByteArray& text);
    QString errors();
};

/** A service that the tool advertises and that the network sees; null when that does not happen in time. */
std::unique_ptr<ToolProcess> advertised(const QString& name, const QStringList& txt = {}, int port = 8080,
                                        const QString& host = "hostb");

/** What the tool resolves @p name to; empty when that does not happen in time. */
QJsonObject resolved(const QString& name, const QStringList& options = {});

/** The name of the service that the running test advertises: its own, since one that was just withdrawn lives
 * on in caches for a second. */
QString own();

/** Runs a program of the lab, which must succeed. */
void runOnLab(const QString& program, const QStringList& arguments);

/** The daemon of hosta has a further line of configuration, as long as this object lives. */
class OtherDaemon
{
public:
    explicit OtherDaemon(const QByteArray& line);
    ~OtherDaemon();
    OtherDaemon(const OtherDaemon&) = delete;
    OtherDaemon& operator=(const OtherDaemon&) = delete;

private:
    const QByteArray m_before = qgetenv("LAB_AVAHI");
};

/** The bus of hosta denies a call of the daemon's, as long as this object lives. */
class DeniedCall
{
public:
    explicit DeniedCall(const QByteArray& method);
    ~DeniedCall();
    DeniedCall(const DeniedCall&) = delete;
    DeniedCall& operator=(const DeniedCall&) = delete;

private:
    const QByteArray m_before;
};

#endif
