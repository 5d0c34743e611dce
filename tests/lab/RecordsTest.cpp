// SPDX-License-Identifier: MIT
//
// Single records, as another host sees them and with another host in the way. The program is its own peer on
// that host: "watch NAME TYPE" writes the records that come and go.
#include "Connection.h"
#include "DnssdLab.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <memory>

using namespace vesk::dnssd::tests;

namespace {

using Lines = std::vector<std::string>;
using Errors = std::vector<DNSServiceErrorType>;

const char* const Printer = "printer.local.";
const char* const LampName = "Lamp._demo._tcp.local.";
const std::string First{10, 0, 0, 1};
const std::string Second{10, 0, 0, 2};

std::string program;

std::string onHostb(const std::string& arguments)
{
    return "exec lab-on hostb '" + program + "' " + arguments;
}

std::string hexadecimal(const std::string& data)
{
    std::string text;
    for (const char c : data) {
        for (const unsigned half : {static_cast<uint8_t>(c) / 16U, static_cast<uint8_t>(c) % 16U})
            text += "0123456789abcdef"[half];
    }
    return text;
}

/// What becomes of a name's records, as hostb sees it.
class Watcher
{
public:
    Watcher(const std::string& name, uint16_t type)
        : m_file(std::string(std::getenv("LAB_DIR")) + "/watched-" + std::to_string(++made))
        , m_process(onHostb("watch " + name + ' ' + std::to_string(type)) + " >" + m_file)
    {
    }

    testing::AssertionResult sees(const Lines& wanted, const std::vector<Handle*>& handles)
    {
        if (waitUntil(
                handles, [&] { return lines() == wanted; }, std::chrono::seconds(20)))
            return testing::AssertionSuccess();
        return testing::AssertionFailure() << testing::PrintToString(lines());
    }

    Lines lines() const
    {
        std::ifstream file(m_file);
        Lines all;
        for (std::string line; std::getline(file, line);)
            all.push_back(line);
        return all;
    }

private:
    static inline unsigned made = 0;
    std::string m_file;
    Beside m_process;
};

bool wait(Handle& handle, const std::function<bool()>& condition)
{
    return waitUntil({&handle}, condition);
}

int watch(const char* name, uint16_t type)
{
    RecordQuery query(name, type);
    std::size_t told = 0;
    for (;;) {
        DNSServiceProcessResult(query.ref());
        for (; told < query.replies.size(); ++told) {
            const auto& reply = query.replies[told];
            std::cout << (reply.flags & kDNSServiceFlagsAdd ? "+ " : "- ") << hexadecimal(reply.data)
                      << std::endl;
        }
    }
}

} // namespace

TEST(Records, UniqueRecordIsSeenByAnotherHostUpdatedAndRemoved)
{
    Watcher watcher(Printer, kDNSServiceType_A);
    Connection connection;
    const RegisteredRecord record(connection.ref(), Printer, kDNSServiceType_A, First,
                                  kDNSServiceFlagsUnique);
    ASSERT_TRUE(wait(connection, [&] { return record.isDone(); }));
    EXPECT_EQ(record.errors, Errors{kDNSServiceErr_NoError});
    EXPECT_TRUE(watcher.sees({"+ 0a000001"}, {&connection}));
    EXPECT_EQ(record.update(Second), kDNSServiceErr_NoError);
    EXPECT_TRUE(watcher.sees({"+ 0a000001", "+ 0a000002", "- 0a000001"}, {&connection}));
    EXPECT_EQ(record.remove(), kDNSServiceErr_NoError);
    EXPECT_TRUE(watcher.sees({"+ 0a000001", "+ 0a000002", "- 0a000001", "- 0a000002"}, {&connection}));
    EXPECT_EQ(record.errors.size(), 1U);
}

TEST(Records, SharedRecordsOfOneNameStandBesideEachOther)
{
    Watcher watcher(Printer, kDNSServiceType_A);
    Connection connection;
    const RegisteredRecord one(connection.ref(), Printer, kDNSServiceType_A, First, kDNSServiceFlagsShared);
    ASSERT_TRUE(wait(connection, [&] { return one.isDone(); }));
    EXPECT_TRUE(watcher.sees({"+ 0a000001"}, {&connection}));
    const RegisteredRecord two(connection.ref(), Printer, kDNSServiceType_A, Second, kDNSServiceFlagsShared);
    ASSERT_TRUE(wait(connection, [&] { return two.isDone(); }));
    EXPECT_EQ(two.errors, Errors{kDNSServiceErr_NoError});
    EXPECT_TRUE(watcher.sees({"+ 0a000001", "+ 0a000002"}, {&connection}));
    EXPECT_EQ(one.remove(), kDNSServiceErr_NoError);
    EXPECT_TRUE(watcher.sees({"+ 0a000001", "+ 0a000002", "- 0a000001"}, {&connection}));
}

