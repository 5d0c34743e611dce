// SPDX-License-Identifier: MIT
//
// A record that an application doubts is asked for past the responder's cache.
#include "Traffic.h"

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;
using namespace std::chrono_literals;

namespace {

const std::string Text = "\3a=1";

class Reconfirm : public Traffic
{
protected:
    Reconfirm()
    {
        comeKitchen(Text);
        settle(text);
        backend().setHostsAnswer(false);
    }

    DNSServiceErrorType reconfirmText(uint32_t interface = 0)
    {
        const auto error =
            DNSServiceReconfirmRecord(0, interface, Kitchen.c_str(), kDNSServiceType_TXT, kDNSServiceClass_IN,
                                      static_cast<uint16_t>(Text.size()), Text.data());
        settle();
        return error;
    }
    DNSServiceErrorType reconfirmInstance()
    {
        const std::string data = toWire(Labels{"Kitchen"} + DemoType);
        const auto error =
            DNSServiceReconfirmRecord(0, 0, "_demo._tcp.local.", kDNSServiceType_PTR, kDNSServiceClass_IN,
                                      static_cast<uint16_t>(data.size()), data.data());
        settle();
        return error;
    }
    std::size_t questions() { return backend().hostQuestions().size(); }
    /// The TXT record's replies so far: "+" and "-".
    std::string told()
    {
        settle(text);
        std::string signs;
        for (const auto& reply : text.replies)
            signs += reply.flags & kDNSServiceFlagsAdd ? '+' : '-';
        return signs;
    }

    RecordQuery text{Kitchen.c_str(), kDNSServiceType_TXT};
};

} // namespace

TEST_F(Reconfirm, ReportsARecordGoneWhenNobodyAnswersWithinEightSeconds)
{
    ASSERT_EQ(reconfirmText(), kDNSServiceErr_NoError);
    ASSERT_EQ(questions(), 1U);
    EXPECT_EQ(backend().hostQuestions()[0].type, kDNSServiceType_TXT);
    EXPECT_EQ(backend().hostQuestions()[0].interface, Lan1);
    advance(7699ms);
    EXPECT_EQ(told(), "+");
    advance(1ms);
    EXPECT_EQ(told(), "+-");
    EXPECT_EQ(text.replies[1].data, Text);
    EXPECT_EQ(text.replies[1].interface, Lan1);
    EXPECT_EQ(questions(), 11U);
}

TEST_F(Reconfirm, ChangesNothingWhenTheLastQuestionIsAnswered)
{
    reconfirmText();
    advance(6999ms);
    backend().setHostsAnswer(true);
    advance(1ms);
    settle();
    EXPECT_EQ(backend().standingHostQuestions(), 0U);
    advance(1min);
    EXPECT_EQ(told(), "+");
    EXPECT_EQ(questions(), 11U);
}

TEST_F(Reconfirm, TakesOtherDataForNoAnswer)
{
    RecordQuery wrong(Kitchen.c_str(), kDNSServiceType_TXT, 0, Lan1);
    settle(wrong);
    reconfirmText();
    backend().go(txtOf("Kitchen", Text));
    backend().come(txtOf("Kitchen", "\3a=2"));
    settle();
    backend().setHostsAnswer(true);
    const auto before = questions();
    advance(2s);
    EXPECT_EQ(questions(), before) << "the record has gone, and no operation wants it any more";
}

TEST_F(Reconfirm, TellsEveryOperationAndLaterOnes)
{
    Browse browse("_demo._tcp", Lan1);
    Browse anywhere("_demo._tcp");
    settle(browse);
    settle(anywhere);
    ASSERT_TRUE(browse.has("Kitchen") && anywhere.has("Kitchen"));
    ASSERT_EQ(reconfirmInstance(), kDNSServiceErr_NoError);
    EXPECT_EQ(backend().hostQuestions().at(0).type, kDNSServiceType_SRV)
        << "every host would answer the browse";
    advance(8s);
    settle(browse);
    settle(anywhere);
    EXPECT_FALSE(browse.has("Kitchen") || anywhere.has("Kitchen"));
    browse.release();
    anywhere.release();
    settle();
    advance(5s);
    Browse later("_demo._tcp", Lan1);
    settle(later);
    advance(1s);
    settle(later);
    EXPECT_FALSE(later.has("Kitchen")) << "the responder has it in its cache all the time";
}

TEST_F(Reconfirm, ReportsARecordAgainWhenALaterQuestionIsAnswered)
{
    reconfirmText();
    advance(8s);
    ASSERT_EQ(told(), "+-");
    backend().setHostsAnswer(true);
    advance(1s);
    EXPECT_EQ(told(), "+-+");
    advance(1min);
    EXPECT_EQ(backend().standingHostQuestions(), 0U);
}

TEST_F(Reconfirm, ReportsARecordAgainWhenTheNetworkBringsIt)
{
    reconfirmText();
    advance(8s);
    backend().come(txtOf("Kitchen", Text), Transport::IPv6);
    EXPECT_EQ(told(), "+-+");
}

