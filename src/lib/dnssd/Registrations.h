// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_REGISTRATIONS_H
#define VESK_DNSSD_REGISTRATIONS_H

#include "Backend.h"
#include "Chores.h"

#include <unordered_set>

namespace vesk::dnssd {

class Registration;

/// All registrations of the process, published anew whenever the backend has come back.
class Registrations
{
public:
    explicit Registrations(Loop& loop);

    void setBackend(Backend& backend) { m_backend = &backend; }

    void enter(Registration& registration);
    void leave(Registration& registration) { m_all.erase(&registration); }

    Backend& backend() const { return *m_backend; }
    void backendChanged(Backend::State state);

private:
    void publish(Registration* registration);

    Backend* m_backend = nullptr;
    std::unordered_set<Registration*> m_all;
    Chores<Registration*> m_toPublish;
};

} // namespace vesk::dnssd

#endif
