// SPDX-License-Identifier: MIT
#include "ChildProcess.h"
#include "Connection.h"
#include "PlayedNetwork.h"

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;

namespace {

DNSServiceErrorType add(DNSServiceRef service, DNSRecordRef* ref, const std::string& data,
                        uint16_t type = kDNSServiceType_NULL, uint32_t ttl = 0)
{
    return DNSServiceAddRecord(service, ref, 0, type, static_cast<uint16_t>(data.size()), data.data(), ttl);
}

DNSServiceErrorType update(DNSServiceRef service, DNSRecordRef ref, const std::string& data)
{
    return DNSServiceUpdateRecord(service, ref, 0, static_cast<uint16_t>(data.size()), data.data(), 0);
}

} // namespace

/// A service that is registered, and a record that is added to it.
class AddRecordCall : public PlayedNetwork
{
protected:
    AddRecordCall()
    {
        settle(registration);
        EXPECT_EQ(add(registration.ref(), &ref, "one"), kDNSServiceErr_NoError);
        settle();
    }

    std::vector<std::string> published()
    {
        std::vector<std::string> texts;
        for (const PublishedRecord& record : backend().records())
            texts.push_back(toText(record.name) + ' ' + record.data);
        return texts;
    }

    Registration registration{"Lamp", "_demo._tcp", 80};
    DNSRecordRef ref = nullptr;
};

using Texts = std::vector<std::string>;

TEST_F(AddRecordCall, PublishesTheRecordUnderTheServicesName)
{
    EXPECT_EQ(published(), Texts{"Lamp._demo._tcp.local. one"});
    const PublishedRecord record = backend().records().front();
    EXPECT_EQ(record.type, kDNSServiceType_NULL);
    EXPECT_EQ(record.ttl, 120U);
    EXPECT_EQ(record.claim, PublishedRecord::Claim::Shared);
    EXPECT_FALSE(registration.isReadable());
}

TEST_F(AddRecordCall, TakesTheServicesInterface)
{
    Registration onLoopback("Local", "_demo._tcp", 80, "", 0, nullptr, nullptr, Loopback);
    settle(onLoopback);
    DNSRecordRef other = nullptr;
    EXPECT_EQ(add(onLoopback.ref(), &other, "two"), kDNSServiceErr_NoError);
    settle();
    EXPECT_EQ(backend().records().back().interface, Loopback);
}

TEST_F(AddRecordCall, RefusesBadArguments)
{
    DNSRecordRef other = nullptr;
    EXPECT_EQ(add(nullptr, &other, "x"), kDNSServiceErr_BadParam);
    EXPECT_EQ(add(registration.ref(), nullptr, "x"), kDNSServiceErr_BadParam);
    EXPECT_EQ(add(registration.ref(), &other, "x", kDNSServiceType_HINFO), kDNSServiceErr_BadParam);
    EXPECT_EQ(add(registration.ref(), &other, "x", kDNSServiceType_ANY), kDNSServiceErr_BadParam);
    EXPECT_EQ(add(registration.ref(), &other, "\5ab", kDNSServiceType_TXT), kDNSServiceErr_Invalid);
    EXPECT_EQ(DNSServiceAddRecord(registration.ref(), &other, 0, kDNSServiceType_NULL, 1, nullptr, 0),
              kDNSServiceErr_BadParam);
    const Browse browse("_demo._tcp");
    EXPECT_EQ(add(browse.ref(), &other, "x"), kDNSServiceErr_BadReference);
    EXPECT_EQ(other, nullptr);
}

TEST_F(AddRecordCall, RefusesARecordBeforeTheRegistrationIsAnswered)
{
    const Registration unanswered("Other", "_demo._tcp", 80);
    DNSRecordRef other = nullptr;
    EXPECT_EQ(add(unanswered.ref(), &other, "x"), kDNSServiceErr_BadParam);
    settle();
    EXPECT_EQ(add(unanswered.ref(), &other, "x"), kDNSServiceErr_NoError);
}

TEST_F(AddRecordCall, TextMayLieBesideTheServicesOwn)
{
    EXPECT_TRUE(backend().allowingFurtherTxt().empty());
    DNSRecordRef text = nullptr;
    EXPECT_EQ(add(registration.ref(), &text, "\3a=1", kDNSServiceType_TXT), kDNSServiceErr_NoError);
    settle();
    EXPECT_EQ(backend().allowingFurtherTxt(), std::set<std::string>{"Lamp"});
    EXPECT_EQ(backend().records().size(), 2U);
}

