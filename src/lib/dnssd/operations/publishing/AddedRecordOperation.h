// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_ADDEDRECORDOPERATION_H
#define VESK_DNSSD_ADDEDRECORDOPERATION_H

#include "PublishedRecordOperation.h"
#include "RegistrationOperation.h"

namespace vesk::dnssd {

/**
 * A further record of a registered service: published while the service is, under its name. It is a shared
 * record, as the service has the name to itself already, so that several of one type can stand beside each
 * other. What becomes of it is not reported.
 */
class AddedRecordOperation final : public PublishedRecordOperation, private RegistrationOperation::Companion
{
public:
    AddedRecordOperation(std::shared_ptr<ReplyQueue> replies, std::shared_ptr<RegistrationOperation> service,
                         PublishedRecord record);
    ~AddedRecordOperation() override;

    void start(const OperationContext& context) override;
    void fail(DNSServiceErrorType) override {}

private:
    bool isWanted() const override { return m_isServicePublished; }
    void onRefused(BackendError) override {}
    void onServicePublished(const Labels& name, Backend::Publication& service) override;
    void onServiceWithdrawn() override;

    std::shared_ptr<RegistrationOperation> m_service;
    bool m_isServicePublished = false;
};

} // namespace vesk::dnssd

#endif
