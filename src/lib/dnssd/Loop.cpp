// SPDX-License-Identifier: MIT
#include "Loop.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <new>
#include <system_error>

namespace vesk::dnssd {

Loop::Loop()
    : m_poll(avahi_simple_poll_new(), avahi_simple_poll_free)
    , m_wake(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    if (!m_poll || m_wake < 0)
        throw std::system_error(errno, std::generic_category(), "event loop");
    avahi_simple_poll_set_func(
        m_poll.get(),
        [](pollfd* descriptors, unsigned count, int timeout, void* self) {
            return static_cast<Loop*>(self)->poll(descriptors, count, timeout);
        },
        this);
    m_wakeWatch = api()->watch_new(
        api(), m_wake, AVAHI_WATCH_IN,
        [](AvahiWatch*, int descriptor, AvahiWatchEvent, void*) {
            eventfd_t count = 0;
            eventfd_read(descriptor, &count);
        },
        nullptr);
}

Loop::~Loop()
{
    if (m_wakeWatch)
        api()->watch_free(m_wakeWatch);
    ::close(m_wake);
}

void Loop::post(Task task)
{
    const std::lock_guard lock(m_mutex);
    m_posted.push_back(std::move(task));
    if (m_posted.size() == 1)
        eventfd_write(m_wake, 1);
}

const AvahiPoll* Loop::api() const
{
    return avahi_simple_poll_get(m_poll.get());
}

void Loop::run()
{
    m_running = true;
    while (m_running && iterate()) {
        runDueTimers();
        // A task costs the daemon's time; what it has answered already is worth more than a further question.
        if (!m_daemonHasMore)
            runPostedTask();
    }
}

void Loop::quit()
{
    post([this] { m_running = false; });
}

bool Loop::iterate()
{
    return avahi_simple_poll_iterate(m_poll.get(), millisecondsToSleep()) == 0;
}

void Loop::runDueTimers()
{
    const auto now = Clock::now();
    while (!m_timersAreHeld && !m_timers.empty() && m_timers.begin()->first <= now) {
        Timer* timer = m_timers.begin()->second;
        timer->stop();
        timer->m_task();
    }
}

void Loop::runPostedTask()
{
    Task task;
    {
        const std::lock_guard lock(m_mutex);
        if (m_posted.empty())
            return;
        task = std::move(m_posted.front());
        m_posted.pop_front();
    }
    task();
}

int Loop::millisecondsToSleep()
{
    using std::chrono::milliseconds;
    {
        const std::lock_guard lock(m_mutex);
        m_sleepless = !m_posted.empty();
    }
    if (m_sleepless)
        return 1; // poll() makes it 0; a 0 here could not be told from work that libavahi has
    if (m_timers.empty() || m_timersAreHeld)
        return -1;
    const auto wait = std::chrono::ceil<milliseconds>(m_timers.begin()->first - Clock::now()).count();
    return static_cast<int>(std::clamp<milliseconds::rep>(wait, 1, INT_MAX));
}

/// libavahi hands over messages one an iteration, and asks not to sleep while it has more of them.
int Loop::poll(pollfd* descriptors, unsigned count, int timeout)
{
    m_daemonHasMore = timeout == 0;
    return ::poll(descriptors, count, m_sleepless ? 0 : timeout);
}

Timer::Timer(Loop& loop, Loop::Task task)
    : m_loop(loop)
    , m_task(std::move(task))
{
}

Timer::~Timer()
{
    stop();
}

void Timer::start(std::chrono::milliseconds delay)
{
    stop();
    m_place = m_loop.m_timers.emplace(Loop::Clock::now() + delay, this);
    m_active = true;
}

void Timer::stop()
{
    if (m_active)
        m_loop.m_timers.erase(m_place);
    m_active = false;
}

} // namespace vesk::dnssd
