// SPDX-License-Identifier: MIT
#include "SrvData.h"

#include <gtest/gtest.h>

using namespace vesk::dnssd;
using namespace std::string_literals;

TEST(SrvData, IsReadFromPriorityWeightPortAndTarget)
{
    const auto data = SrvData::parse("\1\2\3\4\x1F\x90\5hostb\5local\0"s);
    ASSERT_TRUE(data);
    EXPECT_EQ(data->port, 8080);
    EXPECT_EQ(data->target, (Labels{"hostb", "local"}));
}

TEST(SrvData, IsWrittenWithoutPriorityAndWeight)
{
    EXPECT_EQ((SrvData{8080, {"hostb", "local"}}).toWire(), "\0\0\0\0\x1F\x90\5hostb\5local\0"s);
}

TEST(SrvData, SurvivesEveryPort)
{
    for (unsigned port = 0; port <= 65535; port += 255) {
        const auto data = SrvData::parse(SrvData{static_cast<uint16_t>(port), {"a"}}.toWire());
        ASSERT_TRUE(data);
        EXPECT_EQ(data->port, port);
    }
}

TEST(SrvData, IsNoneWhenItIsCutOff)
{
    const std::string whole = SrvData{8080, {"hostb", "local"}}.toWire();
    ASSERT_TRUE(SrvData::parse(whole));
    for (std::size_t size = 0; size < whole.size(); ++size)
        EXPECT_FALSE(SrvData::parse(whole.substr(0, size))) << size;
}
