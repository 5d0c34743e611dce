// SPDX-License-Identifier: MIT
#include "ChildProcess.h"
#include "Connection.h"
#include "PlayedNetwork.h"

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;

namespace {

using Errors = std::vector<DNSServiceErrorType>;

const char* const Name = "printer.local.";
const std::string Address{10, 0, 0, 1};
const std::string OtherAddress{10, 0, 0, 2};
constexpr uint32_t NoInterface = 99;

} // namespace

class RegisterRecordCall : public PlayedNetwork
{
protected:
    DNSServiceErrorType errorOf(const char* name, DNSServiceFlags flags, uint32_t interface = 0,
                                uint16_t type = kDNSServiceType_A, const std::string& data = Address)
    {
        const RegisteredRecord record(connection.ref(), name, type, data, flags, interface);
        EXPECT_EQ(record.error() == kDNSServiceErr_NoError, record.ref() != nullptr);
        return record.error();
    }

    Connection connection;
};

TEST_F(RegisterRecordCall, PublishesTheRecordAndRepliesOnceWithoutFlags)
{
    const RegisteredRecord record(connection.ref(), Name, kDNSServiceType_A, Address, kDNSServiceFlagsUnique,
                                  0, 77);
    settle(connection);
    ASSERT_EQ(backend().records().size(), 1U);
    const PublishedRecord published = backend().records().front();
    EXPECT_EQ(published.name, (Labels{"printer", "local"}));
    EXPECT_EQ(published.type, kDNSServiceType_A);
    EXPECT_EQ(published.data, Address);
    EXPECT_EQ(published.ttl, 77U);
    EXPECT_EQ(record.errors, Errors{kDNSServiceErr_NoError});
    EXPECT_EQ(record.flags, std::vector<DNSServiceFlags>{0});
}

TEST_F(RegisterRecordCall, SaysMoreComingWhileOthersWait)
{
    const RegisteredRecord first(connection.ref(), Name, kDNSServiceType_A, Address, kDNSServiceFlagsShared);
    const RegisteredRecord second(connection.ref(), Name, kDNSServiceType_A, OtherAddress,
                                  kDNSServiceFlagsShared);
    settle(connection);
    EXPECT_EQ(first.flags, std::vector<DNSServiceFlags>{kDNSServiceFlagsMoreComing});
    EXPECT_EQ(second.flags, std::vector<DNSServiceFlags>{0});
}

TEST_F(RegisterRecordCall, TakesTheClaimFromTheFlags)
{
    using Claim = PublishedRecord::Claim;
    const auto claimOf = [&](DNSServiceFlags flags, uint32_t interface = 0) {
        const RegisteredRecord record(connection.ref(), Name, kDNSServiceType_A, Address, flags, interface);
        settle(connection);
        const Claim claim = backend().records().back().claim;
        EXPECT_EQ(record.remove(), kDNSServiceErr_NoError);
        settle();
        return claim;
    };
    EXPECT_EQ(claimOf(kDNSServiceFlagsShared), Claim::Shared);
    EXPECT_EQ(claimOf(kDNSServiceFlagsUnique), Claim::Unique);
    EXPECT_EQ(claimOf(kDNSServiceFlagsKnownUnique), Claim::KnownUnique);
    // No other host can have a name that this host keeps to itself: there is nothing to probe.
    EXPECT_EQ(claimOf(kDNSServiceFlagsUnique, kDNSServiceInterfaceIndexLocalOnly), Claim::KnownUnique);
}

TEST_F(RegisterRecordCall, UsualTtlStandsForNone)
{
    const RegisteredRecord record(connection.ref(), Name, kDNSServiceType_A, Address, kDNSServiceFlagsUnique);
    settle();
    EXPECT_EQ(backend().records().front().ttl, 120U);
}

