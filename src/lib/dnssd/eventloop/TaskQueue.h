// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_TASKQUEUE_H
#define VESK_DNSSD_TASKQUEUE_H

#include "OwnedTasks.h"

#include <deque>

namespace vesk::dnssd {

/// Does one thing to many items, one a round of the loop, so that a thousand of them hold nothing else up.
template <typename Item>
class TaskQueue
{
public:
    TaskQueue(EventLoop& loop, std::function<void(const Item&)> work)
        : m_tasks(loop)
        , m_work(std::move(work))
    {
    }

    void add(Item item)
    {
        m_items.push_back(std::move(item));
        schedule();
    }
    void clear() { m_items.clear(); }
    bool isEmpty() const { return m_items.empty(); }

private:
    void schedule()
    {
        if (m_isScheduled || m_items.empty())
            return;
        m_tasks.post([this] { workOnNext(); });
        m_isScheduled = true;
    }
    void workOnNext()
    {
        m_isScheduled = false;
        if (m_items.empty())
            return;
        const Item item = std::move(m_items.front());
        m_items.pop_front();
        schedule();
        m_work(item); // may end this queue
    }

    OwnedTasks m_tasks;
    std::function<void(const Item&)> m_work;
    std::deque<Item> m_items;
    bool m_isScheduled = false;
};

} // namespace vesk::dnssd

#endif
