// SPDX-License-Identifier: MIT
#include "InstanceName.h"

#include "DomainName.h"
#include "Utf8.h"

#include <gtest/gtest.h>

#include <set>

using namespace vesk::dnssd;

namespace {

std::string repeat(const std::string& text, unsigned times)
{
    std::string result;
    while (times-- > 0)
        result += text;
    return result;
}

} // namespace

TEST(NextInstanceName, AppendsANumber)
{
    EXPECT_EQ(nextInstanceName("X"), "X (2)");
    EXPECT_EQ(nextInstanceName("X(2)"), "X(2) (2)");
    EXPECT_EQ(nextInstanceName("X-2"), "X-2 (2)");
    EXPECT_EQ(nextInstanceName("X ()"), "X () (2)");
    EXPECT_EQ(nextInstanceName("X (a)"), "X (a) (2)");
    EXPECT_EQ(nextInstanceName("X (2) y"), "X (2) y (2)");
}

TEST(NextInstanceName, CountsUpToTen)
{
    EXPECT_EQ(nextInstanceName("X (1)"), "X (2)");
    EXPECT_EQ(nextInstanceName("X (2)"), "X (3)");
    EXPECT_EQ(nextInstanceName("X (9)"), "X (10)");
}

TEST(NextInstanceName, LeapsFromTenOn)
{
    std::set<std::string> names;
    for (int i = 0; i < 50; ++i) {
        const std::string name = nextInstanceName("X (10)");
        EXPECT_NE(name, "X (10)");
        names.insert(name);
    }
    EXPECT_GT(names.size(), 10U);
}

TEST(NextInstanceName, FitsALabel)
{
    EXPECT_EQ(nextInstanceName(std::string(63, 'Q')), std::string(59, 'Q') + " (2)");
    EXPECT_EQ(nextInstanceName(repeat("\xE2\x82\xAC", 21)), repeat("\xE2\x82\xAC", 19) + " (2)");
    EXPECT_EQ(nextInstanceName(std::string(59, 'Q') + " (9)"), std::string(58, 'Q') + " (10)");
}
