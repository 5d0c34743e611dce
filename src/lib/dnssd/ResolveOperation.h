// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_RESOLVEOPERATION_H
#define VESK_DNSSD_RESOLVEOPERATION_H

#include "Operation.h"
#include "Scope.h"

#include <map>
#include <set>

namespace vesk::dnssd {

/**
 * SRV and TXT record of an instance (RFC 6763 section 5), put together interface by interface. Most callers
 * want one reply: they get it by a glance where that is possible, and only who stays has the records watched.
 */
class ResolveOperation : public Operation, private AnswerListener, private Backend::Glancer
{
public:
    ResolveOperation(std::shared_ptr<Mailbox> mailbox, Labels name, Scope scope,
                     Callback<DNSServiceResolveReply> callback);

    void start(const Rooms& rooms) override;

private:
    /// What is known on one interface. While a record is being replaced there are two; the last one holds.
    struct Found
    {
        std::vector<Record> services;
        std::vector<Record> texts;
        std::string reported; ///< data of the last reply; empty: none since either went
    };
    struct Target
    {
        uint16_t port; ///< in network byte order
        Labels host;
    };

    void answered(const Record& record, bool present, bool cached) override;
    void refused() override;
    void glimpsed(const Glimpse& glimpse) override;
    void glance();
    void watch();
    void reportLater(uint32_t interface);
    void reportRecords(uint32_t interface);
    static std::optional<Target> readTarget(std::string_view wire);
    void report(uint32_t interface, const Labels& name, const Target& target, const std::string& txt);

    Labels m_name;
    Scope m_scope;
    Callback<DNSServiceResolveReply> m_callback;
    std::map<uint32_t, Found> m_found;
    std::set<uint32_t> m_changed; ///< interfaces to report when nothing more has come
    std::shared_ptr<char> m_alive = std::make_shared<char>();
    Loop* m_loop = nullptr;
    Questions* m_questions = nullptr;
    std::unique_ptr<Turns::Turn> m_turn;
    std::unique_ptr<Backend::Asking> m_glance;
    std::optional<Timer> m_watchTimer;
    std::unique_ptr<Questions::Seat> m_serviceSeat;
    std::unique_ptr<Questions::Seat> m_textSeat;
};

} // namespace vesk::dnssd

#endif
