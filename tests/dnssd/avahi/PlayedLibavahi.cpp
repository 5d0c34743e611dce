// SPDX-License-Identifier: MIT
#include "PlayedLibavahi.h"

#include <algorithm>

using vesk::dnssd::tests::PlayedLibavahi;

struct AvahiClient
{
    AvahiClientFlags flags;
    AvahiClientCallback callback;
    void* context;
};

namespace vesk::dnssd::tests {

PlayedLibavahi& PlayedLibavahi::instance()
{
    static PlayedLibavahi played;
    return played;
}

void PlayedLibavahi::changeState(AvahiClient* client, AvahiClientState state)
{
    client->callback(client, state, client->context);
}

} // namespace vesk::dnssd::tests

AvahiClient* avahi_client_new(const AvahiPoll*, AvahiClientFlags flags, AvahiClientCallback callback,
                              void* userdata, int*)
{
    PlayedLibavahi& played = PlayedLibavahi::instance();
    if (played.isRefusing)
        return nullptr;
    played.clients.push_back(new AvahiClient{flags, callback, userdata});
    callback(played.clients.back(), AVAHI_CLIENT_S_RUNNING,
             userdata); // libavahi tells the first state at once
    return played.clients.back();
}

void avahi_client_free(AvahiClient* client)
{
    auto& clients = PlayedLibavahi::instance().clients;
    clients.erase(std::find(clients.begin(), clients.end(), client));
    ++PlayedLibavahi::instance().freed;
    delete client;
}

int avahi_client_errno(AvahiClient*)
{
    return PlayedLibavahi::instance().lastError;
}
