// SPDX-License-Identifier: MIT
#ifndef LISTER_START_H
#define LISTER_START_H

#include <MDnsLister.h>
#include <memory>

class Session;

/** A lister for the session's type and address family; or null when it cannot work, which has then been said.
 */
std::unique_ptr<MDnsLister> startLister(Session* session);

#endif
