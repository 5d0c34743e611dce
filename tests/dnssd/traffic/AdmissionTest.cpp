// SPDX-License-Identifier: MIT
//
// More instances come than the application has descriptors to follow up, or than answer.
#include "ChildProcess.h"
#include "Follower.h"
#include "Traffic.h"
#include "vesk_dnssd.h"

#include <dirent.h>
#include <sys/resource.h>

#include <memory>

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;
using namespace std::chrono_literals;

namespace {

unsigned openDescriptors()
{
    unsigned entries = 0;
    DIR* directory = opendir("/proc/self/fd");
    while (readdir(directory))
        ++entries;
    closedir(directory);
    return entries - 3;
}

/// Leaves the process so many descriptors to open.
class DescriptorsLeft
{
public:
    explicit DescriptorsLeft(unsigned count)
    {
        getrlimit(RLIMIT_NOFILE, &m_before);
        const rlimit lowered{openDescriptors() + count, m_before.rlim_max};
        EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &lowered), 0);
    }
    ~DescriptorsLeft() { setrlimit(RLIMIT_NOFILE, &m_before); }
    DescriptorsLeft(const DescriptorsLeft&) = delete;
    DescriptorsLeft& operator=(const DescriptorsLeft&) = delete;

private:
    rlimit m_before{};
};

class Admission : public Traffic
{
protected:
    Admission() { backend().come(address(kDNSServiceType_A, std::string("\x0a\x00\x00\x01", 4))); }

    void comeNames(const std::string& prefix, unsigned count)
    {
        for (unsigned i = 0; i < count; ++i)
            backend().come(instancePointer(prefix + std::to_string(i)));
    }
    void comeWhole(const std::string& name)
    {
        backend().come(instancePointer(name));
        comeAnswers(name);
    }
    void comeAnswers(const std::string& name)
    {
        backend().come(service(name, {"hostb", "local"}, 8080));
        backend().come(txtOf(name, "\3a=1"));
    }
    void comeServices(unsigned count)
    {
        for (unsigned i = 0; i < count; ++i)
            comeWhole("n" + std::to_string(i));
    }

    /// Has all happen that can before the clock goes on.
    void follow(Follower& follower)
    {
        do
            settle();
        while (follower.process());
    }
    void follow(Follower& follower, std::chrono::milliseconds time)
    {
        for (auto passed = 0ms; passed < time; passed += 50ms) {
            advance(50ms);
            follow(follower);
        }
    }

    static VeskDnssdListing listing()
    {
        VeskDnssdListing listing{};
        uint32_t size = sizeof listing;
        EXPECT_EQ(DNSServiceGetProperty(kVeskDnssdProperty_Listing, &listing, &size), kDNSServiceErr_NoError);
        EXPECT_EQ(size, sizeof listing);
        return listing;
    }
};

} // namespace

TEST_F(Admission, HoldsNothingBackFromAnApplicationThatOnlyBrowses)
{
    if (!CanExhaustDescriptors)
        GTEST_SKIP() << WhyNotExhausted;
    comeNames("n", 500);
    Browse browse("_demo._tcp");
    const DescriptorsLeft left(0);
    settle(browse);
    EXPECT_EQ(browse.events.size(), 500U);
    EXPECT_EQ(resolves(), 0U);
}

TEST_F(Admission, ListsAllThatThereAreDescriptorsForAtOnceAndResolvesEachOnce)
{
    comeServices(300);
    const DescriptorsLeft left(600);
    Follower follower("_demo._tcp");
    follow(follower);
    EXPECT_EQ(follower.listed().size(), 300U);
    EXPECT_EQ(resolves(), 300U);
}

TEST_F(Admission, ListsAsManyAsThereAreDescriptorsForAndTheRestWhenSomeGo)
{
    comeServices(200);
    const DescriptorsLeft left(100);
    Follower follower("_demo._tcp");
    follow(follower, 5s);
    const auto listed = follower.listed();
    EXPECT_GE(listed.size(), 70U);
    EXPECT_LT(listed.size(), 100U);
    EXPECT_EQ(follower.told(), listed.size());

    follow(follower, 60s);
    EXPECT_EQ(follower.listed(), listed) << "they stay the same";
    EXPECT_EQ(follower.removals(), 0U);

    for (auto name = listed.begin(); std::distance(listed.begin(), name) < 30; ++name)
        backend().go(instancePointer(*name));
    follow(follower, 5s);
    EXPECT_EQ(follower.removals(), 30U);
    EXPECT_EQ(follower.listed().size(), listed.size());
    EXPECT_EQ(follower.failedStarts(), 0U);
    EXPECT_EQ(resolves(), listed.size() + 30U) << "what waits for descriptors is not tried";
}

