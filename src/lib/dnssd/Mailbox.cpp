// SPDX-License-Identifier: MIT
#include "Mailbox.h"

#include <sys/eventfd.h>
#include <unistd.h>

namespace vesk::dnssd {

Mailbox::Mailbox()
    : m_descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
}

Mailbox::~Mailbox()
{
    close();
}

int Mailbox::descriptor() const
{
    const std::lock_guard lock(m_mutex);
    return m_descriptor;
}

void Mailbox::put(Reply reply)
{
    const std::lock_guard lock(m_mutex);
    if (m_closed)
        return;
    m_replies.push_back(std::move(reply));
    if (m_replies.size() == 1)
        eventfd_write(m_descriptor, 1);
    m_changed.notify_one();
}

std::optional<Mailbox::Delivery> Mailbox::take()
{
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_closed || !m_replies.empty(); });
    if (m_closed)
        return std::nullopt;
    Delivery delivery{std::move(m_replies.front()), 0};
    m_replies.pop_front();
    if (m_replies.empty()) {
        eventfd_t count = 0;
        eventfd_read(m_descriptor, &count);
    } else {
        delivery.moreComing = kDNSServiceFlagsMoreComing;
    }
    return delivery;
}

void Mailbox::close()
{
    std::deque<Reply> dropped;
    const std::lock_guard lock(m_mutex);
    if (m_closed)
        return;
    m_closed = true;
    dropped.swap(m_replies);
    if (m_descriptor >= 0)
        ::close(m_descriptor);
    m_descriptor = -1;
    m_changed.notify_all();
}

} // namespace vesk::dnssd
