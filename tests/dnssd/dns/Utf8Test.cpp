// SPDX-License-Identifier: MIT
#include "Utf8.h"

#include "DomainName.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace vesk::dnssd;

TEST(Utf8, IsToldFromOtherBytes)
{
    for (const char* good : {"", "plain", "\xC3\xA4", "\xE2\x82\xAC", "\xF0\x9F\x8D\xB5", "\xF4\x8F\xBF\xBF"})
        EXPECT_TRUE(isUtf8(good)) << good;
    for (const char* bad : {"\x80", "\xC3", "\xC0\x80", "\xE0\x80\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80",
                            "\xF8\x88\x80\x80\x80", "\xFF", "a\xE2\x82"})
        EXPECT_FALSE(isUtf8(bad)) << bad;
}

TEST(Utf8, IsCutBetweenCharacters)
{
    EXPECT_EQ(cutUtf8("abc", 5), "abc");
    EXPECT_EQ(cutUtf8("abc", 2), "ab");
    EXPECT_EQ(cutUtf8("a\xC3\xA4", 2), "a");
    EXPECT_EQ(cutUtf8("\xF0\x9F\x8D\xB5", 3), "");
    for (unsigned prefix = 60; prefix <= 64; ++prefix) {
        for (const char* character : {"\xC3\xA4", "\xE2\x82\xAC", "\xF0\x9F\x8D\xB5"}) {
            const std::string name = std::string(prefix, 'a') + character;
            const std::string_view cut = cutUtf8(name, MaxLabel);
            EXPECT_LE(cut.size(), MaxLabel);
            EXPECT_TRUE(isUtf8(cut));
            EXPECT_TRUE(cut == name || cut == std::string(std::min(prefix, 63U), 'a'));
        }
    }
}
