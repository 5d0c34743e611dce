// SPDX-License-Identifier: MIT
//
// What becomes of operations that the daemon had started and cannot go on with.
#include "PlayedNetwork.h"

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;
using namespace std::chrono_literals;

namespace {

using Failure = PlayedNetwork;

template <typename Replies>
void expectRefusalAlone(const Replies& replies)
{
    ASSERT_EQ(replies.size(), 1U);
    EXPECT_EQ(replies[0].error, kDNSServiceErr_Refused);
}

/// After its first reply a registration has told that its name is gone, and then the error.
void expectNameTakenBackAndThen(DNSServiceErrorType error, const Registration& registration)
{
    ASSERT_EQ(registration.replies.size(), 3U);
    const auto& gone = registration.replies[1];
    EXPECT_EQ(gone.flags, DNSServiceFlags(kDNSServiceFlagsMoreComing));
    EXPECT_EQ(gone.name, "Kitchen");
    EXPECT_EQ(gone.error, kDNSServiceErr_NoError);
    const auto& end = registration.replies[2];
    EXPECT_EQ(end.flags, 0U);
    EXPECT_EQ(end.name, "Kitchen");
    EXPECT_EQ(end.error, error);
}

} // namespace

TEST_F(Failure, OfAQueryIsToldOnceToEachSubscriber)
{
    const Labels kitchen = Labels{"Kitchen"} + DemoType;
    RecordQuery first("Kitchen._demo._tcp.local.", kDNSServiceType_TXT);
    RecordQuery second("Kitchen._demo._tcp.local.", kDNSServiceType_TXT);
    Browse browse("_demo._tcp");
    Resolve resolve("Kitchen", "_demo._tcp", "local");
    settle();
    backend().failQueries(kitchen, BackendError::Failed);
    backend().failQueries(DemoType, BackendError::Failed);
    settle(first);
    settle(second);
    settle(browse);
    settle(resolve);
    ASSERT_EQ(first.replies.size(), 1U);
    EXPECT_EQ(first.replies[0].error, kDNSServiceErr_Unknown);
    ASSERT_EQ(second.replies.size(), 1U);
    EXPECT_EQ(second.replies[0].error, kDNSServiceErr_Unknown);
    ASSERT_EQ(browse.events.size(), 1U);
    EXPECT_EQ(browse.events[0].error, kDNSServiceErr_Unknown);
    ASSERT_EQ(resolve.replies.size(), 1U);
    EXPECT_EQ(resolve.replies[0].error, kDNSServiceErr_Unknown);
    EXPECT_EQ(backend().queries(), 0U);
}

TEST_F(Failure, OfAQueryLeavesOthersAlone)
{
    RecordQuery text("Kitchen._demo._tcp.local.", kDNSServiceType_TXT);
    Browse browse("_demo._tcp");
    settle();
    backend().failQueries(DemoType, BackendError::Failed);
    backend().come(txtOf("Kitchen", "\3a=1"));
    settle(text);
    ASSERT_EQ(text.replies.size(), 1U);
    EXPECT_EQ(text.replies[0].error, kDNSServiceErr_NoError);
}

TEST_F(Failure, OfOneQueryOfSeveralIsTheLastThatTheOperationTells)
{
    const Labels host{"hostb", "local"};
    RecordQuery any("hostb.local.", kDNSServiceType_ANY, kDNSServiceFlagsTimeout);
    Addresses addresses("hostb.local", kDNSServiceProtocol_IPv4 | kDNSServiceProtocol_IPv6, 0,
                        kDNSServiceFlagsTimeout);
    settle();
    backend().failQueries(host, BackendError::Refused);
    settle();
    advance(1min);
    const Addresses others("hostb.local"); // asks anew
    settle();
    backend().come(address(kDNSServiceType_A, {10, 1, 1, 2}));
    settle(any);
    settle(addresses);
    expectRefusalAlone(any.replies);
    expectRefusalAlone(addresses.replies);
}

TEST_F(Failure, AtTheStartIsTheLastThatAnOperationTells)
{
    backend().failStarts(BackendError::Refused);
    RecordQuery any("hostb.local.", kDNSServiceType_ANY, kDNSServiceFlagsTimeout);
    Addresses addresses("hostb.local", 0, 0, kDNSServiceFlagsTimeout);
    settle();
    advance(1min);
    settle(any);
    settle(addresses);
    expectRefusalAlone(any.replies);
    expectRefusalAlone(addresses.replies);
}

TEST_F(Failure, OfAResolveDropsTheAnswerThatWasAboutToBeTold)
{
    Resolve resolve("Kitchen", "_demo._tcp", "local");
    settle();
    backend().come(service("Kitchen", {"hostb", "local"}, 8080));
    backend().come(txtOf("Kitchen", "\3a=1"));
    backend().failQueries(Labels{"Kitchen"} + DemoType, BackendError::Failed);
    settle(resolve);
    ASSERT_EQ(resolve.replies.size(), 1U);
    EXPECT_EQ(resolve.replies[0].error, kDNSServiceErr_Unknown);
}

TEST_F(Failure, OfAPublicationTakesTheNameBackAndIsFinal)
{
    Registration registration("Kitchen", "_demo._tcp", 80);
    settle(registration);
    backend().failPublications("Kitchen", BackendError::Failed);
    settle(registration);
    expectNameTakenBackAndThen(kDNSServiceErr_Unknown, registration);

    backend().forgetPublished();
    backend().change(Backend::State::Absent);
    backend().change(Backend::State::Running);
    advance(1min);
    settle(registration);
    EXPECT_EQ(registration.replies.size(), 3U);
    EXPECT_TRUE(backend().published().empty());
}

TEST_F(Failure, OfARegistrationWhenTheBackendIsBackTakesTheNameBackAndIsFinal)
{
    Registration registration("Kitchen", "_demo._tcp", 80);
    settle(registration);
    backend().change(Backend::State::Absent);
    settle();
    backend().failStarts(BackendError::Refused);
    backend().change(Backend::State::Running);
    settle(registration);
    expectNameTakenBackAndThen(kDNSServiceErr_Refused, registration);
}
