// SPDX-License-Identifier: MIT
#ifndef LISTING_H
#define LISTING_H

#include <MDnsLister.h>
#include <QString>
#include <memory>

class Session;

/** Says that the DNS-SD library refused to do @p what, and why. @return ExitRefused */
int refuse(const QString& what, const QString& why);

/** A lister for the session's type and address family, or null when the DNS-SD library refused, which has
 * then been said. */
std::unique_ptr<MDnsLister> makeLister(Session* session);

#endif
