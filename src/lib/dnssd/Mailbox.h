// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_MAILBOX_H
#define VESK_DNSSD_MAILBOX_H

#include "dns_sd.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>

namespace vesk::dnssd {

/// Calls the application's callback, with MoreComing added to the reply's own flags where it is due.
using Reply = std::function<void(DNSServiceFlags moreComing)>;

/**
 * The replies that wait for one handle, and the descriptor that is readable exactly while there are any.
 * Written by the I/O thread, read by the application's threads.
 */
class Mailbox
{
public:
    Mailbox();
    ~Mailbox();
    Mailbox(const Mailbox&) = delete;
    Mailbox& operator=(const Mailbox&) = delete;

    /// -1 when the process has no descriptor left, or once the mailbox is closed.
    int descriptor() const;

    /// Queues a reply; a closed mailbox drops it.
    void put(Reply reply);

    struct Delivery
    {
        Reply reply;
        DNSServiceFlags moreComing;
    };
    /// Takes the oldest reply; waits for one when there is none. Nothing once the mailbox is closed.
    std::optional<Delivery> take();

    /// Drops all replies, now and later, and wakes whoever waits.
    void close();

private:
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Reply> m_replies;
    int m_descriptor;
    bool m_closed = false;
};

} // namespace vesk::dnssd

#endif
