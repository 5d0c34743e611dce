// SPDX-License-Identifier: MIT
#ifndef OWN_SERVICE_H
#define OWN_SERVICE_H

#include <QString>

struct MDnsVeskClient;

/**
 * Whether @p client is the service that this host advertises at @p port under the name @p wanted.
 *
 * Its instance name is the network's to decide, and is not reported by the advertiser; so it is told by its
 * port, by an address of this host, and by a name that may stem from the wanted one. (Not by the registered
 * host: amid a name conflict that may be the other host's.)
 */
bool isOwnService(const MDnsVeskClient& client, const QString& wanted, int port);

#endif
