// SPDX-License-Identifier: MIT
#include "EntryGroup.h"

#include "AvahiError.h"

#include <avahi-common/error.h>

#include <utility>

namespace vesk::dnssd {

EntryGroup::EntryGroup(EventLoop& loop, PublishListener& listener)
    : m_tasks(loop)
    , m_listener(listener)
{
}

void EntryGroup::onState(AvahiEntryGroupState state, int error)
{
    if (state != AVAHI_ENTRY_GROUP_UNCOMMITED && state != AVAHI_ENTRY_GROUP_REGISTERING)
        m_tasks.post([this, state, error] { tell(state, error); });
}

void EntryGroup::whenPublished(Task task)
{
    if (m_isPublished)
        task();
    else
        m_whenPublished = std::move(task);
}

/// The listener may end this object in each of these calls.
void EntryGroup::tell(AvahiEntryGroupState state, int error)
{
    if (state == AVAHI_ENTRY_GROUP_ESTABLISHED)
        tellPublished();
    else if (state == AVAHI_ENTRY_GROUP_COLLISION)
        m_listener.onNameConflict();
    else if (!isConnectionLost(error)) // a responder that has gone has failed no publication
        m_listener.onPublishFailed(error == AVAHI_OK ? BackendError::Failed : toBackendError(error));
}

void EntryGroup::tellPublished()
{
    m_isPublished = true;
    if (const auto task = std::exchange(m_whenPublished, nullptr))
        task();
    m_listener.onPublished();
}

} // namespace vesk::dnssd
