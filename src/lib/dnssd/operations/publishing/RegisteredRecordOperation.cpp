// SPDX-License-Identifier: MIT
#include "RegisteredRecordOperation.h"

#include "ErrorNumber.h"

#include <utility>

namespace vesk::dnssd {

RegisteredRecordOperation::RegisteredRecordOperation(std::shared_ptr<ReplyQueue> replies,
                                                     PublishedRecord record, const RecordCallback& callback)
    : PublishedRecordOperation(std::move(replies), std::move(record))
    , m_callback(callback)
{
}

void RegisteredRecordOperation::onPublished()
{
    if (!std::exchange(m_isReported, true))
        report(kDNSServiceErr_NoError);
}

void RegisteredRecordOperation::onRefused(BackendError error)
{
    fail(errorNumber(error));
}

void RegisteredRecordOperation::fail(DNSServiceErrorType error)
{
    m_hasEnded = true;
    report(error);
}

void RegisteredRecordOperation::report(DNSServiceErrorType error) const
{
    if (!m_callback.function)
        return;
    reply({Reply::Kind::Lasting, {}, [callback = m_callback, error](DNSServiceFlags moreComing) {
               callback.function(callback.handle, callback.record, moreComing, error, callback.context);
           }});
}

} // namespace vesk::dnssd