TEST(Records, KnownUniqueRecordIsSeenByAnotherHost)
{
    Watcher watcher(Printer, kDNSServiceType_A);
    Connection connection;
    const RegisteredRecord record(connection.ref(), Printer, kDNSServiceType_A, First,
                                  kDNSServiceFlagsKnownUnique);
    ASSERT_TRUE(wait(connection, [&] { return record.isDone(); }));
    EXPECT_EQ(record.errors, Errors{kDNSServiceErr_NoError});
    EXPECT_TRUE(watcher.sees({"+ 0a000001"}, {&connection}));
}

TEST(Records, LocalOnlyRecordIsThisHostsAlone)
{
    Watcher watcher(Printer, kDNSServiceType_A);
    Connection connection;
    const RegisteredRecord local(connection.ref(), Printer, kDNSServiceType_A, First, kDNSServiceFlagsUnique,
                                 kDNSServiceInterfaceIndexLocalOnly);
    ASSERT_TRUE(wait(connection, [&] { return local.isDone(); }));
    EXPECT_EQ(local.errors, Errors{kDNSServiceErr_NoError});
    // What the other host sees next is a record that it can see.
    const RegisteredRecord seen(connection.ref(), Printer, kDNSServiceType_A, Second, kDNSServiceFlagsShared,
                                11);
    ASSERT_TRUE(wait(connection, [&] { return seen.isDone(); }));
    EXPECT_TRUE(watcher.sees({"+ 0a000002"}, {&connection}));
}

TEST(Records, NameThatAnotherHostHasIsAConflict)
{
    Beside defender("exec lab-on hostb '" DNSSD_DEFENDER "' 10.99.1.2 Lamp");
    RecordQuery claim(LampName, kDNSServiceType_SRV);
    ASSERT_TRUE(wait(claim, [&] { return !claim.replies.empty(); }));
    Connection connection;
    const std::string service("\0\0\0\0\0\x50\5other\5local", 19);
    const RegisteredRecord record(connection.ref(), LampName, kDNSServiceType_SRV, service,
                                  kDNSServiceFlagsUnique);
    // A daemon that is busy notices late that another one defends the name.
    ASSERT_TRUE(wait(connection, [&] { return record.isDone() && record.errors.back() != 0; }));
    EXPECT_EQ(record.errors.back(), kDNSServiceErr_NameConflict);
    EXPECT_LE(record.errors.size(), 2U);
}

TEST(Records, NameThatThisHostHasIsAConflict)
{
    Connection connection;
    const RegisteredRecord first(connection.ref(), Printer, kDNSServiceType_A, First, kDNSServiceFlagsUnique);
    ASSERT_TRUE(wait(connection, [&] { return first.isDone(); }));
    const RegisteredRecord other(connection.ref(), Printer, kDNSServiceType_A, Second,
                                 kDNSServiceFlagsUnique);
    ASSERT_TRUE(wait(connection, [&] { return other.isDone(); }));
    EXPECT_EQ(other.errors, Errors{kDNSServiceErr_NameConflict});
    const RegisteredRecord same(connection.ref(), Printer, kDNSServiceType_A, First, kDNSServiceFlagsUnique);
    ASSERT_TRUE(wait(connection, [&] { return same.isDone(); }));
    EXPECT_EQ(same.errors, Errors{kDNSServiceErr_NoError});
}

TEST(Records, DataThatIsNoneOfItsTypeIsRefused)
{
    Connection connection;
    const RegisteredRecord record(connection.ref(), Printer, kDNSServiceType_A, "short",
                                  kDNSServiceFlagsUnique);
    ASSERT_TRUE(wait(connection, [&] { return record.isDone(); }));
    EXPECT_EQ(record.errors, Errors{kDNSServiceErr_BadParam});
}

TEST(Records, AddedRecordIsSeenByAnotherHostUpdatedAndRemoved)
{
    Watcher watcher(LampName, kDNSServiceType_NULL);
    Registration service("Lamp", "_demo._tcp", 8080);
    ASSERT_TRUE(wait(service, [&] { return service.isDone(); }));
    DNSRecordRef record = nullptr;
    ASSERT_EQ(DNSServiceAddRecord(service.ref(), &record, 0, kDNSServiceType_NULL, 3, "one", 0),
              kDNSServiceErr_NoError);
    EXPECT_TRUE(watcher.sees({"+ 6f6e65"}, {&service}));
    EXPECT_EQ(DNSServiceUpdateRecord(service.ref(), record, 0, 3, "two", 0), kDNSServiceErr_NoError);
    EXPECT_TRUE(watcher.sees({"+ 6f6e65", "+ 74776f", "- 6f6e65"}, {&service}));
    EXPECT_EQ(DNSServiceRemoveRecord(service.ref(), record, 0), kDNSServiceErr_NoError);
    EXPECT_TRUE(watcher.sees({"+ 6f6e65", "+ 74776f", "- 6f6e65", "- 74776f"}, {&service}));
    EXPECT_EQ(DNSServiceRemoveRecord(service.ref(), record, 0), kDNSServiceErr_BadReference);
}

