// SPDX-License-Identifier: MIT
#include "NsecData.h"

#include <gtest/gtest.h>

using namespace vesk::dnssd;

namespace {

const Labels Owner{"hostb", "local"};
const std::string OnlyA("\0\1\x40", 3);

std::optional<NsecData> parse(const std::string& data)
{
    return NsecData::parse(Owner, data);
}

} // namespace

TEST(NsecDataTest, TypesAreReadFromEachWindow)
{
    const auto nsec = parse(toWire(Owner) + std::string("\0\5\x40\0\0\0\x40\1\1\x40", 10)); // A, SRV, 257
    ASSERT_TRUE(nsec);
    EXPECT_TRUE(nsec->hasType(1));
    EXPECT_TRUE(nsec->hasType(33));
    EXPECT_TRUE(nsec->hasType(257));
    for (const uint16_t absent : {0, 2, 28, 34, 40, 256, 258, 513, 65535})
        EXPECT_FALSE(nsec->hasType(absent)) << absent;
}

TEST(NsecDataTest, CompressedNameIsReplacedByTheOwners)
{
    for (const std::string& name : {toWire(Owner), std::string("\xC0\x0C"), std::string("\5hostb\xC0\x20")}) {
        const auto nsec = parse(name + OnlyA);
        ASSERT_TRUE(nsec);
        EXPECT_EQ(nsec->toWire(), toWire(Owner) + OnlyA);
    }
}

TEST(NsecDataTest, NameWithoutTypesIsRead)
{
    const auto nsec = parse(toWire(Owner));
    ASSERT_TRUE(nsec);
    EXPECT_FALSE(nsec->hasType(1));
}

TEST(NsecDataTest, DataThatIsCutOffIsRefused)
{
    const std::string whole = toWire(Owner) + std::string("\0\2\x40\1", 4);
    for (std::size_t size = 0; size < whole.size(); ++size) {
        const bool isWholeWithoutTypes = size == toWire(Owner).size();
        EXPECT_EQ(parse(whole.substr(0, size)).has_value(), isWholeWithoutTypes) << size;
    }
    EXPECT_TRUE(parse(whole));
    EXPECT_FALSE(parse("\xC0"));
}

TEST(NsecDataTest, WindowsOfAnInvalidSizeAreRefused)
{
    EXPECT_FALSE(parse(toWire(Owner) + std::string("\0\0", 2)));
    EXPECT_FALSE(parse(toWire(Owner) + std::string("\0\x21", 2) + std::string(33, '\1')));
}
