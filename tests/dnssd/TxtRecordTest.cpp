// SPDX-License-Identifier: MIT
#include <dns_sd.h>

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string>

namespace {

class TxtRecord : public testing::Test
{
protected:
    TxtRecord() { TXTRecordCreate(&record, 0, nullptr); }
    ~TxtRecord() override { TXTRecordDeallocate(&record); }

    DNSServiceErrorType set(const char* key, const std::string& value)
    {
        return TXTRecordSetValue(&record, key, static_cast<uint8_t>(value.size()), value.data());
    }
    DNSServiceErrorType setBare(const char* key) { return TXTRecordSetValue(&record, key, 0, nullptr); }
    std::string bytes() const
    {
        return {static_cast<const char*>(TXTRecordGetBytesPtr(&record)), TXTRecordGetLength(&record)};
    }

    TXTRecordRef record;
};

struct Item
{
    DNSServiceErrorType error = kDNSServiceErr_NoError;
    std::string key = "untouched";
    std::string value = "untouched";
    bool hasValue = false;
};

Item itemAt(const std::string& txt, uint16_t index, uint16_t keyRoom = 256)
{
    std::array<char, 256> key{"untouched"};
    uint8_t length = 9;
    const void* value = "untouched";
    Item item;
    item.error = TXTRecordGetItemAtIndex(static_cast<uint16_t>(txt.size()), txt.data(), index, keyRoom,
                                         key.data(), &length, &value);
    item.key = key.data();
    item.hasValue = value != nullptr;
    item.value = value ? std::string(static_cast<const char*>(value), length) : std::string();
    return item;
}

uint16_t count(const std::string& txt)
{
    return TXTRecordGetCount(static_cast<uint16_t>(txt.size()), txt.data());
}

} // namespace

TEST_F(TxtRecord, IsEmptyWithoutBytesWhenCreated)
{
    EXPECT_EQ(TXTRecordGetLength(&record), 0);
    EXPECT_EQ(TXTRecordGetBytesPtr(&record), nullptr);
}

TEST_F(TxtRecord, WritesKeyEqualsValue)
{
    EXPECT_EQ(set("a", "1"), kDNSServiceErr_NoError);
    EXPECT_EQ(bytes(), "\3a=1");
}

TEST_F(TxtRecord, TellsBareKeyFromEmptyValue)
{
    EXPECT_EQ(setBare("bare"), kDNSServiceErr_NoError);
    EXPECT_EQ(set("empty", ""), kDNSServiceErr_NoError);
    EXPECT_EQ(bytes(), "\4bare\6empty=");
}

TEST_F(TxtRecord, MovesReplacedKeyToTheEnd)
{
    set("a", "1");
    set("b", "2");
    set("a", "3");
    EXPECT_EQ(bytes(), "\3b=2\3a=3");
}

TEST_F(TxtRecord, ComparesKeysWithoutCaseAndKeepsTheNewSpelling)
{
    set("a", "1");
    set("b", "2");
    set("A", "3");
    EXPECT_EQ(bytes(), "\3b=2\3A=3");
    EXPECT_EQ(TXTRecordRemoveValue(&record, "B"), kDNSServiceErr_NoError);
    EXPECT_EQ(bytes(), "\3A=3");
}

TEST_F(TxtRecord, RefusesKeysThatAreNoPrintableAsciiOrHoldEquals)
{
    set("a", "1");
    for (const char* key : {"", "a=b", "tab\t", "\x7F", "\xC3\xA4", "="})
        EXPECT_EQ(set(key, "x"), kDNSServiceErr_Invalid) << key;
    EXPECT_EQ(bytes(), "\3a=1");
    EXPECT_EQ(set("with space", "x"), kDNSServiceErr_NoError);
}

TEST_F(TxtRecord, HoldsItemsOf254BytesAndNoMore)
{
    EXPECT_EQ(set("k", std::string(252, 'v')), kDNSServiceErr_NoError);
    EXPECT_EQ(TXTRecordGetLength(&record), 255);
    EXPECT_EQ(set("k", std::string(253, 'v')), kDNSServiceErr_Invalid);
    EXPECT_EQ(setBare(std::string(255, 'b').c_str()), kDNSServiceErr_Invalid);
    EXPECT_EQ(TXTRecordGetLength(&record), 255);
    EXPECT_EQ(setBare(std::string(254, 'b').c_str()), kDNSServiceErr_NoError);
    EXPECT_EQ(TXTRecordGetLength(&record), 510);
}

TEST_F(TxtRecord, StopsBefore65535Bytes)
{
    int keys = 0;
    DNSServiceErrorType error = kDNSServiceErr_NoError;
    while (error == kDNSServiceErr_NoError && keys < 1000)
        error = set(("key" + std::to_string(1000 + keys++)).c_str(), std::string(197, 'v'));
    EXPECT_EQ(error, kDNSServiceErr_Invalid);
    EXPECT_EQ(TXTRecordGetLength(&record), 65535 / 206 * 206);
    EXPECT_EQ(set("key1000", std::string(197, 'w')), kDNSServiceErr_NoError) << "a replacement fits still";
}

TEST_F(TxtRecord, TakesValueFromItself)
{
    set("a", "first");
    const char* inside = static_cast<const char*>(TXTRecordGetBytesPtr(&record)) + 3;
    EXPECT_EQ(TXTRecordSetValue(&record, "a", 5, inside), kDNSServiceErr_NoError);
    EXPECT_EQ(bytes(), "\7a=first");
}

