// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_REPLYQUEUE_H
#define VESK_DNSSD_REPLYQUEUE_H

#include "ReplyLine.h"

#include <memory>

namespace vesk::dnssd {

/// The replies of one operation. They wait in a line of its own, or in one with those of other operations, of
/// which any takes the oldest reply.
class ReplyQueue
{
public:
    /// Throws std::system_error when the process has no descriptor left for a line.
    explicit ReplyQueue(std::shared_ptr<ReplyLine> line = std::make_shared<ReplyLine>())
        : m_line(std::move(line))
    {
        m_line->enter(this);
    }
    ~ReplyQueue() { close(); }
    ReplyQueue(const ReplyQueue&) = delete;
    ReplyQueue& operator=(const ReplyQueue&) = delete;

    const std::shared_ptr<ReplyLine>& line() const { return m_line; }

    /// The line's.
    int descriptor() const { return m_line->descriptor(); }

    /// Queues a reply; a closed queue drops it.
    void put(Reply reply) { m_line->put(this, std::move(reply)); }

    /// Takes the oldest reply of the line; waits for one when there is none. Nothing once the queue is
    /// closed.
    std::optional<Delivery> take() { return m_line->take(this); }

    /// The same without waiting: nothing, too, when there is none.
    std::optional<Delivery> takeWaiting() { return m_line->takeWaiting(this); }

    /// Drops the operation's replies, now and later, and wakes the threads that wait. Allocates nothing.
    void close() noexcept { m_line->leave(this); }

private:
    std::shared_ptr<ReplyLine> m_line;
};

} // namespace vesk::dnssd

#endif
