// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_REGISTRATIONREGISTRY_H
#define VESK_DNSSD_REGISTRATIONREGISTRY_H

#include "Backend.h"
#include "TaskQueue.h"

#include <vector>

namespace vesk::dnssd {

/// All registrations of the process, published anew whenever the backend has come back: in the order in which
/// they entered, so that of two with one name the first keeps it.
class RegistrationRegistry
{
public:
    class Member
    {
    public:
        /// The backend can publish. Called for each member when it enters, and whenever the backend is back.
        virtual void publish(Backend& backend) = 0;
        /// The backend cannot publish any more, and what was published stands for nothing.
        virtual void onBackendLost() = 0;

    protected:
        ~Member() = default;
    };

    RegistrationRegistry(EventLoop& loop, Backend& backend);

    void enter(Member& member);
    void leave(Member& member);

    /// Publishes a member, if the backend can; otherwise it will be published once it can.
    void publish(Member& member);

    void onBackendState(Backend::State state);

private:
    void publishIfThere(Member* member);

    Backend& m_backend;
    std::vector<Member*> m_members;
    TaskQueue<Member*> m_toPublish;
};

} // namespace vesk::dnssd

#endif
