// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_REGISTEREDRECORDOPERATION_H
#define VESK_DNSSD_REGISTEREDRECORDOPERATION_H

#include "PublishedRecordOperation.h"

namespace vesk::dnssd {

/// A record under a name that the application chose: what becomes of it is told in one reply, and a conflict
/// or failure later in another one.
class RegisteredRecordOperation final : public PublishedRecordOperation
{
public:
    struct RecordCallback
    {
        DNSServiceRegisterRecordReply function; ///< may be null
        DNSServiceRef handle;
        DNSRecordRef record;
        void* context;
    };

    RegisteredRecordOperation(std::shared_ptr<ReplyQueue> replies, PublishedRecord record,
                              const RecordCallback& callback);

    void fail(DNSServiceErrorType error) override;

private:
    bool isWanted() const override { return !m_hasEnded; }
    void onPublished() override;
    void onRefused(BackendError error) override;
    void report(DNSServiceErrorType error) const;

    RecordCallback m_callback;
    bool m_isReported = false;
    bool m_hasEnded = false; ///< by an error: it is not published again
};

} // namespace vesk::dnssd

#endif
