// SPDX-License-Identifier: MIT
#include "IgnoredReplies.h"
#include "PlayedNetwork.h"
#include "StartErrors.h"

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;
using namespace std::chrono_literals;

namespace {

std::string longDomain()
{
    std::string domain;
    while (domain.size() < 250)
        domain += "abcdefghi.";
    return domain;
}

using StartCalls = PlayedNetwork;

} // namespace

TEST_F(StartCalls, RefuseNullStringsAndLeaveTheHandleAsItWas)
{
    DNSServiceRef ref = UnreadRef;
    EXPECT_EQ(DNSServiceBrowse(&ref, 0, 0, nullptr, nullptr, onBrowse, nullptr), kDNSServiceErr_BadParam);
    EXPECT_EQ(DNSServiceResolve(&ref, 0, 0, nullptr, "_demo._tcp", "local", onResolve, nullptr),
              kDNSServiceErr_BadParam);
    EXPECT_EQ(DNSServiceResolve(&ref, 0, 0, "a", nullptr, "local", onResolve, nullptr),
              kDNSServiceErr_BadParam);
    EXPECT_EQ(DNSServiceResolve(&ref, 0, 0, "a", "_demo._tcp", nullptr, onResolve, nullptr),
              kDNSServiceErr_BadParam);
    EXPECT_EQ(DNSServiceGetAddrInfo(&ref, 0, 0, 0, nullptr, onAddress, nullptr), kDNSServiceErr_BadParam);
    EXPECT_EQ(
        DNSServiceRegister(&ref, 0, 0, "a", nullptr, nullptr, nullptr, 80, 0, nullptr, onRegister, nullptr),
        kDNSServiceErr_BadParam);
    EXPECT_EQ(ref, UnreadRef);

    EXPECT_EQ(DNSServiceBrowse(&ref, 0, 0, "demo", nullptr, onBrowse, nullptr), kDNSServiceErr_BadParam);
    EXPECT_EQ(ref, nullptr);
    EXPECT_EQ(DNSServiceBrowse(nullptr, 0, 0, "_demo._tcp", nullptr, onBrowse, nullptr),
              kDNSServiceErr_BadParam);
    EXPECT_EQ(DNSServiceBrowse(&ref, 0, 0, "_demo._tcp", nullptr, nullptr, nullptr), kDNSServiceErr_BadParam);
}

TEST_F(StartCalls, RefuseMalformedDomainsAndHosts)
{
    EXPECT_EQ(browseError("_demo._tcp", "bad..domain"), kDNSServiceErr_BadParam);
    EXPECT_EQ(registerError("_demo._tcp", "bad..dom"), kDNSServiceErr_BadParam);
    EXPECT_EQ(registerError("_demo._tcp", nullptr, "bad..host"), kDNSServiceErr_BadParam);
    EXPECT_EQ(Resolve("a", "_demo._tcp", "").error(), kDNSServiceErr_BadParam);
    EXPECT_EQ(Addresses("a..b.local.").error(), kDNSServiceErr_BadParam);
    EXPECT_EQ(Addresses((std::string(64, 'h') + ".local").c_str()).error(), kDNSServiceErr_BadParam);
    EXPECT_EQ(Addresses("hostb.local", 4).error(), kDNSServiceErr_BadParam);
    EXPECT_EQ(RecordQuery("a..b.local.", 16).error(), kDNSServiceErr_BadParam);
    for (const char* good : {"local", "local.", ""}) {
        EXPECT_EQ(browseError("_demo._tcp", good), kDNSServiceErr_NoError) << good;
        EXPECT_EQ(registerError("_demo._tcp", good), kDNSServiceErr_NoError) << good;
    }
}