TEST_F(AddRecordCall, UpdateReplacesTheDataOnce)
{
    EXPECT_EQ(update(registration.ref(), ref, "two"), kDNSServiceErr_NoError);
    settle();
    EXPECT_EQ(published(), Texts{"Lamp._demo._tcp.local. two"});
    EXPECT_EQ(update(registration.ref(), ref, "two"), kDNSServiceErr_NoError);
    settle();
    EXPECT_EQ(backend().recordChanges(), 2U);
    EXPECT_EQ(backend().published().size(), 1U) << "the service itself was updated";
}

TEST_F(AddRecordCall, RemovedRecordIsWithdrawnAndUnknownFromThenOn)
{
    EXPECT_EQ(DNSServiceRemoveRecord(registration.ref(), ref, 0), kDNSServiceErr_NoError);
    settle();
    EXPECT_TRUE(backend().records().empty());
    EXPECT_EQ(backend().standing().size(), 1U);
    EXPECT_EQ(DNSServiceRemoveRecord(registration.ref(), ref, 0), kDNSServiceErr_BadReference);
    EXPECT_EQ(update(registration.ref(), ref, "two"), kDNSServiceErr_BadReference);
}

TEST_F(AddRecordCall, RecordFollowsTheServiceThroughARename)
{
    backend().collide("Lamp");
    EXPECT_TRUE(eventually({&registration}, [&] { return registration.replies.size() == 3; }));
    EXPECT_EQ(published(), Texts{"Lamp\\032(2)._demo._tcp.local. one"});
}

TEST_F(AddRecordCall, RecordIsAwayWhileTheServiceIs)
{
    backend().failPublications("Lamp", BackendError::Failed);
    settle();
    EXPECT_TRUE(backend().records().empty());
}

TEST_F(AddRecordCall, RecordIsPublishedAnewWithItsLastDataOnceTheBackendIsBack)
{
    backend().change(Backend::State::Absent);
    settle();
    EXPECT_TRUE(backend().records().empty());
    EXPECT_EQ(update(registration.ref(), ref, "two"), kDNSServiceErr_NoError);
    DNSRecordRef other = nullptr;
    EXPECT_EQ(add(registration.ref(), &other, "new"), kDNSServiceErr_NoError);
    backend().change(Backend::State::Running);
    settle();
    const Texts found = published();
    EXPECT_EQ(std::set<std::string>(found.begin(), found.end()),
              (std::set<std::string>{"Lamp._demo._tcp.local. two", "Lamp._demo._tcp.local. new"}));
    EXPECT_EQ(found.size(), 2U);
}

TEST_F(AddRecordCall, ReleasedServiceTakesItsRecordsAlong)
{
    registration.release();
    settle();
    EXPECT_TRUE(backend().records().empty());
    EXPECT_EQ(backend().standing().size(), 0U);
    EXPECT_FALSE(backend().isInUse());
}

TEST_F(AddRecordCall, WorksForAServiceOnAConnection)
{
    Connection connection;
    DNSServiceRef shared = connection.ref();
    ASSERT_EQ(DNSServiceRegister(&shared, kDNSServiceFlagsShareConnection, 0, "Shared", "_demo._tcp", nullptr,
                                 nullptr, 0x1234, 0, nullptr, nullptr, nullptr),
              kDNSServiceErr_NoError);
    settle();
    DNSRecordRef other = nullptr;
    EXPECT_EQ(add(shared, &other, "x"), kDNSServiceErr_NoError);
    settle();
    EXPECT_EQ(published().back(), "Shared._demo._tcp.local. x");
    connection.release();
    settle();
    EXPECT_EQ(published(), Texts{"Lamp._demo._tcp.local. one"});
}

TEST_F(AddRecordCall, InheritedServiceIsRefused)
{
    EXPECT_TRUE(succeedsInChild([&] {
        DNSRecordRef other = nullptr;
        return add(registration.ref(), &other, "x") == kDNSServiceErr_BadReference &&
               DNSServiceRemoveRecord(registration.ref(), ref, 0) == kDNSServiceErr_BadReference;
    }));
}

TEST_F(AddRecordCall, RecordStaysAwayWithAServiceThatHasEnded)
{
    backend().failPublications("Lamp", BackendError::Failed);
    settle();
    backend().change(Backend::State::Absent);
    backend().change(Backend::State::Running);
    settle();
    EXPECT_TRUE(backend().records().empty());
}
