// SPDX-License-Identifier: MIT
#include "ChangeReport.h"
#include "Commands.h"
#include "DnsSdError.h"
#include "ExitCode.h"
#include "Failure.h"
#include "InstanceBrowser.h"
#include "PrintableText.h"
#include "ServiceText.h"
#include "Session.h"

#include <QHash>
#include <QJsonArray>
#include <QSet>
#include <optional>

namespace {

const QVector<Column> columns = {{"TYPE", 8}, {"INTERFACES", 4}, {"AGE", 3}};
constexpr int ageColumn = 2;

/** The types in use, each on the interfaces where it is seen. */
class TypeList
{
public:
    explicit TypeList(ChangeReport* report)
        : m_report(report)
    {
    }

    bool isEmpty() const { return m_interfaces.isEmpty(); }

    void add(const QString& type, quint32 interfaceIndex)
    {
        const bool isNew = !m_interfaces.contains(type);
        m_interfaces[type].insert(interfaceIndex);
        tell(isNew ? Change::Added : Change::Changed, type);
    }

    void remove(const QString& type, quint32 interfaceIndex)
    {
        m_interfaces[type].remove(interfaceIndex);
        const bool isGone = m_interfaces[type].isEmpty();
        tell(isGone ? Change::Removed : Change::Changed, type);
        if (isGone)
            m_interfaces.remove(type);
    }

private:
    void tell(Change change, const QString& type)
    {
        QStringList names;
        for (const quint32 index : m_interfaces[type])
            names.append(interfaceName(index));
        names.sort();
        m_report->tell(change, type, {printable(type), names.join(' ')},
                       {{"type", type}, {"interfaces", QJsonArray::fromStringList(names)}});
    }

    ChangeReport* m_report;
    QHash<QString, QSet<quint32>> m_interfaces;
};

// The instances of the type of all types are types (RFC 6763, section 9): one has the name "_http" and the
// type
// "_tcp.local.".
QString typeOf(const QString& name, const QString& type)
{
    return name + '.' + type.section('.', 0, 0);
}

} // namespace

int browseTypes(Session* session)
{
    const QString why = obstacle();
    if (!why.isEmpty())
        return refuse("list service types", why);
    InstanceBrowser browser("_services._dns-sd._udp");
    if (browser.error() != kDNSServiceErr_NoError)
        return refuse("list service types", errorLine(browser.error()));
    std::optional<ChangeReport> report;
    report.emplace(session, "Service types", columns, ageColumn);
    TypeList types(&*report);
    QObject::connect(&browser, &InstanceBrowser::found, session,
                     [&](const QString& name, const QString& type, quint32 index) {
                         types.add(typeOf(name, type), index);
                     });
    QObject::connect(&browser, &InstanceBrowser::lost, session,
                     [&](const QString& name, const QString& type, quint32 index) {
                         types.remove(typeOf(name, type), index);
                     });
    QObject::connect(&browser, &InstanceBrowser::failed, session,
                     [&](DNSServiceErrorType error) { session->fail(errorLine(error)); });
    const Session::End end = session->wait(session->commandLine.timeoutMs);
    report.reset(); // complaints are not to go with the table's page
    if (end == Session::End::Failed)
        return refuse("list service types", session->failure());
    const bool isDone = end != Session::End::TimedOut || !types.isEmpty();
    return isDone ? ExitDone : foundNo("service type");
}
