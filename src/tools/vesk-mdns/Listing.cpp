// SPDX-License-Identifier: MIT
#include "Listing.h"

#include "ExitCode.h"
#include "Session.h"

int refuse(const QString& what, const QString& why)
{
    Output::complain(QString("cannot %1: %2; 'vesk-mdns doctor' says what to do").arg(what, why));
    return ExitRefused;
}

std::unique_ptr<MDnsLister> makeLister(Session* session)
{
    std::unique_ptr<MDnsLister> lister(
        MDnsListerFactory::create(nullptr, session->arguments.type, session->arguments.protocol));
    if (!session->log.firstError().isEmpty()) {
        refuse("browse", session->log.firstError());
        lister.reset();
    }
    return lister;
}
