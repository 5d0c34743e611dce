// SPDX-License-Identifier: MIT
#include "Commands.h"
#include "EventFormat.h"
#include "ExitCode.h"
#include "Failure.h"
#include "InputLines.h"
#include "ListerStart.h"
#include "OwnService.h"
#include "PrintableText.h"
#include "ServiceText.h"
#include "ServiceWatch.h"
#include "Session.h"
#include "StandardInput.h"

#include <CMValueItem.h>
#include <MDnsAdvertiser.h>
#include <QTimer>
#include <algorithm>

namespace {

constexpr int slowRegistrationMs = 5000;
constexpr char forcedNamePath[] = "systemmanager:/bonjourForceServiceName";

/** One advertised service and what becomes of it. The name that it has on the network is found by browsing.
 */
class Advertising : public QObject
{
public:
    Advertising(Session* session, MDnsLister* lister);

    /** False when the DNS-SD library refused. */
    bool start();
    bool isRegistered() const { return m_isRegistered; }

private:
    void tell(const QString& event, const QStringList& cells, const QJsonObject& fields);
    void on_registered(const QString& host);
    void on_happened(Change change, const SeenService& service);
    void on_forcedName_changed(const QString& name);
    void on_entered(const QString& line);
    void setTxt(const QPair<QString, QString>& entry);
    void removeTxt(const QString& key);
    void tellTxt();
    void forgetTxt(const QString& key);

    Session* m_session;
    ServiceWatch m_watch;
    MDnsAdvertiser* m_advertiser;
    CMValueItem m_forcedName;
    InputLines m_input;
    QVector<QPair<QString, QString>> m_txt;
    bool m_isRegistered = false;
    QString m_wantedName;
    QString m_name; ///< as the network knows it; empty until it is visible
    bool m_isVisible = false;
};

Advertising::Advertising(Session* session, MDnsLister* lister)
    : m_session(session)
    , m_watch(lister)
    , m_advertiser(MDnsAdvertiserFactory::createInternal(
          this, session->commandLine.name, session->commandLine.type, session->commandLine.port))
    , m_forcedName(CMPath::fromEncoded(forcedNamePath))
    , m_wantedName(session->commandLine.name)
{
    connect(m_advertiser, &MDnsAdvertiser::nameRegistered, this, &Advertising::on_registered);
    connect(&m_watch, &ServiceWatch::happened, this, &Advertising::on_happened);
    connect(&m_forcedName, &CMValueItem::changed, this,
            [this](const VeskValue& value) { on_forcedName_changed(value.string_()); });
    connect(&m_input, &InputLines::entered, this, &Advertising::on_entered);
}

bool Advertising::start()
{
    m_advertiser->start();
    for (const auto& entry : m_session->commandLine.txt)
        setTxt(entry);
    return m_session->log.refusal().isEmpty();
}

void Advertising::tell(const QString& event, const QStringList& cells, const QJsonObject& fields)
{
    if (m_session->commandLine.json) {
        m_session->output.json(jsonEvent(event, fields));
        return;
    }
    QStringList shown = cells;
    std::transform(shown.begin(), shown.end(), shown.begin(), &printable);
    m_session->output.line(eventLine(m_session->output, event, shown));
}

void Advertising::on_registered(const QString& host)
{
    m_isRegistered = true;
    const CommandLine& commandLine = m_session->commandLine;
    tell("registered", {host, commandLine.type, QString::number(commandLine.port)},
         {{"host", host}, {"type", commandLine.type}, {"port", commandLine.port}});
    const auto services = m_watch.services(); // one of them may be ours, found before this report
    for (const SeenService& service : services)
        on_happened(Change::Added, service);
}

void Advertising::on_happened(Change change, const SeenService& service)
{
    const MDnsVeskClient& client = service.client;
    if (!m_isRegistered || !isOwnService(client, m_wantedName, m_session->commandLine.port))
        return;
    if (change == Change::Added && (client.serviceName != m_name || !m_isVisible)) {
        const bool isRenamed = !m_name.isEmpty() && client.serviceName != m_name;
        const QJsonValue previous = isRenamed ? QJsonValue(m_name) : QJsonValue();
        m_name = client.serviceName;
        m_isVisible = true;
        tell("visible", {m_name}, {{"name", m_name}, {"previous", previous}});
    } else if (change == Change::Removed && client.serviceName == m_name && m_isVisible) {
        m_isVisible = false;
        tell("withdrawn", {client.serviceName}, {{"name", client.serviceName}});
    }
}

void Advertising::on_forcedName_changed(const QString& name)
{
    m_wantedName = name.isEmpty() ? m_session->commandLine.name : name;
    tell("forced", {name}, {{"name", name}});
    // The advertiser hears of the new name too, maybe after us, and begins anew with an empty record.
    QTimer::singleShot(0, this, [this] {
        for (const auto& [key, value] : qAsConst(m_txt))
            m_advertiser->updateTxt(key, value);
    });
}

void Advertising::on_entered(const QString& line)
{
    try {
        if (line.startsWith('-'))
            removeTxt(line.mid(1));
        else
            setTxt(parseTxtEntry(line));
        tellTxt();
    } catch (const UsageError& error) {
        Output::complain(QString("%1, or -KEY to remove an entry").arg(error.what()));
    }
}

void Advertising::setTxt(const QPair<QString, QString>& entry)
{
    forgetTxt(entry.first);
    m_txt.append(entry);
    m_advertiser->updateTxt(entry.first, entry.second);
}

void Advertising::removeTxt(const QString& key)
{
    forgetTxt(key);
    m_advertiser->rmTxt(key);
}

// Keys do not differ in case (RFC 6763, section 6.4).
void Advertising::forgetTxt(const QString& key)
{
    const auto isKey = [&key](const auto& entry) {
        return entry.first.compare(key, Qt::CaseInsensitive) == 0;
    };
    m_txt.erase(std::remove_if(m_txt.begin(), m_txt.end(), isKey), m_txt.end());
}

void Advertising::tellTxt()
{
    QHash<QString, QString> txt;
    QJsonObject fields;
    for (const auto& [key, value] : qAsConst(m_txt)) {
        txt.insert(key, value);
        fields.insert(key, value);
    }
    tell("txt", {txtText(txt)}, {{"txt", fields}});
}

} // namespace

int advertise(Session* session)
{
    const auto lister = startLister(session);
    if (!lister)
        return ExitRefused;
    Advertising advertising(session, lister.get());
    if (!advertising.start())
        return refuse("advertise", session->log.refusal());
    QObject::connect(&session->log, &LibraryLog::registrationRefused, session, &Session::fail);
    QObject::connect(&session->log, &LibraryLog::browseRefused, [](const QString& why) {
        Output::complain("cannot tell under which name the network sees the service: " + why);
    });
    session->complainOfErrors();
    if (StandardInput::isTerminal() && session->output.isTerminal() && !session->commandLine.json)
        session->output.line(session->output.styled(
            "KEY=VALUE sets a TXT entry, -KEY removes one, Ctrl-C ends", Style::Faint));
    QTimer::singleShot(slowRegistrationMs, &advertising, [&advertising] {
        if (!advertising.isRegistered())
            Output::complain("not registered after 5 seconds; 'vesk-mdns doctor' says what may be wrong");
    });
    const Session::End end = session->wait(session->commandLine.timeoutMs);
    if (end == Session::End::Failed)
        return refuse("advertise", session->failure());
    return end == Session::End::TimedOut && !advertising.isRegistered() ? ExitNothing : ExitDone;
}
