// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_EVENTLOOP_H
#define VESK_DNSSD_EVENTLOOP_H

#include "Clock.h"
#include "EventDescriptor.h"
#include "IoWatch.h"
#include "Poller.h"
#include "TimerQueue.h"

#include <functional>
#include <list>
#include <mutex>

namespace vesk::dnssd {

using Task = std::function<void()>;

/// A single task whose memory is there already: to post it cannot fail.
using PreparedTask = std::list<Task>;

/**
 * The I/O thread's event loop. A round calls the watches of descriptors that are ready, then the timers that
 * are due, then one posted task. While timers are due again the tasks wait, for sixteen rounds at most: a
 * task costs the responder's time, so what it has said already comes first, but a flood of its messages
 * must not keep the application's releases from being carried out. If those rounds took long, the tasks get
 * about as much time as they did: a release may have to wait for many tasks before it.
 *
 * A step that runs out of memory ends there; the loop goes on.
 */
class EventLoop
{
public:
    /// Throws std::system_error when the process has no descriptor left.
    explicit EventLoop(const Clock& clock);

    /// Has a task run on the loop's thread, after those posted before. May be called by any thread.
    void post(Task task);
    void post(PreparedTask task) noexcept;

    /// Runs rounds until quit(). False: the system cannot wait for the descriptors any more.
    bool run();

    /// Makes run() return. May be called by any thread.
    void quit();

    /// Runs rounds until there is nothing left to do before the clock goes on.
    void runUntilIdle();

    /// Drops the tasks that have not run.
    void dropTasks();

    /// Keeps the loop's thread from starting a step until resume(). False: a step was still under way after
    /// that time. May be called by any other thread.
    bool pause(std::chrono::milliseconds limit) { return m_step.try_lock_for(limit); }
    void resume() { m_step.unlock(); }

    Clock::TimePoint now() const { return m_timers.now(); }
    TimerQueue& timers() { return m_timers; }
    Poller& poller() { return m_poller; }

private:
    /// Returns how much there was to do; -1 when the system cannot wait.
    int runRound(int millisecondsToWait);
    int runTaskInTurn();
    int runTasksFor(Clock::TimePoint::duration time);
    int runPostedTask();
    int millisecondsToWait();

    Poller m_poller;
    TimerQueue m_timers;
    EventDescriptor m_wake;
    IoWatch m_wakeWatch;
    bool m_isRunning = false;
    unsigned m_roundsWithoutTask = 0;
    Clock::TimePoint m_waitingSince; ///< the first of those rounds
    std::timed_mutex m_step;         ///< held while anything but waiting is done

    std::mutex m_mutex; ///< guards what follows
    std::list<Task> m_posted;
};

} // namespace vesk::dnssd

#endif
