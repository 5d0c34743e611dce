// SPDX-License-Identifier: MIT
#include "DnsMessage.h"

#include <gtest/gtest.h>

using namespace vesk::dnssd;
using namespace std::string_literals;

namespace {

const Labels Kitchen{"Kitchen", "_demo", "_tcp", "local"};

/// A response with one question and the records whose bytes are given; the question's name is at 12, "_demo"
/// in it at 20.
std::string response(const std::string& records, char count = 1)
{
    return "\x12\x34\x84\0\0\1\0"s + count + "\0\0\0\0"s + toWire(Kitchen) + "\0\x21\0\1"s + records;
}

std::string srvRecord(const std::string& owner, const std::string& target)
{
    const char size = static_cast<char>(6 + target.size());
    return owner + "\0\x21\x80\1\0\0\0\x78\0"s + size + "\0\0\0\0\x1f\x90"s + target;
}

} // namespace

TEST(DnsMessage, IsAskedWithOneQuestionAndNoKnownAnswers)
{
    EXPECT_EQ(questionMessage(0x1234, {"a", "local"}, 33, 1),
              "\x12\x34\0\0\0\1\0\0\0\0\0\0\1a\5local\0\0\x21\0\1"s);
}

TEST(DnsMessage, OfAResponseIsReadWithNamesUncompressed)
{
    const auto parsed = parseResponse(response(srvRecord("\xC0\x0C"s, "\5hostb\xC0\x1F"s)));
    ASSERT_TRUE(parsed);
    EXPECT_EQ(parsed->id, 0x1234);
    ASSERT_EQ(parsed->records.size(), 1U);
    const ResponseRecord& record = parsed->records[0];
    EXPECT_EQ(record.name, Kitchen);
    EXPECT_EQ(record.type, 33);
    EXPECT_EQ(record.recordClass, 1);
    EXPECT_EQ(record.ttl, 120U);
    EXPECT_EQ(record.data, "\0\0\0\0\x1f\x90\5hostb\5local\0"s);
}

TEST(DnsMessage, OfAResponseHasTheRecordsOfAllSections)
{
    std::string message = response(srvRecord("\xC0\x0C"s, "\0"s) + srvRecord("\xC0\x14"s, "\0"s));
    message[7] = 0;
    message[9] = message[11] = 1;
    const auto parsed = parseResponse(message);
    ASSERT_TRUE(parsed);
    EXPECT_EQ(parsed->records.size(), 2U);
}

TEST(DnsMessage, OfAResponseIsReadAsFarAsItIsWhole)
{
    const std::string whole = response(srvRecord("\xC0\x0C"s, "\0"s) + srvRecord("\xC0\x0C"s, "\0"s), 2);
    for (std::size_t size = 0; size <= whole.size(); ++size) {
        const auto parsed = parseResponse(whole.substr(0, size));
        EXPECT_EQ(parsed.has_value(), size >= 12);
        if (parsed && size == whole.size()) {
            EXPECT_EQ(parsed->records.size(), 2U);
        } else if (parsed) {
            EXPECT_LE(parsed->records.size(), 1U);
        }
    }
}

TEST(DnsMessage, WithPointersInACircleEnds)
{
    for (const std::string& owner : {"\xC0\x29"s, "\xC0\x2A"s, "\1a\xC0\x29"s, "\xFF\xFF"s, "\xC0"s})
        EXPECT_TRUE(parseResponse(response(owner + "\0\1\0\1\0\0\0\x78\0\0"s))->records.empty());
}

TEST(DnsMessage, WithDataThatEndsWithinItsNameIsNotTaken)
{
    std::string message = response("\xC0\x0C\0\x0C\0\1\0\0\0\x78\0\1\5hostb\0"s);
    EXPECT_TRUE(parseResponse(message)->records.empty());
}

TEST(DnsMessage, ThatIsAQuestionOrAnErrorIsNoResponse)
{
    EXPECT_FALSE(parseResponse(questionMessage(1, Kitchen, 33, 1)));
    std::string refused = response("");
    refused[3] = 5;
    EXPECT_FALSE(parseResponse(refused));
}

TEST(DnsMessage, DataOfTheSameNameIsTheSameWhateverItsCase)
{
    EXPECT_TRUE(isSameData(12, "\5HostB\0"s, "\5hostb\0"s));
    EXPECT_FALSE(isSameData(12, "\5hosta\0"s, "\5hostb\0"s));
    EXPECT_FALSE(isSameData(16, "\1A", "\1a"));
}

TEST(DnsMessage, HoldsTheTypesOfItsRecordsAndNotOfItsQuestions)
{
    const std::string two =
        srvRecord("\xC0\x0C"s, toWire(Kitchen)) + "\1a\xC0\x1F\0\5\0\1\0\0\0\x78\0\2\xC0\x0C"s;
    EXPECT_TRUE(holdsRecordOf(5, response(two, 2)));
    EXPECT_TRUE(holdsRecordOf(33, response(two, 2)));
    EXPECT_FALSE(holdsRecordOf(12, response(two, 2)));
    EXPECT_FALSE(holdsRecordOf(33, response("", 0))) << "it is asked for";
    EXPECT_FALSE(holdsRecordOf(5, response(two, 1))) << "what follows is none of its records";
}

TEST(DnsMessage, HoldsNoRecordThatIsCutOff)
{
    const std::string whole = response(srvRecord("\xC0\x0C"s, toWire(Kitchen)));
    const std::size_t afterType = 2 + 4 + 2 + 6 + toWire(Kitchen).size(); // class, TTL, size, data
    const std::size_t typeEnd = whole.size() - afterType;
    for (std::size_t size = 0; size <= whole.size(); ++size)
        EXPECT_EQ(holdsRecordOf(33, whole.substr(0, size)), size >= typeEnd) << size;
}
