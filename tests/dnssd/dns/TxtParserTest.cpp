// SPDX-License-Identifier: MIT
#include "TxtParser.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

using namespace vesk::dnssd;
using namespace std::string_literals;

namespace {

/// On the heap and of exactly that size, so that a sanitizer notices a byte read beyond.
class Bytes
{
public:
    explicit Bytes(const std::string& text)
        : m_size(text.size())
        , m_bytes(new char[text.size()])
    {
        text.copy(m_bytes.get(), text.size());
    }
    TxtParser parser() const { return {m_bytes.get(), m_size}; }

private:
    std::size_t m_size;
    std::unique_ptr<char[]> m_bytes;
};

} // namespace

TEST(TxtParser, SplitsItemsAtTheFirstEquals)
{
    const Bytes bytes("\5v=a=b");
    TxtParser items = bytes.parser();
    const auto item = items.next();
    ASSERT_TRUE(item);
    EXPECT_EQ(item->whole, "v=a=b");
    EXPECT_EQ(item->key, "v");
    EXPECT_EQ(item->value, "a=b");
    EXPECT_FALSE(items.next());
    EXPECT_FALSE(items.malformed());
}

TEST(TxtParser, TellsAnAbsentValueFromAnEmptyOne)
{
    const Bytes bytes("\4bare\2c=\0"s);
    TxtParser items = bytes.parser();
    EXPECT_FALSE(items.next()->value);
    EXPECT_EQ(items.next()->value, "");
    const auto empty = items.next();
    ASSERT_TRUE(empty);
    EXPECT_EQ(empty->key, "");
    EXPECT_FALSE(empty->value);
    EXPECT_FALSE(items.next());
    EXPECT_FALSE(items.malformed());
}

TEST(TxtParser, StopsAtALengthThatRunsOverTheRecord)
{
    for (const std::string& text : {"\3a=1\11b=2"s, "\3a=1\1"s, "\3a=1\xFF"s}) {
        const Bytes bytes(text);
        TxtParser items = bytes.parser();
        EXPECT_TRUE(items.next());
        EXPECT_FALSE(items.next());
        EXPECT_TRUE(items.malformed());
        EXPECT_FALSE(isWellFormedTxt(text.data(), text.size()));
    }
}

TEST(TxtParser, TakesNoBytesForAnEmptyRecord)
{
    TxtParser items(nullptr, 5);
    EXPECT_FALSE(items.next());
    EXPECT_FALSE(items.malformed());
    EXPECT_TRUE(isWellFormedTxt("", 0));
}