TEST_F(Reconfirm, AsksMoreAndMoreRarelyForWhatIsGone)
{
    reconfirmText();
    advance(8s);
    const auto before = questions();
    advance(10min);
    EXPECT_GE(questions() - before, 10U);
    EXPECT_LE(questions() - before, 16U);
}

TEST_F(Reconfirm, AsksNothingMoreWithoutSubscribersAndGoesOnWithTheNext)
{
    reconfirmText();
    advance(8s);
    text.release();
    settle();
    advance(1min);
    const auto before = questions();
    EXPECT_EQ(backend().standingHostQuestions(), 0U);
    advance(10min);
    EXPECT_EQ(questions(), before);
    RecordQuery later(Kitchen.c_str(), kDNSServiceType_TXT);
    settle(later);
    EXPECT_EQ(questions(), before + 1);
    EXPECT_EQ(later.replies.size(), 0U);
    backend().setHostsAnswer(true);
    advance(1s);
    settle(later);
    EXPECT_EQ(later.replies.size(), 1U);
}

TEST_F(Reconfirm, EndsWhenItsSubscribersLeave)
{
    reconfirmText();
    advance(1s);
    text.release();
    settle();
    advance(3s);
    EXPECT_EQ(backend().standingHostQuestions(), 0U);
    RecordQuery later(Kitchen.c_str(), kDNSServiceType_TXT);
    advance(10s);
    settle(later);
    EXPECT_EQ(later.replies.size(), 1U);
}

TEST_F(Reconfirm, OfTheSameRecordIsSharedAndOnAnyInterfaceGoesToAll)
{
    backend().come(txtOf("Kitchen", Text, Lan2));
    ASSERT_EQ(told(), "++");
    reconfirmText();
    reconfirmText();
    EXPECT_EQ(questions(), 2U);
    advance(8s);
    EXPECT_EQ(told(), "++--");
}

TEST_F(Reconfirm, OnOneInterfaceLeavesTheOthersAlone)
{
    backend().come(txtOf("Kitchen", Text, Loopback));
    RecordQuery local(Kitchen.c_str(), kDNSServiceType_TXT, 0, Loopback);
    settle(local);
    ASSERT_EQ(local.replies.size(), 1U);
    reconfirmText(Loopback);
    EXPECT_EQ(questions(), 1U);
    advance(8s);
    settle(local);
    EXPECT_EQ(local.replies.size(), 2U);
    EXPECT_EQ(told(), "+");
}

TEST_F(Reconfirm, OfARecordThatNobodySubscribesToAsksNothing)
{
    EXPECT_EQ(DNSServiceReconfirmRecord(0, 0, "Hall._demo._tcp.local.", kDNSServiceType_TXT,
                                        kDNSServiceClass_IN, 1, "\0"),
              kDNSServiceErr_NoError);
    settle();
    EXPECT_EQ(questions(), 0U);
}

TEST_F(Reconfirm, ThatCannotAskTakesNothingForGone)
{
    backend().setCanAskHosts(false);
    reconfirmText();
    advance(1min);
    EXPECT_EQ(told(), "+");
}

TEST_F(Reconfirm, EndsAfterTheLongestTimeThatARecordLives)
{
    reconfirmText();
    advance(8s);
    for (int minute = 0; minute < 77; ++minute)
        advance(1min);
    EXPECT_EQ(told(), "+-+") << "the responder has it, so that it must have been heard";
    EXPECT_EQ(backend().standingHostQuestions(), 0U);
}

TEST_F(Reconfirm, ChecksItsArguments)
{
    const auto reconfirm = [](uint32_t interface, const char* name, uint16_t size, const void* data) {
        return DNSServiceReconfirmRecord(0, interface, name, kDNSServiceType_A, kDNSServiceClass_IN, size,
                                         data);
    };
    EXPECT_EQ(reconfirm(0, nullptr, 4, "abcd"), kDNSServiceErr_BadParam);
    EXPECT_EQ(reconfirm(0, "", 4, "abcd"), kDNSServiceErr_BadParam);
    EXPECT_EQ(reconfirm(0, "a..b", 4, "abcd"), kDNSServiceErr_BadParam);
    EXPECT_EQ(reconfirm(0, "a.local.", 0, "abcd"), kDNSServiceErr_BadParam);
    EXPECT_EQ(reconfirm(0, "a.local.", 4, nullptr), kDNSServiceErr_BadParam);
    EXPECT_EQ(reconfirm(99, "a.local.", 4, "abcd"), kDNSServiceErr_BadParam);
    EXPECT_EQ(reconfirm(kDNSServiceInterfaceIndexUnicast, "a.local.", 4, "abcd"), kDNSServiceErr_BadParam);
    EXPECT_EQ(reconfirm(0, "a.local.", 4, "abcd"), kDNSServiceErr_NoError);
}
