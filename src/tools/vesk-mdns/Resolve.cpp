// SPDX-License-Identifier: MIT
#include "ChangeReport.h"
#include "Commands.h"
#include "ExitCode.h"
#include "Listing.h"
#include "ServiceText.h"
#include "ServiceWatch.h"
#include "Session.h"
#include "Text.h"

namespace {

constexpr int defaultTimeoutMs = 5000;

// Names of services differ in the case of ASCII letters no more than host names do (RFC 6762, section 16).
bool isSameName(const QString& left, const QString& right)
{
    return left.toUtf8().toLower() == right.toUtf8().toLower();
}

void tell(Session* session, const SeenService& service)
{
    if (session->arguments.json) {
        session->output.json(jsonEvent("resolved", serviceFields(session->arguments.type, service)));
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
    const Arguments& arguments = session->arguments;
    const auto lister = makeLister(session);
    if (!lister)
        return ExitRefused;
    session->complainOfErrors();
    ServiceWatch watch(lister.get());
    QObject::connect(&watch, &ServiceWatch::happened, session, [&](Change, const SeenService& service) {
        if (!isSameName(service.client.serviceName, arguments.name))
            return;
        tell(session, service);
        session->finish();
    });
    const int timeoutMs = arguments.timeoutMs.value_or(defaultTimeoutMs);
    if (session->wait(timeoutMs) == Session::End::Finished)
        return ExitDone;
    Output::complain(
        QString("found no service \"%1\" of type %2; 'vesk-mdns browse %2' lists those there are")
            .arg(arguments.name, arguments.type));
    return ExitNothing;
}
