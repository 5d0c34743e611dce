// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_CHORES_H
#define VESK_DNSSD_CHORES_H

#include "Loop.h"

#include <deque>

namespace vesk::dnssd {

/// Does a thing to many, one a turn of the loop, so that a thousand of them keep nobody waiting.
template <typename What>
class Chores
{
public:
    Chores(Loop& loop, std::function<void(const What&)> work)
        : m_loop(loop)
        , m_work(std::move(work))
    {
    }

    void add(What what)
    {
        m_left.push_back(std::move(what));
        if (!m_scheduled)
            schedule();
    }
    void clear() { m_left.clear(); }

private:
    void schedule()
    {
        m_scheduled = true;
        m_loop.post([this] { doOne(); });
    }
    void doOne()
    {
        m_scheduled = false;
        if (m_left.empty())
            return;
        const What what = std::move(m_left.front());
        m_left.pop_front();
        if (!m_left.empty())
            schedule();
        m_work(what);
    }

    Loop& m_loop;
    std::function<void(const What&)> m_work;
    std::deque<What> m_left;
    bool m_scheduled = false;
};

} // namespace vesk::dnssd

#endif
