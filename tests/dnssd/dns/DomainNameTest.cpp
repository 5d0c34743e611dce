// SPDX-License-Identifier: MIT
#include "DomainName.h"

#include <gtest/gtest.h>

using namespace vesk::dnssd;
using namespace std::string_literals;

struct EscapeCase
{
    const char* name;
    std::string label;
    std::string text;
};

class EscapedLabel : public testing::TestWithParam<EscapeCase>
{
};

TEST_P(EscapedLabel, IsWrittenAndReadBack)
{
    const auto& label = GetParam().label;
    const auto& text = GetParam().text;
    EXPECT_EQ(escapeLabel(label), text);
    EXPECT_EQ(parseName(text), Labels{label});
    EXPECT_EQ(parseName(text + '.'), Labels{label});
}

INSTANTIATE_TEST_SUITE_P(
    Names, EscapedLabel,
    testing::Values(
        EscapeCase{"Plain", "Kitchen", "Kitchen"},
        EscapeCase{"DotSpaceAndBackslash", "Dr. Who\\x", "Dr\\.\\032Who\\\\x"},
        EscapeCase{"LeadingDot", ".lead", "\\.lead"}, EscapeCase{"TrailingDot", "trail.", "trail\\."},
        EscapeCase{"TrailingBackslash", "endbs\\", "endbs\\\\"},
        EscapeCase{"BackslashBeforeDigits", "d123\\123", "d123\\\\123"},
        EscapeCase{"Punctuation", "q\"uo'te;()@$,&<>", "q\"uo'te;()@$,&<>"},
        EscapeCase{"LeadingSpaces", "  lead", "\\032\\032lead"}, EscapeCase{"Tabulator", "a\tb", "a\\009b"},
        EscapeCase{"ZeroByte", "nul\0x"s, "nul\\000x"}, EscapeCase{"Delete", "del\x7F", "del\x7F"},
        EscapeCase{"TwoToFourByteCharacters", "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x8D\xB5",
                   "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x8D\xB5"},
        EscapeCase{"NoUtf8", "\xFF\xFE", "\xFF\xFE"}),
    [](const auto& test) { return std::string(test.param.name); });

TEST(EscapedName, SurvivesEveryByteInTextAndOnTheWire)
{
    for (int byte = 0; byte <= 255; ++byte) {
        const Labels name{std::string(63, static_cast<char>(byte)), "_demo", "_tcp", "local"};
        EXPECT_EQ(parseName(toText(name)), name) << byte;
        const std::string wire = toWire(name);
        std::string_view rest = wire;
        EXPECT_EQ(readWireName(rest), name) << byte;
        EXPECT_TRUE(rest.empty());
    }
}

TEST(ParsedName, TakesDecimalEscapesOnlyUpTo255)
{
    EXPECT_EQ(parseName("a\\228b"), Labels{"a\xE4"
                                           "b"});
    EXPECT_EQ(parseName("a\\256"), Labels{"a256"});
}

TEST(ParsedName, MayEndWithADot)
{
    EXPECT_EQ(parseName("hostb.local"), (Labels{"hostb", "local"}));
    EXPECT_EQ(parseName("hostb.local."), (Labels{"hostb", "local"}));
    EXPECT_EQ(parseName("."), Labels());
    EXPECT_EQ(parseName(""), Labels());
}

TEST(ParsedName, HasNoEmptyLabel)
{
    for (const char* text : {"a..b", "..", ".a", "a.."})
        EXPECT_FALSE(parseName(text)) << text;
}

TEST(ParsedName, HasNoLoneBackslashAtItsEnd)
{
    EXPECT_FALSE(parseName("a\\"));
}

TEST(ParsedName, KeepsTheLimitsOfDns)
{
    const std::string label(63, 'x');
    EXPECT_TRUE(parseName(label));
    EXPECT_FALSE(parseName(label + 'x'));
    EXPECT_TRUE(parseName(label + '.' + label + '.' + label + '.' + std::string(61, 'y')));
    EXPECT_FALSE(parseName(label + '.' + label + '.' + label + '.' + std::string(62, 'y')));
}

TEST(WireName, StopsAtDataThatIsCutOrCompressed)
{
    for (const std::string& wire :
         {""s, "\3ab"s, "\3abc"s, "\xC0\x0C"s, "\x40"s + std::string(70, 'a') + "\0"s}) {
        std::string_view rest = wire;
        EXPECT_FALSE(readWireName(rest));
    }
}

TEST(WireName, LeavesWhatFollows)
{
    const std::string wire = "\1a\0rest"s;
    std::string_view rest = wire;
    EXPECT_EQ(readWireName(rest), Labels{"a"});
    EXPECT_EQ(rest, "rest");
}

TEST(CanonicalName, IgnoresTheCaseOfAsciiAlone)
{
    EXPECT_EQ(canonical({"Kitchen", "LOCAL"}), canonical({"kitchen", "local"}));
    EXPECT_NE(canonical({"\xC3\x84"}), canonical({"\xC3\xA4"}));
    EXPECT_NE(canonical({"a", "b"}), canonical({"a.b"}));
}
