// SPDX-License-Identifier: MIT
#include "EventLoop.h"

#include <sys/epoll.h>

#include <algorithm>
#include <climits>
#include <new>

namespace vesk::dnssd {

using namespace std::chrono_literals;

namespace {

constexpr unsigned LongestWaitOfATask = 16; ///< rounds

/// Sixteen rounds that took longer than that are a flood.
constexpr auto LongestBusyMoment = 20ms;

/// Steps that ran out of memory are given up; each leaves what it had done in a valid state.
template <typename Step>
int guarded(Step step)
try {
    return step();
} catch (const std::bad_alloc&) {
    return 1;
}

} // namespace

EventLoop::EventLoop(const Clock& clock)
    : m_timers(clock)
    , m_wakeWatch(*this, m_wake.get(), EPOLLIN, [this](uint32_t) { m_wake.clear(); })
{
}

void EventLoop::post(Task task)
{
    PreparedTask prepared;
    prepared.push_back(std::move(task));
    post(std::move(prepared));
}

void EventLoop::post(PreparedTask task) noexcept
{
    const std::lock_guard lock(m_mutex);
    const bool wasEmpty = m_posted.empty();
    m_posted.splice(m_posted.end(), task);
    if (wasEmpty)
        m_wake.set();
}

bool EventLoop::run()
{
    m_isRunning = true;
    while (m_isRunning) {
        if (runRound(millisecondsToWait()) < 0)
            return false;
    }
    return true;
}

void EventLoop::quit()
{
    post([this] { m_isRunning = false; });
}

void EventLoop::runUntilIdle()
{
    while (runRound(0) > 0) {
    }
}

void EventLoop::dropTasks()
{
    std::list<Task> dropped; // outlives the lock: what dies with the tasks may post others
    const std::lock_guard lock(m_mutex);
    dropped.swap(m_posted);
}

int EventLoop::runRound(int millisecondsToWait)
{
    if (!m_poller.wait(millisecondsToWait))
        return -1;
    const std::lock_guard step(m_step);
    int done = guarded([this] { return m_poller.notifyReady(); });
    done += guarded([this] { return m_timers.runDue(); });
    done += guarded([this] { return runTaskInTurn(); });
    return done;
}

int EventLoop::runTaskInTurn()
{
    if (!m_timers.isAnyDue()) {
        m_roundsWithoutTask = 0;
        return runPostedTask();
    }
    if (m_roundsWithoutTask == 0)
        m_waitingSince = now();
    if (++m_roundsWithoutTask < LongestWaitOfATask)
        return 1;
    m_roundsWithoutTask = 0;
    return runTasksFor(now() - m_waitingSince - LongestBusyMoment);
}

/// One at least.
int EventLoop::runTasksFor(Clock::TimePoint::duration time)
{
    const auto end = now() + time;
    int done = runPostedTask();
    while (done > 0 && now() < end && runPostedTask() > 0)
        ++done;
    return done;
}

int EventLoop::runPostedTask()
{
    PreparedTask next;
    {
        const std::lock_guard lock(m_mutex);
        if (m_posted.empty())
            return 0;
        next.splice(next.begin(), m_posted, m_posted.begin());
    }
    next.front()();
    return 1;
}

int EventLoop::millisecondsToWait()
{
    {
        const std::lock_guard lock(m_mutex);
        if (!m_posted.empty())
            return 0;
    }
    const auto deadline = m_timers.nextDeadline();
    if (!deadline)
        return -1;
    const auto wait = std::chrono::ceil<std::chrono::milliseconds>(*deadline - now()).count();
    return static_cast<int>(std::clamp<std::chrono::milliseconds::rep>(wait, 0, INT_MAX));
}

} // namespace vesk::dnssd
