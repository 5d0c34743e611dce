// SPDX-License-Identifier: MIT
#include "PublishedRecordOperation.h"

namespace vesk::dnssd {

PublishedRecordOperation::PublishedRecordOperation(std::shared_ptr<ReplyQueue> replies,
                                                   PublishedRecord record)
    : Operation(std::move(replies))
    , m_record(std::move(record))
{
}

PublishedRecordOperation::~PublishedRecordOperation()
{
    if (m_registry)
        m_registry->leave(*this);
}

void PublishedRecordOperation::start(const OperationContext& context)
{
    m_registry = &context.registrations;
    m_registry->enter(*this);
}

void PublishedRecordOperation::update(std::string data, uint32_t ttl)
{
    if (data == m_record.data && ttl == m_record.ttl)
        return;
    m_record.data = std::move(data);
    m_record.ttl = ttl;
    if (m_publication)
        m_publication->update(m_record.data, m_record.ttl);
}

void PublishedRecordOperation::publishAs(const Labels& name)
{
    withdraw();
    m_record.name = name;
    m_registry->publish(*this);
}

void PublishedRecordOperation::publish(Backend& backend)
{
    if (m_publication || !isWanted())
        return;
    auto result = backend.publishRecord(m_record, *this);
    m_publication = std::move(result.started);
    // A backend that has just gone is no error: the registry has this published when it is back.
    if (!m_publication && result.error != BackendError::Unavailable)
        onRefused(result.error);
}

void PublishedRecordOperation::onNameConflict()
{
    onPublishFailed(BackendError::NameConflict);
}

void PublishedRecordOperation::onPublishFailed(BackendError error)
{
    withdraw();
    onRefused(error);
}

} // namespace vesk::dnssd