TEST_F(RegisterRecordCall, RefusesBadArguments)
{
    const DNSServiceFlags unique = kDNSServiceFlagsUnique;
    EXPECT_EQ(errorOf(Name, 0), kDNSServiceErr_BadParam);
    EXPECT_EQ(errorOf(Name, unique | kDNSServiceFlagsShared), kDNSServiceErr_BadParam);
    EXPECT_EQ(errorOf(Name, unique, NoInterface), kDNSServiceErr_BadParam);
    EXPECT_EQ(errorOf(Name, unique, kDNSServiceInterfaceIndexUnicast), kDNSServiceErr_BadParam);
    EXPECT_EQ(errorOf(nullptr, unique), kDNSServiceErr_BadParam);
    EXPECT_EQ(errorOf("", unique), kDNSServiceErr_BadParam);
    EXPECT_EQ(errorOf("a..local.", unique), kDNSServiceErr_BadParam);
    EXPECT_EQ(errorOf("\xFF.local.", unique), kDNSServiceErr_BadParam);
    EXPECT_EQ(errorOf(Name, unique, 0, 0), kDNSServiceErr_BadParam);
    EXPECT_EQ(errorOf(Name, unique, 0, kDNSServiceType_ANY), kDNSServiceErr_BadParam);
    EXPECT_EQ(errorOf(Name, unique, 0, kDNSServiceType_TXT, "\5ab"), kDNSServiceErr_Invalid);
    DNSRecordRef ref = nullptr;
    const auto call = [&](DNSServiceRef handle, DNSRecordRef* record, uint16_t recordClass,
                          const void* data) {
        return DNSServiceRegisterRecord(handle, record, unique, 0, Name, kDNSServiceType_A, recordClass, 4,
                                        data, 0, nullptr, nullptr);
    };
    EXPECT_EQ(call(nullptr, &ref, kDNSServiceClass_IN, Address.data()), kDNSServiceErr_BadParam);
    EXPECT_EQ(call(connection.ref(), nullptr, kDNSServiceClass_IN, Address.data()), kDNSServiceErr_BadParam);
    EXPECT_EQ(call(connection.ref(), &ref, kDNSServiceClass_IN, nullptr), kDNSServiceErr_BadParam);
    EXPECT_EQ(call(connection.ref(), &ref, 3, Address.data()), kDNSServiceErr_BadParam);
    const Browse browse("_demo._tcp");
    EXPECT_EQ(call(browse.ref(), &ref, kDNSServiceClass_IN, Address.data()), kDNSServiceErr_BadReference);
    settle();
    EXPECT_TRUE(backend().records().empty());
}

TEST_F(RegisterRecordCall, NameOfThisHostsOwnIsReportedAsAConflict)
{
    backend().takeHere({Name});
    const RegisteredRecord record(connection.ref(), Name, kDNSServiceType_A, Address, kDNSServiceFlagsUnique);
    EXPECT_EQ(record.error(), kDNSServiceErr_NoError);
    settle(connection);
    EXPECT_EQ(record.errors, Errors{kDNSServiceErr_NameConflict});
}

TEST_F(RegisterRecordCall, NameOfAnotherHostIsReportedAsAConflict)
{
    backend().takeElsewhere({Name});
    const RegisteredRecord record(connection.ref(), Name, kDNSServiceType_A, Address, kDNSServiceFlagsUnique);
    settle(connection);
    EXPECT_EQ(record.errors, Errors{kDNSServiceErr_NameConflict});
    EXPECT_TRUE(backend().records().empty());
}

TEST_F(RegisterRecordCall, ConflictFoundLaterIsReportedAndTheRecordStaysAway)
{
    const RegisteredRecord record(connection.ref(), Name, kDNSServiceType_A, Address, kDNSServiceFlagsUnique);
    settle();
    backend().collide(Name);
    settle(connection);
    EXPECT_EQ(record.errors, (Errors{kDNSServiceErr_NoError, kDNSServiceErr_NameConflict}));
    backend().change(Backend::State::Absent);
    backend().change(Backend::State::Running);
    settle(connection);
    EXPECT_TRUE(backend().records().empty());
    EXPECT_EQ(record.errors.size(), 2U);
}

