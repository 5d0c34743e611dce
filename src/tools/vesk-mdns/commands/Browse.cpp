// SPDX-License-Identifier: MIT
#include "ChangeReport.h"
#include "Commands.h"
#include "ExitCode.h"
#include "Failure.h"
#include "ListerStart.h"
#include "ListingWatch.h"
#include "ServiceText.h"
#include "ServiceWatch.h"
#include "Session.h"

#include <optional>

namespace {

const QVector<Column> columns = {{"NAME", 8}, {"HOST", 6}, {"ADDRESS", 9}, {"PORT", 4},
                                 {"IF", 4},   {"AGE", 3},  {"TXT", 6}};
constexpr int ageColumn = 5;

} // namespace

int browse(Session* session)
{
    const QString& type = session->commandLine.type;
    const auto lister = startLister(session);
    if (!lister)
        return ExitRefused;
    ServiceWatch watch(lister.get());
    std::optional<ChangeReport> report;
    report.emplace(session, type, columns, ageColumn);
    QObject::connect(&watch, &ServiceWatch::happened, session, [&](Change change, const SeenService& seen) {
        report->tell(change, seen.client.serviceName, serviceCells(seen), serviceFields(type, seen));
    });
    QObject::connect(&session->log, &LibraryLog::browseRefused, session, &Session::fail);
    const ListingWatch listing;
    QObject::connect(&listing, &ListingWatch::fellShort, session,
                     [&report](const QString& text) { report->remark(text); });
    const Session::End end = session->wait(session->commandLine.timeoutMs);
    report.reset(); // complaints are not to go with the table's page
    if (end == Session::End::Failed)
        return refuse("browse", session->failure());
    const bool isDone = end != Session::End::TimedOut || !watch.services().isEmpty();
    return isDone ? ExitDone : foundNo("service of type " + type);
}