TEST_F(Admission, ListsTheRestWhenTheLimitIsRaised)
{
    comeServices(200);
    auto left = std::make_unique<DescriptorsLeft>(60);
    Follower follower("_demo._tcp");
    follow(follower, 2s);
    EXPECT_LT(follower.listed().size(), 60U);
    left.reset();
    follow(follower, 2s);
    EXPECT_EQ(follower.listed().size(), 200U);
    EXPECT_EQ(resolves(), 200U);
}

TEST_F(Admission, LeavesDescriptorsForRegistrations)
{
    comeServices(200);
    const DescriptorsLeft left(100);
    Follower follower("_demo._tcp");
    follow(follower, 2s);
    std::vector<std::unique_ptr<Registration>> registrations;
    for (int i = 0; i < 8; ++i) {
        registrations.push_back(std::make_unique<Registration>("Own", "_other._tcp", uint16_t(80)));
        EXPECT_EQ(registrations.back()->error(), kDNSServiceErr_NoError);
    }
}

TEST_F(Admission, GivesNamesWithoutAServiceFewDescriptors)
{
    comeNames("forged", 2000);
    const unsigned before = openDescriptors();
    const DescriptorsLeft left(1000);
    Follower follower("_demo._tcp");
    follow(follower, 20s);
    EXPECT_LE(openDescriptors() - before, 70U);
    follower.giveUp();
    follow(follower, 10s);
    EXPECT_LE(openDescriptors() - before, 70U);
}

TEST_F(Admission, ListsAServiceThatComesAfterManyNamesWithoutOne)
{
    comeNames("forged", 2000);
    const DescriptorsLeft left(1000);
    Follower follower("_demo._tcp");
    follow(follower, 10s);
    const std::size_t told = follower.told();
    comeWhole("Kitchen");
    follow(follower, 2500ms);
    EXPECT_EQ(follower.listed(), std::set<std::string>{"Kitchen"});
    EXPECT_EQ(follower.told(), told + 1);
}

TEST_F(Admission, ListsAServiceOfAnotherTypeThatComesAfterManyNamesWithoutOne)
{
    comeNames("forged", 2000);
    const DescriptorsLeft left(1000);
    Follower follower("_demo._tcp");
    Follower other("_other._tcp");
    follow(follower, 5s);
    const Labels type{"_other", "_tcp", "local"};
    const Labels name = Labels{"Kitchen"} + type;
    Record srv = service("Kitchen", {"hostb", "local"}, 8080);
    Record txt = txtOf("Kitchen", "\3a=1");
    srv.name = txt.name = name;
    for (const Record& record : {pointer(type, name), srv, txt})
        backend().come(record);
    for (auto passed = 0ms; passed < 4s; passed += 50ms) {
        follow(follower, 50ms);
        follow(other);
    }
    EXPECT_EQ(other.listed(), std::set<std::string>{"Kitchen"});
}

TEST_F(Admission, TriesNamesWithoutAServiceMoreAndMoreRarely)
{
    comeNames("forged", 100);
    const DescriptorsLeft left(1000);
    Follower follower("_demo._tcp");
    follow(follower, 15s);
    const std::size_t first = resolves();
    EXPECT_EQ(first, 100U) << "each by the application or in its stead";
    follow(follower, 35s);
    const std::size_t second = resolves();
    EXPECT_GT(second, first);
    follow(follower, 30s);
    EXPECT_EQ(resolves(), second);
}

TEST_F(Admission, ListsAnInstanceThatAnswersAtLast)
{
    comeNames("forged", 100);
    const DescriptorsLeft left(1000);
    Follower follower("_demo._tcp");
    follow(follower, 10s);
    ASSERT_FALSE(follower.isTold("forged99"));
    comeAnswers("forged99");
    follow(follower, 35s);
    EXPECT_EQ(follower.listed(), std::set<std::string>{"forged99"});
}

TEST_F(Admission, TriesNothingWhileOthersAreHandedOn)
{
    comeNames("late", 300);
    const DescriptorsLeft left(1000);
    Follower follower("_demo._tcp");
    follow(follower);
    for (unsigned i = 0; i < 50; ++i) {
        comeAnswers("late" + std::to_string(i));
        follow(follower, 100ms);
    }
    EXPECT_EQ(resolves(), follower.told());
}

