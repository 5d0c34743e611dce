// SPDX-License-Identifier: MIT
//
// Start calls with any bytes as their arguments: each gives a handle or an error, and neither is lost.
#include "Engine.h"
#include "FakeBackend.h"
#include "IgnoredReplies.h"
#include "ProcessEngine.h"
#include "Require.h"
#include "dns_sd.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <future>
#include <memory>
#include <string>

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;

namespace {

/// An argument that may be missing.
class Text
{
public:
    Text(FuzzedDataProvider& input, const char* usual)
    {
        switch (input.ConsumeIntegralInRange(0, 3)) {
        case 0:
            break;
        case 1:
            m_text = std::make_unique<std::string>(usual);
            break;
        default:
            m_text = std::make_unique<std::string>(input.ConsumeRandomLengthString(1100));
        }
    }
    const char* get() const { return m_text ? m_text->c_str() : nullptr; }

private:
    std::unique_ptr<std::string> m_text;
};

DNSServiceErrorType startAny(FuzzedDataProvider& input, DNSServiceRef* ref)
{
    const auto flags = input.ConsumeBool() ? 0 : input.ConsumeIntegral<DNSServiceFlags>();
    const auto interface = input.ConsumeBool() ? 0 : input.ConsumeIntegral<uint32_t>();
    switch (input.ConsumeIntegralInRange(0, 4)) {
    case 0: {
        const Text name(input, "Kitchen"), type(input, "_demo._tcp"), domain(input, "local");
        const Text host(input, "hosta.local.");
        const std::string txt = input.ConsumeRandomLengthString(600);
        return DNSServiceRegister(ref, flags, interface, name.get(), type.get(), domain.get(), host.get(), 80,
                                  static_cast<uint16_t>(txt.size()), txt.data(), onRegister, nullptr);
    }
    case 1: {
        const Text type(input, "_demo._tcp"), domain(input, "local");
        return DNSServiceBrowse(ref, flags, interface, type.get(), domain.get(), onBrowse, nullptr);
    }
    case 2: {
        const Text name(input, "Kitchen"), type(input, "_demo._tcp"), domain(input, "local");
        return DNSServiceResolve(ref, flags, interface, name.get(), type.get(), domain.get(), onResolve,
                                 nullptr);
    }
    case 3: {
        const Text host(input, "hostb.local");
        return DNSServiceGetAddrInfo(ref, flags, interface, input.ConsumeIntegralInRange<uint32_t>(0, 4),
                                     host.get(), onAddress, nullptr);
    }
    default: {
        const Text name(input, "Kitchen._demo._tcp.local.");
        return DNSServiceQueryRecord(ref, flags, interface, name.get(), input.ConsumeIntegral<uint16_t>(),
                                     input.ConsumeIntegralInRange<uint16_t>(0, 2), onRecord, nullptr);
    }
    }
}

/// The library's thread must not fall behind for ever, nor keep what was released.
void letTheThreadCatchUp()
{
    static int runs = 0;
    if (++runs % 256 != 0)
        return;
    std::promise<void> done;
    processEngine()->loop().post([&done] {
        FakeBackend::last().forgetAsked();
        FakeBackend::last().forgetPublished();
        done.set_value();
    });
    done.get_future().wait();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzedDataProvider input(data, size);
    DNSServiceRef ref = nullptr;
    const auto error = startAny(input, &ref);
    require((error == kDNSServiceErr_NoError) == (ref != nullptr));
    require(error == kDNSServiceErr_NoError || error == kDNSServiceErr_BadParam ||
            error == kDNSServiceErr_Invalid || error == kDNSServiceErr_Unsupported);
    if (!ref)
        return 0;
    require(DNSServiceRefSockFD(ref) >= 0);
    const std::string txt = input.ConsumeRemainingBytesAsString();
    DNSServiceUpdateRecord(ref, nullptr, 0, static_cast<uint16_t>(txt.size()), txt.data(), 0);
    DNSServiceRefDeallocate(ref);
    letTheThreadCatchUp();
    return 0;
}
