// SPDX-License-Identifier: MIT
#include "Commands.h"
#include "EventFormat.h"
#include "ExitCode.h"
#include "Failure.h"
#include "ListerStart.h"
#include "ServiceText.h"
#include "ServiceWatch.h"
#include "Session.h"

namespace {

constexpr int defaultTimeoutMs = 5000;

// Names of services differ in the case of ASCII letters no more than host names do (RFC 6762, section 16).
bool isSameName(const QString& left, const QString& right)
{
    return left.toUtf8().toLower() == right.toUtf8().toLower();
}

void tell(Session* session, const SeenService& service)
{
    if (session->commandLine.json) {
        session->output.json(jsonEvent("resolved", serviceFields(session->commandLine.type, service)));
        return;
    }
    const QStringList titles = {"Name", "Host", "Address", "Port", "Interface", "TXT"};
    const QStringList cells = serviceCells(service);
    for (int i = 0; i < titles.size(); ++i)
        session->output.line((titles[i] + ':').leftJustified(11) + cells[i]);
}

} // namespace

int resolve(Session* session)
{
    const CommandLine& commandLine = session->commandLine;
    const auto lister = startLister(session);
    if (!lister)
        return ExitRefused;
    session->complainOfErrors();
    ServiceWatch watch(lister.get());
    QObject::connect(&watch, &ServiceWatch::happened, session, [&](Change, const SeenService& service) {
        if (!isSameName(service.client.serviceName, commandLine.name))
            return;
        tell(session, service);
        session->finish();
    });
    const int timeoutMs = commandLine.timeoutMs.value_or(defaultTimeoutMs);
    QObject::connect(&session->log, &LibraryLog::browseRefused, session, &Session::fail);
    const Session::End end = session->wait(timeoutMs);
    if (end == Session::End::Finished)
        return ExitDone;
    if (end == Session::End::Failed)
        return refuse("browse", session->failure());
    Output::complain(
        QString("found no service \"%1\" of type %2; 'vesk-mdns browse %2' lists those there are")
            .arg(commandLine.name, commandLine.type));
    return ExitNothing;
}