TEST_F(RegisterRecordCall, FailureIsReportedByItsNumber)
{
    const RegisteredRecord record(connection.ref(), Name, kDNSServiceType_A, Address, kDNSServiceFlagsUnique);
    settle();
    backend().failPublications(Name, BackendError::NotPermitted);
    settle(connection);
    EXPECT_EQ(record.errors, (Errors{kDNSServiceErr_NoError, kDNSServiceErr_NotPermitted}));
    backend().failStarts(BackendError::Refused);
    const RegisteredRecord refused(connection.ref(), Name, kDNSServiceType_A, Address,
                                   kDNSServiceFlagsUnique);
    settle(connection);
    EXPECT_EQ(refused.errors, Errors{kDNSServiceErr_Refused});
}

TEST_F(RegisterRecordCall, UpdateReplacesTheDataOnce)
{
    const RegisteredRecord record(connection.ref(), Name, kDNSServiceType_A, Address, kDNSServiceFlagsUnique);
    settle();
    EXPECT_EQ(record.update(OtherAddress), kDNSServiceErr_NoError);
    settle();
    EXPECT_EQ(backend().records().front().data, OtherAddress);
    EXPECT_EQ(backend().recordChanges(), 2U);
    EXPECT_EQ(record.update(OtherAddress), kDNSServiceErr_NoError);
    settle(connection);
    EXPECT_EQ(backend().recordChanges(), 2U);
    EXPECT_EQ(record.errors.size(), 1U);
}

TEST_F(RegisterRecordCall, UpdateIsCheckedLikeTheRecordItself)
{
    const RegisteredRecord text(connection.ref(), Name, kDNSServiceType_TXT, "\3a=1", kDNSServiceFlagsUnique);
    EXPECT_EQ(text.update("\5ab"), kDNSServiceErr_Invalid);
    EXPECT_EQ(DNSServiceUpdateRecord(connection.ref(), text.ref(), 0, 4, nullptr, 0),
              kDNSServiceErr_BadParam);
    EXPECT_EQ(DNSServiceUpdateRecord(connection.ref(), nullptr, 0, 1, "", 0), kDNSServiceErr_BadReference);
    EXPECT_EQ(text.update(""), kDNSServiceErr_NoError);
    settle();
    EXPECT_EQ(backend().records().front().data, std::string(1, '\0'));
}

TEST_F(RegisterRecordCall, RemovedRecordIsWithdrawnAndUnknownFromThenOn)
{
    const RegisteredRecord record(connection.ref(), Name, kDNSServiceType_A, Address, kDNSServiceFlagsUnique);
    settle();
    EXPECT_EQ(DNSServiceRemoveRecord(connection.ref(), nullptr, 0), kDNSServiceErr_BadParam);
    EXPECT_EQ(DNSServiceRemoveRecord(nullptr, record.ref(), 0), kDNSServiceErr_BadParam);
    EXPECT_EQ(record.remove(), kDNSServiceErr_NoError);
    connection.process();
    settle();
    EXPECT_TRUE(backend().records().empty());
    EXPECT_TRUE(record.errors.empty()) << "a reply that waited was handed over";
    EXPECT_EQ(record.remove(), kDNSServiceErr_BadReference);
    EXPECT_EQ(record.update(Address), kDNSServiceErr_BadReference);
}

TEST_F(RegisterRecordCall, RecordOfAnotherConnectionIsUnknown)
{
    const RegisteredRecord record(connection.ref(), Name, kDNSServiceType_A, Address, kDNSServiceFlagsUnique);
    const Connection other;
    EXPECT_EQ(DNSServiceRemoveRecord(other.ref(), record.ref(), 0), kDNSServiceErr_BadReference);
    EXPECT_EQ(DNSServiceUpdateRecord(other.ref(), record.ref(), 0, 4, Address.data(), 0),
              kDNSServiceErr_BadReference);
}

TEST_F(RegisterRecordCall, ReleasedConnectionWithdrawsItsRecords)
{
    const RegisteredRecord record(connection.ref(), Name, kDNSServiceType_A, Address, kDNSServiceFlagsUnique);
    settle();
    connection.release();
    settle();
    EXPECT_TRUE(backend().records().empty());
    EXPECT_FALSE(backend().isInUse());
}

