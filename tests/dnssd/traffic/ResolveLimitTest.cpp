// SPDX-License-Identifier: MIT
//
// Fifty instances are resolved at a time.
#include "Traffic.h"

#include <memory>

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;
using namespace std::chrono_literals;

namespace {

class ResolveLimit : public Traffic
{
protected:
    enum class Known
    {
        Name,
        Whole
    };
    using Resolves = std::vector<std::unique_ptr<Resolve>>;

    /// Resolves of instances that are all seen by browsing.
    Resolves resolveMany(unsigned count, Known known)
    {
        for (unsigned i = 0; i < count; ++i) {
            const std::string name = "n" + std::to_string(i);
            backend().come(instancePointer(name));
            if (known == Known::Whole) {
                backend().come(service(name, {"hostb", "local"}, 8080));
                backend().come(txtOf(name, "\3a=1"));
            }
        }
        settle(m_browse);
        Resolves started;
        for (unsigned i = 0; i < count; ++i)
            started.push_back(
                std::make_unique<Resolve>(("n" + std::to_string(i)).c_str(), "_demo._tcp", "local", Lan1));
        settle();
        return started;
    }

private:
    Browse m_browse{"_demo._tcp", Lan1};
};

} // namespace

TEST_F(ResolveLimit, LetsTheNextResolveBeginAfterAnAnswer)
{
    const auto started = resolveMany(120, Known::Whole);
    for (const auto& resolve : started) {
        resolve->process();
        EXPECT_EQ(resolve->replies.size(), 1U);
    }
    EXPECT_EQ(resolves(), 120U);
    EXPECT_EQ(askedCount(kDNSServiceType_SRV), 0U);
}

TEST_F(ResolveLimit, LetsFiftyBeUnderWay)
{
    auto started = resolveMany(120, Known::Name);
    EXPECT_EQ(resolves(), 50U);

    started.erase(started.begin() + 60, started.begin() + 70); // they wait
    settle();
    EXPECT_EQ(resolves(), 50U);
    started.erase(started.begin(), started.begin() + 5);
    settle();
    EXPECT_EQ(resolves(), 55U);
}

TEST_F(ResolveLimit, DoesNotWaitForResolvesWithoutAnswer)
{
    const auto started = resolveMany(120, Known::Name);
    advance(49ms);
    EXPECT_EQ(resolves(), 50U);
    advance(1ms);
    EXPECT_EQ(resolves(), 100U);
    advance(49ms);
    EXPECT_EQ(resolves(), 100U);
    advance(1ms);
    EXPECT_EQ(resolves(), 120U);
}

TEST_F(ResolveLimit, QueriesInstancesWithoutAnswer)
{
    const auto started = resolveMany(120, Known::Name);
    advance(299ms);
    EXPECT_EQ(askedCount(kDNSServiceType_SRV), 0U);
    advance(1ms);
    EXPECT_EQ(askedCount(kDNSServiceType_SRV), 50U);
    advance(50ms);
    EXPECT_EQ(askedCount(kDNSServiceType_SRV), 100U);
    advance(50ms);
    EXPECT_EQ(askedCount(kDNSServiceType_SRV), 120U);
}

TEST_F(ResolveLimit, QueriesInstancesThatWentWhileTheyWaited)
{
    const auto started = resolveMany(60, Known::Name);
    EXPECT_EQ(resolves(), 50U);
    backend().go(instancePointer("n59"));
    settle();
    EXPECT_EQ(askedCount(kDNSServiceType_SRV), 0U);
    advance(50ms);
    EXPECT_EQ(resolves(), 59U);
    ASSERT_EQ(askedCount(kDNSServiceType_SRV), 1U);
    EXPECT_EQ(asked(kDNSServiceType_SRV)[0].name.front(), "n59");
    advance(300ms);
    EXPECT_EQ(askedCount(kDNSServiceType_SRV), 60U);
}

TEST_F(ResolveLimit, IsThatOfTheBackendThatIsThere)
{
    backend().change(Backend::State::Absent);
    settle();
    QueryPacing pacing;
    pacing.resolvesAtOnce = 70;
    backend().setPacing(pacing);
    backend().change(Backend::State::Running);
    const auto started = resolveMany(120, Known::Name);
    EXPECT_EQ(resolves(), 70U);
}