TEST_F(TxtRecord, SaysWhenKeyToRemoveIsAbsent)
{
    set("a", "1");
    EXPECT_EQ(TXTRecordRemoveValue(&record, "b"), kDNSServiceErr_NoSuchKey);
    EXPECT_EQ(TXTRecordRemoveValue(&record, ""), kDNSServiceErr_NoSuchKey);
    EXPECT_EQ(bytes(), "\3a=1");
}

TEST_F(TxtRecord, MayBeDeallocatedTwice)
{
    set("a", "1");
    TXTRecordDeallocate(&record);
    TXTRecordDeallocate(&record);
    EXPECT_EQ(TXTRecordGetLength(&record), 0);
}

TEST(TxtRecordRef, AllZeroIsUsable)
{
    TXTRecordRef record;
    std::memset(&record, 0, sizeof record);
    EXPECT_EQ(TXTRecordSetValue(&record, "a", 1, "1"), kDNSServiceErr_NoError);
    EXPECT_EQ(TXTRecordGetLength(&record), 4);
    TXTRecordDeallocate(&record);
}

TEST(TxtRecordRef, OutgrowsTheCallersBuffer)
{
    std::array<char, 5> buffer{};
    TXTRecordRef record;
    TXTRecordCreate(&record, sizeof buffer, buffer.data());
    TXTRecordSetValue(&record, "a", 1, "1");
    EXPECT_EQ(TXTRecordGetBytesPtr(&record), buffer.data());
    TXTRecordSetValue(&record, "b", 1, "2");
    EXPECT_NE(TXTRecordGetBytesPtr(&record), buffer.data());
    EXPECT_EQ(std::string(static_cast<const char*>(TXTRecordGetBytesPtr(&record)), 8), "\3a=1\3b=2");
    TXTRecordDeallocate(&record);
}

TEST(TxtItem, SplitsAtTheFirstEquals)
{
    const Item item = itemAt("\5v=a=b", 0);
    EXPECT_EQ(item.error, kDNSServiceErr_NoError);
    EXPECT_EQ(item.key, "v");
    EXPECT_EQ(item.value, "a=b");
}

TEST(TxtItem, LeavesOutputsUntouchedPastTheEnd)
{
    const Item item = itemAt("\3a=1", 1);
    EXPECT_EQ(item.error, kDNSServiceErr_Invalid);
    EXPECT_EQ(item.key, "untouched");
    EXPECT_EQ(item.value, "untouched");
    EXPECT_EQ(itemAt("", 0).error, kDNSServiceErr_Invalid);
}

TEST(TxtItem, CountsZeroByteAsOneItemWithoutKey)
{
    const std::string txt(1, '\0');
    EXPECT_EQ(count(txt), 1);
    const Item item = itemAt(txt, 0);
    EXPECT_EQ(item.error, kDNSServiceErr_NoError);
    EXPECT_EQ(item.key, "");
    EXPECT_FALSE(item.hasValue);
}

TEST(TxtItem, MayHaveAnEmptyKey)
{
    const Item item = itemAt("\3=ab", 0);
    EXPECT_EQ(item.key, "");
    EXPECT_EQ(item.value, "ab");
}

TEST(TxtItem, NeedsRoomForTheKeyAndItsZero)
{
    EXPECT_EQ(itemAt("\3abc", 0, 3).error, kDNSServiceErr_NoMemory);
    EXPECT_EQ(itemAt("\3abc", 0, 4).key, "abc");
}

TEST(TxtItem, StopsAtALengthThatRunsOverTheRecord)
{
    const std::string txt = "\3a=1\11b=2";
    EXPECT_EQ(itemAt(txt, 0).key, "a");
    EXPECT_EQ(itemAt(txt, 1).error, kDNSServiceErr_Invalid);
    EXPECT_EQ(count(txt), 0);
}

TEST(TxtItem, WalksTheLargestRecordOfEmptyItems)
{
    const std::string txt(65535, '\0');
    EXPECT_EQ(count(txt), 65535);
    EXPECT_EQ(itemAt(txt, 65534).error, kDNSServiceErr_NoError);
    EXPECT_EQ(itemAt(txt, 65535).error, kDNSServiceErr_Invalid);
}

TEST(TxtLookup, FindsKeysWithoutCase)
{
    const std::string txt = "\3a=1\4bare\2c=";
    const auto size = static_cast<uint16_t>(txt.size());
    EXPECT_TRUE(TXTRecordContainsKey(size, txt.data(), "A"));
    EXPECT_TRUE(TXTRecordContainsKey(size, txt.data(), "bare"));
    EXPECT_FALSE(TXTRecordContainsKey(size, txt.data(), "d"));

    uint8_t length = 9;
    EXPECT_EQ(TXTRecordGetValuePtr(size, txt.data(), "A", &length), txt.data() + 3);
    EXPECT_EQ(length, 1);
    EXPECT_EQ(TXTRecordGetValuePtr(size, txt.data(), "bare", &length), nullptr);
    EXPECT_NE(TXTRecordGetValuePtr(size, txt.data(), "c", &length), nullptr);
    EXPECT_EQ(length, 0);
}

TEST(TxtLookup, TakesNullArguments)
{
    EXPECT_FALSE(TXTRecordContainsKey(4, nullptr, "a"));
    EXPECT_FALSE(TXTRecordContainsKey(4, "\3a=1", nullptr));
    EXPECT_NE(TXTRecordGetValuePtr(4, "\3a=1", "a", nullptr), nullptr);
}
