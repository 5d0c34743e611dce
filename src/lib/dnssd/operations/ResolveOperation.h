// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_RESOLVEOPERATION_H
#define VESK_DNSSD_RESOLVEOPERATION_H

#include "InterfaceScope.h"
#include "Operation.h"
#include "OwnedTasks.h"
#include "SrvData.h"
#include "Timer.h"

#include <map>
#include <optional>
#include <set>

namespace vesk::dnssd {

/**
 * SRV and TXT record of an instance (RFC 6763 section 5), put together interface by interface. Most callers
 * want one reply: a browsed instance is resolved once, and only for an operation that stays are the records
 * watched.
 */
class ResolveOperation final : public Operation, private RecordListener, private ResolveListener
{
public:
    /// `pending`: null when it takes no descriptor.
    ResolveOperation(std::shared_ptr<ReplyQueue> replies, Labels name, InterfaceScope scope,
                     std::shared_ptr<PendingResolve> pending, Callback<DNSServiceResolveReply> callback);

    void start(const OperationContext& context) override;
    void fail(DNSServiceErrorType error) override;

private:
    /// What is known on one interface. While a record is being replaced there are two; the last one holds.
    struct Found
    {
        std::vector<Record> services;
        std::vector<Record> texts;
        std::string reported; ///< data of the last reply; empty: none since either went
    };

    void onRecord(const RecordEvent& event) override;
    void onQueryFailed(BackendError error) override;
    void onResolved(const ResolvedService& service) override;
    void onResolveFailed() override;
    void resolveOnce();
    void watch();
    void reportLater(uint32_t interface);
    void reportRecords(uint32_t interface);
    void report(uint32_t interface, const Labels& name, const SrvData& service, const std::string& txt);

    Labels m_name;
    InterfaceScope m_scope;
    std::shared_ptr<PendingResolve> m_pending; ///< of a browsed instance, until the first answer
    Callback<DNSServiceResolveReply> m_callback;
    std::map<uint32_t, Found> m_found;
    std::set<uint32_t> m_changed; ///< interfaces to report when nothing more has come
    bool m_hasFailed = false;
    EventLoop* m_loop = nullptr;
    QueryRegistry* m_queries = nullptr;
    std::optional<OwnedTasks> m_tasks;
    std::unique_ptr<ResolveLimiter::Permit> m_permit;
    std::unique_ptr<Backend::ActiveResolve> m_resolve;
    std::optional<Timer> m_watchTimer;
    std::unique_ptr<QueryRegistry::Subscription> m_services;
    std::unique_ptr<QueryRegistry::Subscription> m_texts;
};

} // namespace vesk::dnssd

#endif
