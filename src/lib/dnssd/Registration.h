// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_REGISTRATION_H
#define VESK_DNSSD_REGISTRATION_H

#include "Operation.h"
#include "Registrations.h"

namespace vesk::dnssd {

/// A service that stays published under a name nobody else has, whatever happens to the daemon.
class Registration : public Operation, private Backend::Publisher
{
public:
    enum class OnConflict
    {
        Rename,
        Report
    };

    /// A service with an empty name gets the host's.
    Registration(std::shared_ptr<Mailbox> mailbox, Service service, OnConflict onConflict,
                 Callback<DNSServiceRegisterReply> callback);
    ~Registration() override;

    void start(const Rooms& rooms) override;

    /// Replaces the TXT record, now and for every time it is published again.
    void update(std::string txt);

    /// Called whenever the backend can publish.
    void publish();
    /// Called when the backend cannot any more.
    void withdraw() { m_publication.reset(); }

private:
    void published() override;
    void collided() override;
    bool resolveConflict();
    void report(DNSServiceFlags flags, DNSServiceErrorType error, const std::string& name) const;

    Service m_service;
    OnConflict m_onConflict;
    Callback<DNSServiceRegisterReply> m_callback;
    Registrations* m_registrations = nullptr;
    std::unique_ptr<Backend::Publication> m_publication;
    std::string m_announced; ///< the name the application knows of; empty: none
    bool m_failed = false;
};

} // namespace vesk::dnssd

#endif
