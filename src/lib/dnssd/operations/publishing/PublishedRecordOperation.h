// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_PUBLISHEDRECORDOPERATION_H
#define VESK_DNSSD_PUBLISHEDRECORDOPERATION_H

#include "Operation.h"

namespace vesk::dnssd {

/// A record that stays published with its last data, whatever happens to the backend.
class PublishedRecordOperation : public Operation,
                                 protected RegistrationRegistry::Member,
                                 private PublishListener
{
public:
    PublishedRecordOperation(std::shared_ptr<ReplyQueue> replies, PublishedRecord record);
    ~PublishedRecordOperation() override;

    void start(const OperationContext& context) override;

    /// For the application's thread, which knows by it what data may replace the record's.
    uint16_t type() const { return m_record.type; }

    /// Replaces the data, now and for every time it is published again.
    void update(std::string data, uint32_t ttl);

protected:
    /// Whether the record is to be published as soon as the backend can.
    virtual bool isWanted() const = 0;
    /// The backend does not publish it, or no longer.
    virtual void onRefused(BackendError error) = 0;
    void onPublished() override {}

    /// Publishes it under that name from now on.
    void publishAs(const Labels& name);
    void withdraw() { m_publication.reset(); }

private:
    void publish(Backend& backend) override;
    void onBackendLost() override { withdraw(); }
    void onNameConflict() override;
    void onPublishFailed(BackendError error) override;

    PublishedRecord m_record;
    RegistrationRegistry* m_registry = nullptr;
    std::unique_ptr<Backend::RecordPublication> m_publication;
};

} // namespace vesk::dnssd

#endif
