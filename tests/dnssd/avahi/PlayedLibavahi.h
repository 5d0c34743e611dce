// SPDX-License-Identifier: MIT
#ifndef VESK_TESTS_PLAYEDLIBAVAHI_H
#define VESK_TESTS_PLAYEDLIBAVAHI_H

#include <avahi-client/client.h>

#include <vector>

namespace vesk::dnssd::tests {

/// What stands for libavahi-client's connections in this program: its functions are defined here.
struct PlayedLibavahi
{
    static PlayedLibavahi& instance();

    /// A connection is refused, as without a bus.
    bool isRefusing = false;
    /// The error that the next calls of any client are said to have failed with.
    int lastError = 0;
    std::vector<AvahiClient*> clients; ///< that are open, in the order in which they were made
    unsigned freed = 0;

    /// Calls the client back, as libavahi does in the middle of its work.
    static void changeState(AvahiClient* client, AvahiClientState state);
};

} // namespace vesk::dnssd::tests

#endif
