// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_RECORDOPERATION_H
#define VESK_DNSSD_RECORDOPERATION_H

#include "Operation.h"
#include "Timer.h"

#include <optional>
#include <set>
#include <vector>

namespace vesk::dnssd {

/// The records of one name and type, as they come and go.
class RecordOperation final : public Operation, private RecordListener
{
public:
    struct Options
    {
        bool timesOut = false;       ///< reports once that its time is over
        bool reportsAbsence = false; ///< reports where the name is said not to have the type
    };

    /// The type may be ANY: all types that are in use on a link are queried then.
    RecordOperation(std::shared_ptr<ReplyQueue> replies, Query query, Options options,
                    Callback<DNSServiceQueryRecordReply> callback);

    void start(const OperationContext& context) override;
    void fail(DNSServiceErrorType error) override;

private:
    void onRecord(const RecordEvent& event) override;
    void onQueryFailed(BackendError error) override;

    bool isAskedFor(const Record& record) const;
    void subscribe(const OperationContext& context, uint16_t type);
    void reportRecord(const RecordEvent& event);
    void reportAbsence(const RecordEvent& event);
    void reportWithoutData(DNSServiceFlags flags, uint32_t interface, DNSServiceErrorType error,
                           const std::string& name, uint32_t ttl);

    Query m_query;
    Options m_options;
    Callback<DNSServiceQueryRecordReply> m_callback;
    std::optional<Timer> m_timeout;
    bool m_hasFailed = false;      ///< nothing is reported after that
    std::set<uint32_t> m_absentOn; ///< interfaces whose absence has been reported
    std::vector<std::unique_ptr<QueryRegistry::Subscription>> m_subscriptions;
};

} // namespace vesk::dnssd

#endif
