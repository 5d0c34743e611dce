// SPDX-License-Identifier: MIT
//
// Records of any bytes, as the daemon hands them over, come and go; what reaches the application is whole.
// Everything runs on one thread: the loop runs only as long as it has something to do.
#include "AddressOperation.h"
#include "BrowseOperation.h"
#include "FakeBackend.h"
#include "InstanceTrials.h"
#include "ManualClock.h"
#include "RecordOperation.h"
#include "RegistrationRegistry.h"
#include "Require.h"
#include "ResolveOperation.h"

#include <fuzzer/FuzzedDataProvider.h>
#include <netinet/in.h>

#include <cstring>

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;

namespace {

const Labels Type{"_demo", "_tcp", "local"};
const Labels Instance{"Kitchen", "_demo", "_tcp", "local"};
const Labels Host{"hostb", "local"};

/// What operations stand on, over a responder that the fuzzer plays.
class World final : private Backend::StateListener
{
public:
    World()
    {
        backend.change(Backend::State::Running);
        settle();
    }

    /// Has done what was put off.
    void settle() { loop.runUntilIdle(); }

private:
    void onBackendState(Backend::State state) override
    {
        queries.onBackendState(state);
        registrations.onBackendState(state);
    }

    ManualClock m_clock;

public:
    EventLoop loop{m_clock};
    FakeBackend backend{loop, *this};
    QueryRegistry queries{loop, backend};
    RegistrationRegistry registrations{loop, backend};
    std::shared_ptr<InstanceAdmission> admission = std::make_shared<InstanceAdmission>();
    InstanceTrials trials{loop, queries, admission};
};

/// Hands over all replies, as an application would.
void drain(ReplyQueue& replies)
{
    replies.put({Reply::Kind::Lasting, {}, [&replies](DNSServiceFlags) { replies.close(); }});
    while (const auto delivery = replies.take())
        delivery->reply.call(delivery->moreComing);
}

void requireName(const char* text)
{
    const auto name = parseName(text);
    require(name.has_value());
    require(toText(*name) == text);
}

void onBrowse(DNSServiceRef, DNSServiceFlags, uint32_t, DNSServiceErrorType error, const char* name,
              const char* type, const char* domain, void*)
{
    require(error == kDNSServiceErr_NoError);
    require(std::strlen(name) <= MaxLabel);
    requireName(type);
    requireName(domain);
    require(parseName(type)->size() == 2);
}

void onResolve(DNSServiceRef, DNSServiceFlags, uint32_t, DNSServiceErrorType error, const char* fullname,
               const char* host, uint16_t, uint16_t txtLen, const unsigned char* txt, void*)
{
    require(error == kDNSServiceErr_NoError);
    requireName(fullname);
    requireName(host);
    TXTRecordGetCount(txtLen, txt);
}

void onAddress(DNSServiceRef, DNSServiceFlags, uint32_t interface, DNSServiceErrorType error,
               const char* host, const sockaddr* address, uint32_t, void*)
{
    require(error == kDNSServiceErr_NoError);
    requireName(host);
    if (address->sa_family == AF_INET6) {
        const auto* ipv6 = reinterpret_cast<const sockaddr_in6*>(address);
        const bool linkLocal = IN6_IS_ADDR_LINKLOCAL(&ipv6->sin6_addr);
        require(ipv6->sin6_scope_id == (linkLocal ? interface : 0) && ipv6->sin6_port == 0);
    } else {
        require(address->sa_family == AF_INET);
    }
}

void onRecord(DNSServiceRef, DNSServiceFlags flags, uint32_t, DNSServiceErrorType error, const char* fullname,
              uint16_t, uint16_t, uint16_t size, const void* data, uint32_t ttl, void*)
{
    require(error == kDNSServiceErr_NoError);
    requireName(fullname);
    require(((flags & kDNSServiceFlagsAdd) != 0) == (ttl != 0));
    require(size == 0 || data != nullptr);
}

std::string randomName(FuzzedDataProvider& input)
{
    Labels name;
    while (name.size() < 4 && input.ConsumeBool()) {
        std::string label = input.ConsumeRandomLengthString(MaxLabel);
        if (label.empty() || !fitsWire(name + Labels{label}))
            break;
        name.push_back(std::move(label));
    }
    return toWire(name);
}

Record randomRecord(FuzzedDataProvider& input)
{
    struct Kind
    {
        uint16_t type;
        const Labels& name;
    };
    static const Kind kinds[] = {{kDNSServiceType_PTR, Type},
                                 {kDNSServiceType_SRV, Instance},
                                 {kDNSServiceType_TXT, Instance},
                                 {kDNSServiceType_A, Host},
                                 {kDNSServiceType_AAAA, Host}};
    const Kind& kind = kinds[input.ConsumeIntegralInRange<std::size_t>(0, 4)];
    Record record{kind.name, kind.type, kDNSServiceClass_IN, input.ConsumeIntegralInRange<uint32_t>(2, 4),
                  ""};
    if (input.ConsumeBool()) // another spelling of the name
        record.name.front().front() = static_cast<char>(record.name.front().front() ^ 0x20);
    switch (input.ConsumeIntegralInRange(0, 2)) {
    case 0:
        record.data = input.ConsumeRandomLengthString(600);
        break;
    case 1: // nearly right
        record.data = (kind.type == kDNSServiceType_SRV ? std::string(6, '\1') : "") + randomName(input) +
                      input.ConsumeRandomLengthString(3);
        break;
    default:
        record.data = input.ConsumeBytesAsString(kind.type == kDNSServiceType_AAAA ? 16 : 4);
    }
    return record;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzedDataProvider input(data, size);
    World world;
    const auto replies = std::make_shared<ReplyQueue>(std::make_shared<ReplyLine>(world.admission));
    const InterfaceScope everywhere{InterfaceScope::Links, 0};

    BrowseOperation browse(replies, Type, everywhere, {onBrowse, nullptr, nullptr});
    ResolveOperation resolve(replies, Instance, everywhere, std::make_shared<PendingResolve>(world.admission),
                             {onResolve, nullptr, nullptr});
    AddressOperation addresses(replies, Host, 0, kDNSServiceProtocol_IPv4 | kDNSServiceProtocol_IPv6,
                               /* timesOut */ false, {onAddress, nullptr, nullptr});
    RecordOperation query(replies, Query{Instance, kDNSServiceType_TXT, kDNSServiceClass_IN, 0, {}},
                          RecordOperation::Options{}, {onRecord, nullptr, nullptr});
    for (Operation* operation : std::initializer_list<Operation*>{&browse, &resolve, &addresses, &query})
        operation->start({world.loop, world.queries, world.registrations, *world.admission});

    std::vector<Record> told;
    while (input.remaining_bytes() > 0 && told.size() < 8) {
        if (input.ConsumeBool())
            world.settle();
        if (!told.empty() && input.ConsumeBool()) {
            world.backend.tell(told[input.ConsumeIntegralInRange<std::size_t>(0, told.size() - 1)],
                               Transport::IPv4, input.ConsumeBool());
            continue;
        }
        told.push_back(randomRecord(input));
        world.backend.tell(told.back(), Transport::IPv4, true);
    }
    world.settle();
    for (const Record& record : told)
        world.backend.tell(record, Transport::IPv4, false);
    world.settle();
    drain(*replies);
    return 0;
}
