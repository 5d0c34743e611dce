// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_REGISTRATIONOPERATION_H
#define VESK_DNSSD_REGISTRATIONOPERATION_H

#include "ConflictLimiter.h"
#include "Operation.h"
#include "Timer.h"

#include <optional>

#include <atomic>
#include <unordered_set>

namespace vesk::dnssd {

/// A service that stays published under a name of its own, whatever happens to the backend.
class RegistrationOperation final : public Operation,
                                    private RegistrationRegistry::Member,
                                    private PublishListener
{
public:
    enum class OnConflict
    {
        Rename,
        Report
    };

    /// What is published along with the service, under its name.
    class Companion
    {
    public:
        virtual void onServicePublished(const Labels& name, Backend::Publication& service) = 0;
        virtual void onServiceWithdrawn() = 0;

    protected:
        ~Companion() = default;
    };

    /// A service with an empty name gets the host's.
    RegistrationOperation(std::shared_ptr<ReplyQueue> replies, Service service, OnConflict onConflict,
                          Callback<DNSServiceRegisterReply> callback);
    ~RegistrationOperation() override;

    void start(const OperationContext& context) override;
    void fail(DNSServiceErrorType error) override;

    /// Replaces the TXT record, now and for every time it is published again.
    void update(std::string txt);

    /// A companion is told at once that the service is published, if it is.
    void attach(Companion& companion);
    void detach(Companion& companion) { m_companions.erase(&companion); }

    /// Whether the service has been published, be it under another name. May be called by any thread.
    bool hasBeenPublished() const { return m_hasBeenPublished; }

    /// May be called by any thread.
    uint32_t interface() const { return m_service.interface; }

private:
    void publish(Backend& backend) override;
    void onBackendLost() override { withdraw(); }
    void onPublished() override;
    void onNameConflict() override;
    void onPublishFailed(BackendError error) override;

    void withdraw();
    void introduce(Companion& companion) const;
    bool resolveConflict();
    void takeBackReportedName();
    void end(DNSServiceFlags flags, DNSServiceErrorType error);
    void report(Reply::Kind kind, DNSServiceFlags flags, DNSServiceErrorType error,
                const std::string& name) const;

    Service m_service;
    OnConflict m_onConflict;
    Callback<DNSServiceRegisterReply> m_callback;
    RegistrationRegistry* m_registry = nullptr;
    std::unique_ptr<Backend::Publication> m_publication;
    std::string m_reportedName; ///< that the application takes for published; empty: none
    EventLoop* m_loop = nullptr;
    ConflictLimiter m_conflictLimiter;
    std::optional<Timer> m_nextAttempt; ///< while it runs the next name waits to be claimed
    bool m_hasEnded = false;            ///< by an error: it is not published again
    bool m_isPublished = false;         ///< the name has been probed for, and the publication stands
    std::atomic<bool> m_hasBeenPublished{false};
    std::unordered_set<Companion*> m_companions;
};

} // namespace vesk::dnssd

#endif
