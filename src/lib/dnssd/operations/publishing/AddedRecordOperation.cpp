// SPDX-License-Identifier: MIT
#include "AddedRecordOperation.h"

namespace vesk::dnssd {

AddedRecordOperation::AddedRecordOperation(std::shared_ptr<ReplyQueue> replies,
                                           std::shared_ptr<RegistrationOperation> service,
                                           PublishedRecord record)
    : PublishedRecordOperation(std::move(replies), std::move(record))
    , m_service(std::move(service))
{
}

AddedRecordOperation::~AddedRecordOperation()
{
    m_service->detach(*this);
}

void AddedRecordOperation::start(const OperationContext& context)
{
    PublishedRecordOperation::start(context);
    m_service->attach(*this);
}

void AddedRecordOperation::onServicePublished(const Labels& name, Backend::Publication& service)
{
    if (type() == kDNSServiceType_TXT)
        service.allowFurtherTxt();
    m_isServicePublished = true;
    publishAs(name);
}

void AddedRecordOperation::onServiceWithdrawn()
{
    m_isServicePublished = false;
    withdraw();
}

} // namespace vesk::dnssd
