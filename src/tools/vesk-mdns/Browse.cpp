// SPDX-License-Identifier: MIT
#include "ChangeReport.h"
#include "Commands.h"
#include "DnsSd.h"
#include "ExitCode.h"
#include "Listing.h"
#include "ServiceText.h"
#include "ServiceWatch.h"
#include "Session.h"
#include "Text.h"

#include <QHash>
#include <QJsonArray>
#include <QSet>

namespace {

const QVector<Column> serviceColumns = {{"NAME", 8}, {"HOST", 6}, {"ADDRESS", 9}, {"PORT", 4},
                                        {"IF", 4},   {"AGE", 3},  {"TXT", 6}};
constexpr int serviceAgeColumn = 5;
const QVector<Column> typeColumns = {{"TYPE", 8}, {"INTERFACES", 4}, {"AGE", 3}};
constexpr int typeAgeColumn = 2;

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

int foundNo(const QString& what)
{
    Output::complain(QString("found no %1; 'vesk-mdns doctor' says whether all is in order here").arg(what));
    return ExitNothing;
}

} // namespace

int browse(Session* session)
{
    const QString& type = session->arguments.type;
    const auto lister = makeLister(session);
    if (!lister)
        return ExitRefused;
    ServiceWatch watch(lister.get());
    ChangeReport report(session, type, serviceColumns, serviceAgeColumn);
    QObject::connect(&watch, &ServiceWatch::happened, session, [&](Change change, const SeenService& seen) {
        report.tell(change, seen.client.serviceName, serviceCells(seen), serviceFields(type, seen));
    });
    const Session::End end = session->wait(session->arguments.timeoutMs);
    const bool isDone = end != Session::End::TimedOut || !watch.services().isEmpty();
    return isDone ? ExitDone : foundNo("service of type " + type);
}

int browseTypes(Session* session)
{
    TypeBrowser browser;
    if (browser.error() != kDNSServiceErr_NoError)
        return refuse("list service types", explainError(QString("error %1").arg(browser.error())));
    ChangeReport report(session, "Service types", typeColumns, typeAgeColumn);
    TypeList types(&report);
    QObject::connect(&browser, &TypeBrowser::found, session,
                     [&](const QString& type, quint32 index) { types.add(type, index); });
    QObject::connect(&browser, &TypeBrowser::lost, session,
                     [&](const QString& type, quint32 index) { types.remove(type, index); });
    const Session::End end = session->wait(session->arguments.timeoutMs);
    const bool isDone = end != Session::End::TimedOut || !types.isEmpty();
    return isDone ? ExitDone : foundNo("service type");
}
