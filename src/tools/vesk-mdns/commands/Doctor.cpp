// SPDX-License-Identifier: MIT
#include "Checks.h"
#include "Commands.h"
#include "DnsSdLibrary.h"
#include "EventFormat.h"
#include "ExitCode.h"
#include "Output.h"
#include "PrintableText.h"
#include "Session.h"
#include "SystemBus.h"

#include <cstdlib>
#include <vector>

namespace {

void tell(Session* session, const Check& check)
{
    if (session->commandLine.json) {
        session->output.json(jsonEvent("check", {{"check", check.subject},
                                                 {"ok", check.isInOrder},
                                                 {"text", check.finding},
                                                 {"advice", check.advice}}));
        return;
    }
    const QString mark = check.isInOrder ? session->output.styled("ok ", Style::Good)
                                         : session->output.styled("BAD", Style::Bad);
    session->output.line(
        QString("%1  %2 %3").arg(mark, (check.subject + ':').leftJustified(11), printable(check.finding)));
    if (!check.advice.isEmpty())
        session->output.line(QString(17, ' ') + printable(check.advice));
}

} // namespace

int doctor(Session* session)
{
    std::vector<QVector<Check> (*)()> examinations = {&checkInterfaces, &checkLibrary, &checkService};
    const bool needsDaemon = backendInUse() == Backend::Daemon;
    if (needsDaemon)
        examinations.insert(examinations.begin(), {&checkBus, &checkDaemon});
    bool isAllInOrder = true;
    for (const auto& examine : examinations) {
        const QVector<Check> checks = examine();
        for (const Check& check : checks) {
            tell(session, check);
            isAllInOrder = isAllInOrder && check.isInOrder;
        }
    }
    if (needsDaemon && isSystemBusHung())
        std::_Exit(ExitNothing); // an orderly exit would wait for the bus
    return isAllInOrder ? ExitDone : ExitNothing;
}