TEST_F(RegisterRecordCall, RecordIsPublishedAnewWithItsLastDataOnceTheBackendIsBack)
{
    const RegisteredRecord record(connection.ref(), Name, kDNSServiceType_A, Address, kDNSServiceFlagsUnique);
    settle(connection);
    backend().change(Backend::State::Absent);
    settle();
    EXPECT_TRUE(backend().records().empty());
    EXPECT_EQ(record.update(OtherAddress), kDNSServiceErr_NoError);
    backend().change(Backend::State::Running);
    settle(connection);
    ASSERT_EQ(backend().records().size(), 1U);
    EXPECT_EQ(backend().records().front().data, OtherAddress);
    EXPECT_EQ(record.errors, Errors{kDNSServiceErr_NoError});
}

TEST_F(RegisterRecordCall, UpdateOfTheTtlAloneHoldsWheneverTheRecordIsPublished)
{
    const RegisteredRecord record(connection.ref(), Name, kDNSServiceType_A, Address, kDNSServiceFlagsUnique);
    settle();
    EXPECT_EQ(DNSServiceUpdateRecord(connection.ref(), record.ref(), 0, uint16_t(Address.size()),
                                     Address.data(), 77),
              kDNSServiceErr_NoError);
    settle();
    ASSERT_EQ(backend().records().size(), 1U);
    EXPECT_EQ(backend().records().front().ttl, 77U);
    backend().change(Backend::State::Absent);
    backend().change(Backend::State::Running);
    settle();
    ASSERT_EQ(backend().records().size(), 1U);
    EXPECT_EQ(backend().records().front().ttl, 77U);
}

TEST_F(RegisterRecordCall, RecordThatMeetsTheLossOfTheBackendWaitsForItsReturn)
{
    backend().failStarts(BackendError::Unavailable);
    const RegisteredRecord record(connection.ref(), Name, kDNSServiceType_A, Address, kDNSServiceFlagsUnique);
    settle(connection);
    EXPECT_EQ(record.errors, Errors{});
    backend().change(Backend::State::Absent);
    settle();
    backend().failStarts(BackendError::None);
    backend().change(Backend::State::Running);
    settle(connection);
    EXPECT_EQ(record.errors, Errors{kDNSServiceErr_NoError});
    EXPECT_EQ(backend().records().size(), 1U);
}

TEST_F(RegisterRecordCall, RecordRegisteredWithoutABackendIsPublishedOnceThereIsOne)
{
    backend().change(Backend::State::Absent);
    settle();
    const RegisteredRecord record(connection.ref(), Name, kDNSServiceType_A, Address, kDNSServiceFlagsUnique);
    settle(connection);
    EXPECT_FALSE(record.isDone());
    backend().change(Backend::State::Running);
    settle(connection);
    EXPECT_EQ(record.errors, Errors{kDNSServiceErr_NoError});
}

TEST_F(RegisterRecordCall, WorksWithoutACallback)
{
    DNSRecordRef ref = nullptr;
    EXPECT_EQ(DNSServiceRegisterRecord(connection.ref(), &ref, kDNSServiceFlagsShared, 0, Name,
                                       kDNSServiceType_A, kDNSServiceClass_IN, 4, Address.data(), 0, nullptr,
                                       nullptr),
              kDNSServiceErr_NoError);
    settle();
    EXPECT_EQ(backend().records().size(), 1U);
    EXPECT_FALSE(connection.isReadable());
}

TEST_F(RegisterRecordCall, InheritedConnectionIsRefused)
{
    const RegisteredRecord record(connection.ref(), Name, kDNSServiceType_A, Address, kDNSServiceFlagsUnique);
    EXPECT_TRUE(succeedsInChild([&] {
        return errorOf(Name, kDNSServiceFlagsUnique) == kDNSServiceErr_BadReference &&
               record.update(OtherAddress) == kDNSServiceErr_BadReference &&
               record.remove() == kDNSServiceErr_BadReference;
    }));
}
