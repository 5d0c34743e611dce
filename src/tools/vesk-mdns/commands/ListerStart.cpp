// SPDX-License-Identifier: MIT
#include "ListerStart.h"

#include "Failure.h"
#include "Session.h"

std::unique_ptr<MDnsLister> startLister(Session* session)
{
    QString why = obstacle();
    std::unique_ptr<MDnsLister> lister;
    if (why.isEmpty()) {
        const CommandLine& commandLine = session->commandLine;
        lister.reset(MDnsListerFactory::create(nullptr, commandLine.type, commandLine.protocol));
        why = session->log.refusal();
    }
    if (why.isEmpty())
        return lister;
    refuse("browse", why);
    return nullptr;
}