TEST_F(Admission, IsNotAffectedByResolvesOfNamesThatNobodyBrowses)
{
    std::vector<std::unique_ptr<Resolve>> absent;
    for (int i = 0; i < 80; ++i) {
        const std::string name = "absent" + std::to_string(i);
        absent.push_back(std::make_unique<Resolve>(name.c_str(), "_demo._tcp", "local", Lan1));
    }
    comeServices(30);
    Follower follower("_demo._tcp");
    follow(follower);
    EXPECT_EQ(follower.listed().size(), 30U);
}

TEST_F(Admission, NeverTellsOfAnInstanceThatGoesWhileItWaits)
{
    comeNames("forged", 200);
    const DescriptorsLeft left(1000);
    Follower follower("_demo._tcp");
    follow(follower);
    const std::size_t told = follower.told();
    EXPECT_LT(told, 100U);
    follow(follower, 1s); // the network is asked by now
    for (unsigned i = 100; i < 200; ++i)
        backend().go(instancePointer("forged" + std::to_string(i)));
    follow(follower, 5s);
    EXPECT_EQ(follower.removals(), 0U);
    EXPECT_EQ(follower.told(), told);
    EXPECT_EQ(listing().known, 100U);
}

TEST_F(Admission, HoldsNothingBackOnASharedConnection)
{
    comeNames("forged", 500);
    const DescriptorsLeft left(20);
    DNSServiceRef connection = nullptr;
    ASSERT_EQ(DNSServiceCreateConnection(&connection), kDNSServiceErr_NoError);
    {
        Follower follower("_demo._tcp", connection);
        follow(follower);
        EXPECT_EQ(follower.told(), 500U);
        EXPECT_EQ(follower.failedStarts(), 0U);
    }
    DNSServiceRefDeallocate(connection);
}

TEST_F(Admission, GoesOnAfterTheDaemonWasAway)
{
    comeNames("forged", 200);
    const DescriptorsLeft left(1000);
    Follower follower("_demo._tcp");
    follow(follower, 5s);
    backend().change(Backend::State::Absent);
    follow(follower, 2s);
    backend().change(Backend::State::Running);
    comeWhole("Kitchen");
    follow(follower, 10s);
    EXPECT_EQ(follower.listed(), std::set<std::string>{"Kitchen"});
}

TEST_F(Admission, TriesAtOnceWhatCouldNotBeTriedWithoutADaemon)
{
    comeNames("late", 200);
    const DescriptorsLeft left(1000);
    Follower follower("_demo._tcp");
    follow(follower);
    backend().change(Backend::State::Absent);
    follow(follower, 3s);
    comeAnswers("late150");
    backend().change(Backend::State::Running);
    follow(follower, 10s);
    EXPECT_EQ(follower.listed(), std::set<std::string>{"late150"});
}

TEST_F(Admission, IsToldByAProperty)
{
    EXPECT_EQ(listing().known, 0U);
    comeServices(200);
    const DescriptorsLeft left(100);
    auto follower = std::make_unique<Follower>("_demo._tcp");
    follow(*follower, 5s);
    VeskDnssdListing now = listing();
    EXPECT_EQ(now.listed, follower->listed().size());
    EXPECT_EQ(now.known, 200U);
    EXPECT_EQ(now.silent, 0U);
    rlimit limits{};
    getrlimit(RLIMIT_NOFILE, &limits);
    EXPECT_EQ(now.descriptorLimit, limits.rlim_cur);

    follower.reset();
    settle();
    now = listing();
    EXPECT_EQ(now.listed, 0U);
    EXPECT_EQ(now.known, 0U);
}

TEST_F(Admission, IsToldWithTheNamesThatDoNotAnswer)
{
    comeNames("forged", 100);
    const DescriptorsLeft left(1000);
    Follower follower("_demo._tcp");
    follow(follower, 15s);
    const VeskDnssdListing now = listing();
    EXPECT_EQ(now.listed, follower.told());
    EXPECT_EQ(now.known, 100U);
    EXPECT_EQ(now.silent, 100 - follower.told());
}

TEST_F(Admission, PropertyNeedsItsWholeSize)
{
    VeskDnssdListing listing{};
    uint32_t size = sizeof listing - 1;
    EXPECT_EQ(DNSServiceGetProperty(kVeskDnssdProperty_Listing, &listing, &size), kDNSServiceErr_BadParam);
}
