// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_BROWSEOPERATION_H
#define VESK_DNSSD_BROWSEOPERATION_H

#include "InterfaceScope.h"
#include "Operation.h"

#include <unordered_map>

namespace vesk::dnssd {

/// The PTR records of a type, as instances that come and go (RFC 6763 section 4).
class BrowseOperation final : public Operation, private RecordListener
{
public:
    BrowseOperation(std::shared_ptr<ReplyQueue> replies, Labels type, InterfaceScope scope,
                    Callback<DNSServiceBrowseReply> callback);
    ~BrowseOperation() override;

    void start(const OperationContext& context) override;
    void fail(DNSServiceErrorType error) override;

private:
    void onRecord(const RecordEvent& event) override;
    void onQueryFailed(BackendError error) override;
    bool changesTheList(const std::string& subject, bool isPresent);
    bool listsInstances() const;

    Labels m_type;
    InterfaceScope m_scope;
    Callback<DNSServiceBrowseReply> m_callback;
    /// How many instances there are of each that the application knows: those whose names differ only after a
    /// zero byte are one in a C string.
    std::unordered_map<std::string, unsigned> m_listed;
    InstanceAdmission* m_admission = nullptr; ///< once it has begun, if it lists instances
    std::unique_ptr<QueryRegistry::Subscription> m_subscription;
};

} // namespace vesk::dnssd

#endif
