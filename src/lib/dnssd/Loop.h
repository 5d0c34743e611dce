// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_LOOP_H
#define VESK_DNSSD_LOOP_H

#include <avahi-common/simple-watch.h>

#include <chrono>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>

struct pollfd;

namespace vesk::dnssd {

class Timer;

/// The I/O thread's event loop: what the daemon sends comes first, then timers, then what other threads
/// posted.
class Loop
{
public:
    using Task = std::function<void()>;
    using Clock = std::chrono::steady_clock;

    Loop();
    ~Loop();
    Loop(const Loop&) = delete;
    Loop& operator=(const Loop&) = delete;

    /// Has a task run on the loop's thread, after those posted before. May be called by any thread.
    void post(Task task);

    /// Where libavahi puts its descriptors and timeouts.
    const AvahiPoll* api() const;

    /// Runs until quit().
    void run();

    /// Makes run() return. May be called by any thread.
    void quit();

    /// Timers that are due wait for as long as they are held. On the loop's thread only.
    void holdTimers(bool hold) { m_timersAreHeld = hold; }

private:
    friend class Timer;

    bool iterate();
    void runDueTimers();
    void runPostedTask();
    int millisecondsToSleep();
    int poll(pollfd* descriptors, unsigned count, int timeout);

    std::unique_ptr<AvahiSimplePoll, decltype(&avahi_simple_poll_free)> m_poll;
    AvahiWatch* m_wakeWatch = nullptr;
    int m_wake;
    bool m_daemonHasMore = false;
    bool m_sleepless = false;
    bool m_running = false;
    bool m_timersAreHeld = false;
    std::multimap<Clock::time_point, Timer*> m_timers;

    std::mutex m_mutex;
    std::deque<Task> m_posted;
};

/// Calls its function once, some time after start(), on the loop's thread.
class Timer
{
public:
    Timer(Loop& loop, Loop::Task task);
    ~Timer();
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;

    void start(std::chrono::milliseconds delay);
    void stop();
    bool isActive() const { return m_active; }

private:
    friend class Loop;

    Loop& m_loop;
    Loop::Task m_task;
    std::multimap<Loop::Clock::time_point, Timer*>::iterator m_place;
    bool m_active = false;
};

} // namespace vesk::dnssd

#endif