TEST(Records, AddedTextLiesBesideTheServicesOwn)
{
    Watcher watcher(LampName, kDNSServiceType_TXT);
    Registration service("Lamp", "_demo._tcp", 8080, "\3a=1");
    ASSERT_TRUE(wait(service, [&] { return service.isDone(); }));
    EXPECT_TRUE(watcher.sees({"+ 03613d31"}, {&service}));
    DNSRecordRef text = nullptr;
    ASSERT_EQ(DNSServiceAddRecord(service.ref(), &text, 0, kDNSServiceType_TXT, 4, "\3b=2", 0),
              kDNSServiceErr_NoError);
    EXPECT_TRUE(watcher.sees({"+ 03613d31", "+ 03623d32"}, {&service}));
    EXPECT_EQ(DNSServiceRemoveRecord(service.ref(), text, 0), kDNSServiceErr_NoError);
    // The one that stays is told once more, as it is the one that holds.
    EXPECT_TRUE(watcher.sees({"+ 03613d31", "+ 03623d32", "- 03623d32", "+ 03613d31"}, {&service}));
}

TEST(Records, AddedRecordFollowsItsServiceToAnotherName)
{
    Watcher before(LampName, kDNSServiceType_NULL);
    Registration service("Lamp", "_demo._tcp", 8080);
    ASSERT_TRUE(wait(service, [&] { return service.isDone(); }));
    DNSRecordRef record = nullptr;
    ASSERT_EQ(DNSServiceAddRecord(service.ref(), &record, 0, kDNSServiceType_NULL, 3, "one", 0),
              kDNSServiceErr_NoError);
    EXPECT_TRUE(before.sees({"+ 6f6e65"}, {&service}));
    const Beside defender("exec lab-on hostb '" DNSSD_DEFENDER "' 10.99.1.2 Lamp");
    ASSERT_TRUE(wait(service, [&] { return service.replies.back().name == "Lamp (2)"; }));
    EXPECT_TRUE(before.sees({"+ 6f6e65", "- 6f6e65"}, {&service}));
    Watcher after("'Lamp\\032(2)._demo._tcp.local.'", kDNSServiceType_NULL);
    EXPECT_TRUE(after.sees({"+ 6f6e65"}, {&service}));
}

TEST(Records, DaemonKilledAndStartedHasTheLastDataOfAll)
{
    Connection connection;
    const RegisteredRecord record(connection.ref(), Printer, kDNSServiceType_A, First,
                                  kDNSServiceFlagsUnique);
    Registration service("Lamp", "_demo._tcp", 8080);
    DNSRecordRef added = nullptr;
    ASSERT_TRUE(waitUntil({&connection, &service}, [&] { return record.isDone() && service.isDone(); }));
    ASSERT_EQ(DNSServiceAddRecord(service.ref(), &added, 0, kDNSServiceType_NULL, 3, "one", 0),
              kDNSServiceErr_NoError);
    run("lab-daemon hosta kill");
    EXPECT_EQ(record.update(Second), kDNSServiceErr_NoError);
    EXPECT_EQ(DNSServiceUpdateRecord(service.ref(), added, 0, 3, "two", 0), kDNSServiceErr_NoError);
    run("lab-daemon hosta start");
    Watcher addresses(Printer, kDNSServiceType_A);
    Watcher nulls(LampName, kDNSServiceType_NULL);
    EXPECT_TRUE(waitUntil({&connection, &service}, [&] {
        const Lines addressLines = addresses.lines();
        const Lines nullLines = nulls.lines();
        return !addressLines.empty() && addressLines.back() == "+ 0a000002" && !nullLines.empty() &&
               nullLines.back() == "+ 74776f";
    }));
    EXPECT_EQ(record.errors, Errors{kDNSServiceErr_NoError});
    EXPECT_EQ(service.replies.size(), 1U);
}

TEST(Records, FiveThousandQueriesOnOneConnectionAreAnswered)
{
    Connection connection;
    const RegisteredRecord record(connection.ref(), Printer, kDNSServiceType_A, First,
                                  kDNSServiceFlagsUnique);
    ASSERT_TRUE(wait(connection, [&] { return record.isDone(); }));
    std::vector<std::unique_ptr<ConnectedQuery>> queries;
    for (int i = 0; i < 5000; ++i)
        queries.push_back(std::make_unique<ConnectedQuery>(connection.ref(), Printer, kDNSServiceType_A));
    EXPECT_TRUE(wait(connection, [&] {
        return std::all_of(queries.begin(), queries.end(),
                           [](const auto& query) { return !query->data.empty(); });
    }));
}

int main(int argc, char** argv)
{
    program = argv[0];
    if (argc == 4 && std::strcmp(argv[1], "watch") == 0)
        return watch(argv[2], static_cast<uint16_t>(std::atoi(argv[3])));
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
