// SPDX-License-Identifier: MIT
#include "Registrations.h"

#include "Registration.h"

namespace vesk::dnssd {

Registrations::Registrations(Loop& loop)
    : m_toPublish(loop, [this](Registration* registration) { publish(registration); })
{
}

void Registrations::enter(Registration& registration)
{
    m_all.insert(&registration);
    publish(&registration);
}

void Registrations::backendChanged(Backend::State state)
{
    for (Registration* registration : m_all) {
        if (state == Backend::State::Running)
            m_toPublish.add(registration);
        else
            registration->withdraw();
    }
}

/// Those that wait for their turn may be gone when it comes.
void Registrations::publish(Registration* registration)
{
    if (m_backend->state() == Backend::State::Running && m_all.count(registration) > 0)
        registration->publish();
}

} // namespace vesk::dnssd
