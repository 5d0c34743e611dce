// SPDX-License-Identifier: MIT
//
// Records of any bytes, as the daemon hands them over, come and go; what reaches the application is whole.
// Everything runs on one thread: the loop runs only as long as it has something to do.
#include "AddressOperation.h"
#include "BrowseOperation.h"
#include "FakeBackend.h"
#include "RecordOperation.h"
#include "Registrations.h"
#include "Require.h"
#include "ResolveOperation.h"

#include <fuzzer/FuzzedDataProvider.h>
#include <netinet/in.h>

#include <cstring>

using namespace vesk::dnssd;

namespace {

const Labels Type{"_demo", "_tcp", "local"};
const Labels Instance{"Kitchen", "_demo", "_tcp", "local"};
const Labels Host{"hostb", "local"};

struct World final : Backend::StateListener
{
    void backendChanged(Backend::State) override {}

    Loop loop;
    FakeBackend backend{loop, *this};
    Questions questions{loop};
    Registrations registrations{loop};
};

World& world()
{
    static World* const made = [] {
        auto* fresh = new World;
        fresh->questions.setBackend(fresh->backend);
        fresh->backend.assume(Backend::State::Running);
        return fresh;
    }();
    return *made;
}

/// Has done what was put off.
void settle()
{
    world().loop.quit();
    world().loop.run();
}

/// Hands over all replies, as an application would.
void drain(Mailbox& mailbox)
{
    mailbox.put([&mailbox](DNSServiceFlags) { mailbox.close(); });
    while (const auto delivery = mailbox.take())
        delivery->reply(delivery->moreComing);
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
    World& all = world();
    const auto mailbox = std::make_shared<Mailbox>();
    const Scope everywhere{Scope::Links, 0};

    BrowseOperation browse(mailbox, Type, everywhere, {onBrowse, nullptr, nullptr});
    ResolveOperation resolve(mailbox, Instance, everywhere, {onResolve, nullptr, nullptr});
    AddressOperation addresses(mailbox, Host, 0, kDNSServiceProtocol_IPv4 | kDNSServiceProtocol_IPv6,
                               {onAddress, nullptr, nullptr});
    RecordOperation query(mailbox, Query{Instance, kDNSServiceType_TXT, kDNSServiceClass_IN, 0, {}},
                          {onRecord, nullptr, nullptr});
    for (Operation* operation : std::initializer_list<Operation*>{&browse, &resolve, &addresses, &query})
        operation->start({all.loop, all.questions, all.registrations});

    std::vector<Record> told;
    while (input.remaining_bytes() > 0 && told.size() < 8) {
        if (input.ConsumeBool())
            settle();
        if (!told.empty() && input.ConsumeBool()) {
            all.backend.tell(told[input.ConsumeIntegralInRange<std::size_t>(0, told.size() - 1)],
                             Transport::IPv4, input.ConsumeBool());
            continue;
        }
        told.push_back(randomRecord(input));
        all.backend.tell(told.back(), Transport::IPv4, true);
    }
    settle();
    for (const Record& record : told) // the questions outlive this run: leave them as they were
        all.backend.tell(record, Transport::IPv4, false);
    settle();
    drain(*mailbox);
    return 0;
}
