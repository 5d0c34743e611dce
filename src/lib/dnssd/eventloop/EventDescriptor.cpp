// SPDX-License-Identifier: MIT
#include "EventDescriptor.h"

#include <sys/eventfd.h>

#include <cerrno>
#include <system_error>

namespace vesk::dnssd {

EventDescriptor::EventDescriptor()
    : m_descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    if (!m_descriptor.isValid())
        throw std::system_error(errno, std::generic_category(), "eventfd");
}

void EventDescriptor::set() const
{
    eventfd_write(get(), 1);
}

void EventDescriptor::clear() const
{
    eventfd_t count = 0;
    eventfd_read(get(), &count);
}

} // namespace vesk::dnssd
