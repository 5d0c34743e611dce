// SPDX-License-Identifier: MIT
#include "RegistrationRegistry.h"

#include <algorithm>

namespace vesk::dnssd {

RegistrationRegistry::RegistrationRegistry(EventLoop& loop, Backend& backend)
    : m_backend(backend)
    , m_toPublish(loop, [this](Member* member) { publishIfThere(member); })
{
}

/// Not before those that entered earlier and wait for their turn.
void RegistrationRegistry::enter(Member& member)
{
    m_members.push_back(&member);
    if (m_toPublish.isEmpty())
        publish(member);
    else
        m_toPublish.add(&member);
}

void RegistrationRegistry::leave(Member& member)
{
    const auto place = std::find(m_members.begin(), m_members.end(), &member);
    if (place != m_members.end())
        m_members.erase(place);
}

void RegistrationRegistry::publish(Member& member)
{
    if (m_backend.state() == Backend::State::Running)
        member.publish(m_backend);
}

void RegistrationRegistry::onBackendState(Backend::State state)
{
    for (Member* member : m_members) {
        if (state == Backend::State::Running)
            m_toPublish.add(member);
        else
            member->onBackendLost();
    }
}

/// A member may have left before its turn comes.
void RegistrationRegistry::publishIfThere(Member* member)
{
    if (std::find(m_members.begin(), m_members.end(), member) != m_members.end())
        publish(*member);
}

} // namespace vesk::dnssd