TEST_F(StartCalls, RefuseNamesTooLongForTheWire)
{
    EXPECT_EQ(Resolve(std::string(64, 'x').c_str(), "_demo._tcp", "local").error(), kDNSServiceErr_BadParam);
    const std::string domain = longDomain(); // is a name, but leaves no room for another label
    ASSERT_TRUE(parseName(domain));
    EXPECT_EQ(Resolve("Kitchen", "_demo._tcp", domain.c_str()).error(), kDNSServiceErr_BadParam);
    EXPECT_EQ(browseError("_demo._tcp", domain.c_str()), kDNSServiceErr_BadParam);
    EXPECT_EQ(registerError("_demo._tcp", domain.c_str()), kDNSServiceErr_BadParam);
}

TEST_F(StartCalls, RefuseBytesThatAreNoText)
{
    for (const char* bad : {"\xFF\xFE", "a\xC3", "\xED\xA0\x80", "\xC0\xAF", "\xF5\x80\x80\x80"}) {
        EXPECT_EQ(Resolve(bad, "_demo._tcp", "local").error(), kDNSServiceErr_BadParam);
        EXPECT_EQ(Registration(bad, "_demo._tcp", 80).error(), kDNSServiceErr_BadParam);
        EXPECT_EQ(Registration("a", "_demo._tcp", 80, "", 0, bad).error(), kDNSServiceErr_BadParam);
        EXPECT_EQ(Registration("a", "_demo._tcp", 80, "", 0, nullptr, bad).error(), kDNSServiceErr_BadParam);
        EXPECT_EQ(Addresses(bad).error(), kDNSServiceErr_BadParam);
        EXPECT_EQ(RecordQuery(bad, 16).error(), kDNSServiceErr_BadParam);
        EXPECT_EQ(browseError("_demo._tcp", bad), kDNSServiceErr_BadParam);
        EXPECT_EQ(browseError((std::string("_") + bad + "._tcp").c_str()), kDNSServiceErr_BadParam);
    }
}

TEST_F(StartCalls, RefuseLabelsOf64Bytes)
{
    const std::string name = std::string(64, 'x') + "._demo._tcp.local.";
    EXPECT_EQ(RecordQuery(name.c_str(), 16).error(), kDNSServiceErr_BadParam);
    EXPECT_EQ(browseError("_demo._tcp", std::string(64, 'x').c_str()), kDNSServiceErr_BadParam);
}

TEST_F(StartCalls, TakeOrRefuseInterfacesAlike)
{
    const auto errors = [](uint32_t interface) {
        return std::set<DNSServiceErrorType>{
            Browse("_demo._tcp", interface).error(), Resolve("a", "_demo._tcp", "local", interface).error(),
            Addresses("hostx.local", 0, interface).error(), RecordQuery("x.local", 16, 0, interface).error(),
            Registration("a", "_demo._tcp", 80, "", 0, nullptr, nullptr, interface).error()};
    };
    EXPECT_EQ(errors(kDNSServiceInterfaceIndexUnicast),
              std::set<DNSServiceErrorType>{kDNSServiceErr_BadParam});
    for (const uint32_t taken :
         {uint32_t(kDNSServiceInterfaceIndexAny), uint32_t(kDNSServiceInterfaceIndexLocalOnly),
          uint32_t(kDNSServiceInterfaceIndexP2P), NoInterface})
        EXPECT_EQ(errors(taken), std::set<DNSServiceErrorType>{kDNSServiceErr_NoError}) << taken;
}

