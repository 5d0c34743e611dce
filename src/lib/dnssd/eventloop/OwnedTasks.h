// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_OWNEDTASKS_H
#define VESK_DNSSD_OWNEDTASKS_H

#include "EventLoop.h"

#include <memory>

namespace vesk::dnssd {

/// Posts tasks on behalf of the object that it is a member of: those that have not run yet when the object
/// dies are dropped. On the event loop's thread only.
class OwnedTasks
{
public:
    explicit OwnedTasks(EventLoop& loop)
        : m_loop(loop)
    {
    }

    void post(Task task)
    {
        m_loop.post([task = std::move(task), owner = std::weak_ptr(m_owner)] {
            if (!owner.expired())
                task();
        });
    }

private:
    EventLoop& m_loop;
    std::shared_ptr<char> m_owner = std::make_shared<char>();
};

} // namespace vesk::dnssd

#endif
