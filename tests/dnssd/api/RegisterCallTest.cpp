// SPDX-License-Identifier: MIT
#include "PlayedNetwork.h"
#include "StartErrors.h"

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;

namespace {

using RegisterCall = PlayedNetwork;

} // namespace

TEST_F(RegisterCall, TakesPublishableTypesAlone)
{
    for (const char* bad : {"demo", "_demo", "_demo._foo", "", "_demo._tcp.local", "_a._sub._demo._tcp",
                            "._tcp", "_de mo._tcp", "_d\xC3\xA9mo._tcp", "_-demo._tcp"})
        EXPECT_EQ(registerError(bad), kDNSServiceErr_BadParam) << bad;
    for (const char* good : {"_demo._tcp", "_abcdefghijklmnop._tcp", "_de_mo._tcp", "_123._tcp",
                             "_demo._tcp,_sub", "_demo._tcp,_one,_two"})
        EXPECT_EQ(registerError(good), kDNSServiceErr_NoError) << good;
}

TEST_F(RegisterCall, CutsNamesBetweenCharacters)
{
    struct Case
    {
        std::string given;
        std::string published;
    };
    const std::string two = "\xC3\xA9";
    const std::string three = "\xE2\x82\xAC";
    const std::string four = "\xF0\x9F\x98\x80";
    for (const Case& c :
         {Case{std::string(62, 'q'), std::string(62, 'q')}, Case{std::string(63, 'q'), std::string(63, 'q')},
          Case{std::string(64, 'q'), std::string(63, 'q')},
          Case{std::string(61, 'q') + two, std::string(61, 'q') + two},
          Case{std::string(62, 'q') + two, std::string(62, 'q')},
          Case{std::string(60, 'q') + three, std::string(60, 'q') + three},
          Case{std::string(61, 'q') + three, std::string(61, 'q')},
          Case{std::string(62, 'q') + three, std::string(62, 'q')},
          Case{std::string(59, 'q') + four, std::string(59, 'q') + four},
          Case{std::string(60, 'q') + four, std::string(60, 'q')},
          Case{std::string(62, 'q') + four, std::string(62, 'q')}, Case{"", "hosta"}}) {
        Registration registration(c.given.c_str(), "_demo._tcp", 80);
        settle(registration);
        ASSERT_EQ(registration.replies.size(), 1U);
        EXPECT_EQ(registration.replies[0].name, c.published);
        EXPECT_EQ(registration.replies[0].type, "_demo._tcp.");
        EXPECT_EQ(registration.replies[0].domain, "local.");
        EXPECT_EQ(registration.replies[0].flags, DNSServiceFlags(kDNSServiceFlagsAdd));
    }
}

TEST_F(RegisterCall, PublishesTheSubtypes)
{
    Registration registration("Kitchen", "_demo._tcp,_printer,_colour", 80);
    settle(registration);
    EXPECT_EQ(lastPublished().type, (Labels{"_demo", "_tcp"}));
    EXPECT_EQ(lastPublished().subtypes, (std::vector<std::string>{"_printer", "_colour"}));
}

TEST_F(RegisterCall, PublishesAnEmptyItemWithoutTxtRecord)
{
    Registration registration("Kitchen", "_demo._tcp", 80);
    settle(registration);
    EXPECT_EQ(lastPublished().txt, std::string(1, '\0'));
}

TEST_F(RegisterCall, PublishesAnEmptyItemForNoBytesWhateverThePointer)
{
    DNSServiceRef ref = nullptr;
    ASSERT_EQ(DNSServiceRegister(&ref, 0, 0, "Kitchen", "_demo._tcp", nullptr, nullptr, 80, 0, "", nullptr,
                                 nullptr),
              kDNSServiceErr_NoError)
        << "nor is a callback needed";
    settle();
    EXPECT_EQ(lastPublished().txt, std::string(1, '\0'));
    ASSERT_EQ(DNSServiceUpdateRecord(ref, nullptr, 0, 4, "\3a=1", 0), kDNSServiceErr_NoError);
    ASSERT_EQ(DNSServiceUpdateRecord(ref, nullptr, 0, 0, "", 0), kDNSServiceErr_NoError);
    settle();
    EXPECT_EQ(lastPublished().txt, std::string(1, '\0'));
    EXPECT_EQ(backend().published().size(), 3U);
    DNSServiceRefDeallocate(ref);
}

TEST_F(RegisterCall, TakesHostsAndDomainsInAllTheirForms)
{
    const auto hostOf = [&](const char* host) {
        Registration registration("Kitchen", "_demo._tcp", 80, "", 0, nullptr, host);
        settle(registration);
        return lastPublished().host;
    };
    EXPECT_EQ(hostOf(nullptr), Labels());
    EXPECT_EQ(hostOf(""), Labels());
    EXPECT_EQ(hostOf("other.local."), (Labels{"other", "local"}));
    EXPECT_EQ(hostOf("other.local"), (Labels{"other", "local"}));
    EXPECT_EQ(hostOf("other"), (Labels{"other", "local"}));
    for (const char* domain : {static_cast<const char*>(nullptr), "", "local", "local."}) {
        Registration registration("Kitchen", "_demo._tcp", 80, "", 0, domain);
        settle(registration);
        EXPECT_EQ(lastPublished().domain, Labels{"local"});
    }
}

TEST_F(RegisterCall, ReportsTheTypeAsItWasGiven)
{
    Registration registration("Kitchen", "_DeMo._TCP", 80);
    settle(registration);
    ASSERT_EQ(registration.replies.size(), 1U);
    EXPECT_EQ(registration.replies[0].type, "_DeMo._TCP.");
}

TEST_F(RegisterCall, PublishesAgainWithoutAnotherReplyWhenTheDaemonIsBack)
{
    Registration registration("Kitchen", "_demo._tcp", 80, "\3a=1");
    settle(registration);
    backend().change(Backend::State::Absent);
    registration.update("\3a=2");
    backend().change(Backend::State::Running);
    settle(registration);
    EXPECT_EQ(backend().published().size(), 2U);
    EXPECT_EQ(registration.replies.size(), 1U);
    EXPECT_EQ(lastPublished().name, "Kitchen");
    EXPECT_EQ(lastPublished().txt, "\3a=2");
}
