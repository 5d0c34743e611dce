// SPDX-License-Identifier: MIT
#include "PollAdapter.h"

#include "EventLoop.h"
#include "Timer.h"

#include <sys/epoll.h>
#include <sys/time.h>

#include <algorithm>
#include <memory>
#include <utility>

using namespace vesk::dnssd;

// poll(2)'s events and epoll's are the same bits.
static_assert(AVAHI_WATCH_IN == int(EPOLLIN) && AVAHI_WATCH_OUT == int(EPOLLOUT) &&
              AVAHI_WATCH_ERR == int(EPOLLERR) && AVAHI_WATCH_HUP == int(EPOLLHUP));

struct AvahiWatch
{
    AvahiWatch(const PollAdapter& adapter, int descriptor, AvahiWatchEvent wanted,
               AvahiWatchCallback callback, void* context)
        : io(adapter.loop(), descriptor, static_cast<uint32_t>(wanted),
             [this, &adapter, callback, context](uint32_t happened) {
                 if ((happened & EPOLLIN) && !adapter.admits(io.descriptor()))
                     return;
                 events = static_cast<AvahiWatchEvent>(happened);
                 callback(this, io.descriptor(), events, context); // may free this watch
             })
    {
    }

    AvahiWatchEvent events{}; ///< that happened last
    IoWatch io;
};

struct AvahiTimeout
{
    AvahiTimeout(EventLoop& loop, AvahiTimeoutCallback callback, void* context)
        : timer(loop, [this, callback, context] { callback(this, context); }) // may free this timeout
    {
    }

    /// `time`: of the day, as libavahi reckons; null: never.
    void update(const timeval* time)
    {
        if (!time) {
            timer.stop();
            return;
        }
        timeval now{};
        gettimeofday(&now, nullptr);
        const std::chrono::seconds seconds(time->tv_sec - now.tv_sec);
        const std::chrono::microseconds rest(time->tv_usec - now.tv_usec);
        timer.start(std::max<std::chrono::microseconds>(seconds + rest, std::chrono::microseconds::zero()));
    }

    Timer timer;
};

namespace {

const PollAdapter& adapterOf(const AvahiPoll* api)
{
    return *static_cast<const PollAdapter*>(api->userdata);
}

/// libavahi knows out-of-memory as null, and no exceptions.
template <typename Made, typename... Arguments>
Made* make(Arguments... arguments)
try {
    return new Made(arguments...);
} catch (const std::bad_alloc&) {
    return nullptr;
}

} // namespace

namespace vesk::dnssd {

PollAdapter::PollAdapter(EventLoop& loop, Admit admit)
    : m_loop(loop)
    , m_admit(std::move(admit))
{
    m_api.userdata = this;
    m_api.watch_new = [](const AvahiPoll* api, int descriptor, AvahiWatchEvent events,
                         AvahiWatchCallback callback, void* context) {
        return make<AvahiWatch>(std::cref(adapterOf(api)), descriptor, events, callback, context);
    };
    m_api.watch_update = [](AvahiWatch* watch, AvahiWatchEvent events) {
        watch->io.setEvents(static_cast<uint32_t>(events));
    };
    m_api.watch_get_events = [](AvahiWatch* watch) { return watch->events; };
    m_api.watch_free = [](AvahiWatch* watch) { delete watch; };
    m_api.timeout_new = [](const AvahiPoll* api, const timeval* time, AvahiTimeoutCallback callback,
                           void* context) {
        auto* timeout = make<AvahiTimeout>(std::ref(adapterOf(api).loop()), callback, context);
        if (timeout)
            timeout->update(time);
        return timeout;
    };
    m_api.timeout_update = [](AvahiTimeout* timeout, const timeval* time) { timeout->update(time); };
    m_api.timeout_free = [](AvahiTimeout* timeout) { delete timeout; };
}

} // namespace vesk::dnssd
