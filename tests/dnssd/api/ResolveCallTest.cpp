// SPDX-License-Identifier: MIT
#include "PlayedNetwork.h"

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;

namespace {

using ResolveCall = PlayedNetwork;

} // namespace

TEST_F(ResolveCall, RefusesTypesWithoutTransport)
{
    for (const char* bad : {"demo", "_demo._foo", "", "_demo", "_x._sub._demo._tcp"})
        EXPECT_EQ(Resolve("a", bad, "local").error(), kDNSServiceErr_BadParam) << bad;
}

TEST_F(ResolveCall, NeedsBothRecordsOfOneInterface)
{
    Resolve resolve("Kitchen", "_demo._tcp", "local");
    backend().come(service("Kitchen", {"hostb", "local"}, 8080, Lan1));
    backend().come(txtOf("Kitchen", "\3a=1", Lan2));
    settle(resolve);
    EXPECT_TRUE(resolve.replies.empty());
    backend().come(txtOf("Kitchen", "\3a=2", Lan1));
    settle(resolve);
    ASSERT_EQ(resolve.replies.size(), 1U);
    const auto& reply = resolve.replies[0];
    EXPECT_EQ(reply.flags, 0U);
    EXPECT_EQ(reply.interface, Lan1);
    EXPECT_EQ(reply.fullname, "Kitchen._demo._tcp.local.");
    EXPECT_EQ(reply.host, "hostb.local.");
    EXPECT_EQ(reply.port, 8080);
    EXPECT_EQ(reply.txt, "\3a=2");
}

TEST_F(ResolveCall, RepliesAgainWhenARecordChanges)
{
    Resolve resolve("Kitchen", "_demo._tcp", "local");
    backend().come(service("Kitchen", {"hostb", "local"}, 8080));
    backend().come(txtOf("Kitchen", "\3a=1"));
    settle(resolve);
    backend().come(txtOf("Kitchen", "\3a=1"), Transport::IPv6);
    settle(resolve);
    EXPECT_EQ(resolve.replies.size(), 1U) << "the same again is no change";

    backend().come(txtOf("Kitchen", "\3a=2"));
    backend().go(txtOf("Kitchen", "\3a=1"));
    backend().go(txtOf("Kitchen", "\3a=1"), Transport::IPv6);
    settle(resolve);
    ASSERT_EQ(resolve.replies.size(), 2U);
    EXPECT_EQ(resolve.replies[1].txt, "\3a=2");

    backend().go(service("Kitchen", {"hostb", "local"}, 8080));
    settle(resolve);
    EXPECT_EQ(resolve.replies.size(), 2U) << "what goes is not reported";
    backend().come(service("Kitchen", {"hostb", "local"}, 8080));
    settle(resolve);
    EXPECT_EQ(resolve.replies.size(), 3U) << "what comes back is";
}

TEST_F(ResolveCall, RepliesOnceToRecordsThatChangeTogether)
{
    Resolve resolve("Kitchen", "_demo._tcp", "local");
    backend().come(service("Kitchen", {"hostb", "local"}, 8080));
    backend().come(txtOf("Kitchen", "\3a=1"));
    settle(resolve);
    ASSERT_EQ(resolve.replies.size(), 1U);
    const auto tellTogether = [&](bool present) {
        for (const Record& record : {service("Kitchen", {"hostb", "local"}, 8081), txtOf("Kitchen", "\3a=2")})
            backend().tell(record, Transport::IPv4, present);
    };
    tellTogether(true);
    settle(resolve);
    ASSERT_EQ(resolve.replies.size(), 2U) << "never a new port with an old text";
    EXPECT_EQ(resolve.replies[1].port, 8081);
    EXPECT_EQ(resolve.replies[1].txt, "\3a=2");
    tellTogether(false);
}

TEST_F(ResolveCall, GivesAFullNameThatCanBeQueriedAsItIs)
{
    for (int byte = 1; byte < 128; ++byte) {
        const std::string name = "x" + std::string(1, static_cast<char>(byte)) + "y";
        Resolve resolve(name.c_str(), "_demo._tcp.", "local.");
        backend().come(service(name, {"my h\xC3\xB6st.x", "local"}, 1));
        backend().come(txtOf(name, std::string(1, '\0')));
        settle(resolve);
        ASSERT_EQ(resolve.replies.size(), 1U) << byte;
        EXPECT_EQ(resolve.replies[0].host, "my\\032h\xC3\xB6st\\.x.local.");
        EXPECT_EQ(parseName(resolve.replies[0].fullname), Labels{name} + DemoType) << byte;

        RecordQuery query(resolve.replies[0].fullname.c_str(), kDNSServiceType_TXT);
        settle(query);
        ASSERT_EQ(query.replies.size(), 1U) << byte;
        EXPECT_EQ(query.replies[0].fullname, resolve.replies[0].fullname);
        backend().go(service(name, {"my h\xC3\xB6st.x", "local"}, 1)); // 'a' and 'A' are one name
        backend().go(txtOf(name, std::string(1, '\0')));
    }
}

TEST_F(ResolveCall, IgnoresBrokenRecords)
{
    Resolve resolve("Kitchen", "_demo._tcp", "local");
    backend().come(txtOf("Kitchen", "\3a=1"));
    Record broken = service("Kitchen", {"hostb", "local"}, 1);
    for (const std::size_t size : {std::size_t(0), std::size_t(5), std::size_t(6), broken.data.size() - 1}) {
        Record cut = broken;
        cut.data.resize(size);
        backend().come(cut);
        backend().go(cut);
    }
    settle(resolve);
    EXPECT_TRUE(resolve.replies.empty());
    backend().come(broken);
    settle(resolve);
    EXPECT_EQ(resolve.replies.size(), 1U);
}
