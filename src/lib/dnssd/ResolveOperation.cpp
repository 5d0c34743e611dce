// SPDX-License-Identifier: MIT
#include "ResolveOperation.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cstring>

namespace vesk::dnssd {

using namespace std::chrono_literals;

namespace {

/// When the records are asked for because a glance has shown nothing.
constexpr auto Patience = 300ms;

/// When they are asked for because nobody has released the operation after its first reply.
constexpr auto WatchDelay = 500ms;

} // namespace

ResolveOperation::ResolveOperation(std::shared_ptr<Mailbox> mailbox, Labels name, Scope scope,
                                   Callback<DNSServiceResolveReply> callback)
    : Operation(std::move(mailbox))
    , m_name(std::move(name))
    , m_scope(scope)
    , m_callback(callback)
{
}

void ResolveOperation::start(const Rooms& rooms)
{
    m_loop = &rooms.loop;
    m_questions = &rooms.questions;
    if (m_questions->canGlance(m_name, m_scope.interface))
        m_turn = m_questions->glances().wait([this] { glance(); });
    else
        watch();
}

void ResolveOperation::glance()
{
    m_glance = m_questions->glance(m_name, m_scope.interface, *this);
    if (!m_glance) {
        watch();
        return;
    }
    m_watchTimer.emplace(*m_loop, [this] { watch(); });
    m_watchTimer->start(Patience);
}

void ResolveOperation::glimpsed(const Glimpse& glimpse)
{
    m_turn.reset();
    m_questions->suggest({m_name, kDNSServiceType_TXT, kDNSServiceClass_IN, m_scope.interface, glimpse.txt});
    report(m_scope.interface, m_name, {htons(glimpse.port), glimpse.host}, glimpse.txt);
    m_watchTimer->start(WatchDelay);
}

void ResolveOperation::watch()
{
    m_turn.reset();
    m_glance.reset();
    const auto ask = [&](uint16_t type) {
        return m_questions->ask({m_name, type, kDNSServiceClass_IN, m_scope.interface, {}}, *this);
    };
    m_serviceSeat = ask(kDNSServiceType_SRV);
    m_textSeat = ask(kDNSServiceType_TXT);
}

void ResolveOperation::answered(const Record& record, bool present, bool)
{
    Found& found = m_found[record.interface];
    auto& records = record.type == kDNSServiceType_SRV ? found.services : found.texts;
    if (present) {
        records.push_back(record);
    } else {
        const auto same = [&](const Record& other) { return other.data == record.data; };
        records.erase(std::remove_if(records.begin(), records.end(), same), records.end());
        if (records.empty())
            found.reported.clear();
    }
    reportLater(record.interface);
}

/// Records that change together are told one after the other, and are to be one reply.
void ResolveOperation::reportLater(uint32_t interface)
{
    if (!m_changed.insert(interface).second)
        return;
    m_loop->post([this, interface, alive = std::weak_ptr(m_alive)] {
        if (!alive.expired())
            reportRecords(interface);
    });
}

void ResolveOperation::reportRecords(uint32_t interface)
{
    m_changed.erase(interface);
    const Found& found = m_found[interface];
    if (found.services.empty() || found.texts.empty())
        return;
    const Record& service = found.services.back();
    if (const auto target = readTarget(service.data))
        report(interface, service.name, *target, found.texts.back().data);
}

/// Port and target of an SRV record (RFC 2782), after priority and weight.
std::optional<ResolveOperation::Target> ResolveOperation::readTarget(std::string_view wire)
{
    if (wire.size() < 6)
        return std::nullopt;
    Target target;
    std::memcpy(&target.port, wire.data() + 4, sizeof target.port);
    wire.remove_prefix(6);
    auto host = readWireName(wire);
    if (!host)
        return std::nullopt;
    target.host = std::move(*host);
    return target;
}

void ResolveOperation::report(uint32_t interface, const Labels& name, const Target& target,
                              const std::string& txt)
{
    std::string data(reinterpret_cast<const char*>(&target.port), sizeof target.port);
    data += toWire(target.host) + txt;
    std::string& reported = m_found[interface].reported;
    if (data == reported)
        return;
    reported = std::move(data);
    reply([callback = m_callback, interface = m_scope.reported(interface), fullname = toText(name),
           host = toText(target.host), port = target.port, txt](DNSServiceFlags moreComing) {
        callback.function(callback.handle, moreComing, interface, kDNSServiceErr_NoError, fullname.c_str(),
                          host.c_str(), port, static_cast<uint16_t>(txt.size()),
                          reinterpret_cast<const unsigned char*>(txt.data()), callback.context);
    });
}

void ResolveOperation::refused()
{
    reply([callback = m_callback](DNSServiceFlags moreComing) {
        callback.function(callback.handle, moreComing, 0, kDNSServiceErr_Refused, "", "", 0, 0, nullptr,
                          callback.context);
    });
}

} // namespace vesk::dnssd