TEST_F(StartCalls, HandTheirHandleToTheCallback)
{
    const auto onBrowse = [](DNSServiceRef ref, DNSServiceFlags, uint32_t, DNSServiceErrorType, const char*,
                             const char*, const char*,
                             void* seen) { *static_cast<DNSServiceRef*>(seen) = ref; };
    const auto onResolve = [](DNSServiceRef ref, DNSServiceFlags, uint32_t, DNSServiceErrorType, const char*,
                              const char*, uint16_t, uint16_t, const unsigned char*,
                              void* seen) { *static_cast<DNSServiceRef*>(seen) = ref; };
    const auto onAddress = [](DNSServiceRef ref, DNSServiceFlags, uint32_t, DNSServiceErrorType, const char*,
                              const sockaddr*, uint32_t,
                              void* seen) { *static_cast<DNSServiceRef*>(seen) = ref; };
    const auto onRecord = [](DNSServiceRef ref, DNSServiceFlags, uint32_t, DNSServiceErrorType, const char*,
                             uint16_t, uint16_t, uint16_t, const void*, uint32_t,
                             void* seen) { *static_cast<DNSServiceRef*>(seen) = ref; };
    const auto onRegister = [](DNSServiceRef ref, DNSServiceFlags, DNSServiceErrorType, const char*,
                               const char*, const char*,
                               void* seen) { *static_cast<DNSServiceRef*>(seen) = ref; };
    backend().come(instancePointer("Kitchen"));
    backend().come(service("Kitchen", {"hostb", "local"}, 8080));
    backend().come(txtOf("Kitchen", "\3a=1"));
    backend().come(address(kDNSServiceType_A, "abcd"));
    DNSServiceRef refs[5];
    DNSServiceRef seen[5] = {};
    ASSERT_EQ(DNSServiceBrowse(&refs[0], 0, 0, "_demo._tcp", nullptr, onBrowse, &seen[0]), 0);
    ASSERT_EQ(DNSServiceResolve(&refs[1], 0, 0, "Kitchen", "_demo._tcp", "local", onResolve, &seen[1]), 0);
    ASSERT_EQ(DNSServiceGetAddrInfo(&refs[2], 0, 0, 0, "hostb.local", onAddress, &seen[2]), 0);
    ASSERT_EQ(DNSServiceQueryRecord(&refs[3], 0, 0, "Kitchen._demo._tcp.local", 16, 1, onRecord, &seen[3]),
              0);
    ASSERT_EQ(DNSServiceRegister(&refs[4], 0, 0, "Own", "_demo._tcp", nullptr, nullptr, 80, 0, nullptr,
                                 onRegister, &seen[4]),
              0);
    settle();
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(DNSServiceProcessResult(refs[i]), kDNSServiceErr_NoError);
        EXPECT_EQ(seen[i], refs[i]) << i;
        DNSServiceRefDeallocate(refs[i]);
    }
}

TEST_F(StartCalls, StaySilentAboutEmptyNames)
{
    Resolve noName("", "_demo._tcp", "local");
    Addresses noHost("");
    RecordQuery noRecord(nullptr, 16);
    for (Handle* handle : std::vector<Handle*>{&noName, &noHost, &noRecord}) {
        EXPECT_EQ(handle->error(), kDNSServiceErr_NoError);
        settle(*handle);
        EXPECT_FALSE(handle->isReadable());
    }
}

TEST_F(StartCalls, WaitForADaemonThatCannotBeReached)
{
    backend().setReachable(false);
    backend().change(Backend::State::Absent);
    settle();
    Browse browse("_demo._tcp");
    Registration registration("Own", "_demo._tcp", 80);
    Resolve resolve("Kitchen", "_demo._tcp", "local");
    Addresses addresses("hostb.local", kDNSServiceProtocol_IPv4);
    RecordQuery query("Kitchen._demo._tcp.local.", kDNSServiceType_TXT);
    const std::vector<Handle*> handles{&browse, &registration, &resolve, &addresses, &query};
    advance(1min);
    for (const Handle* handle : handles) {
        EXPECT_EQ(handle->error(), kDNSServiceErr_NoError);
        EXPECT_FALSE(handle->isReadable());
    }

    backend().setReachable(true);
    backend().come(instancePointer("Kitchen"));
    backend().come(service("Kitchen", {"hostb", "local"}, 8080));
    backend().come(txtOf("Kitchen", "\3a=1"));
    backend().come(address(kDNSServiceType_A, "abcd"));
    backend().change(Backend::State::Running);
    for (Handle* handle : handles)
        settle(*handle);
    EXPECT_TRUE(browse.has("Kitchen"));
    EXPECT_EQ(registration.replies.size(), 1U);
    EXPECT_EQ(resolve.replies.size(), 1U);
    EXPECT_EQ(addresses.replies.size(), 1U);
    EXPECT_EQ(query.replies.size(), 1U);
}
