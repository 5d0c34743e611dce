// SPDX-License-Identifier: MIT
#include <Names.h>

#include <gtest/gtest.h>

#include <set>

using namespace vesk::dnssd;
using namespace std::string_literals;

namespace {

std::string repeat(const std::string& text, unsigned times)
{
    std::string result;
    while (times-- > 0)
        result += text;
    return result;
}

} // namespace

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

TEST_P(EscapedLabel, IsReadBackFromTheDaemonsForm)
{
    const std::string& label = GetParam().label;
    EXPECT_EQ(parseName(toDaemonText({label, "x"})), (Labels{label, "x"}));
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

TEST(EscapedName, SurvivesEveryByteInEveryForm)
{
    for (int byte = 0; byte <= 255; ++byte) {
        const Labels name{std::string(63, static_cast<char>(byte)), "_demo", "_tcp", "local"};
        EXPECT_EQ(parseName(toText(name)), name) << byte;
        EXPECT_EQ(parseName(toDaemonText(name)), name) << byte;
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

TEST(NextName, AppendsANumber)
{
    EXPECT_EQ(nextInstanceName("X"), "X (2)");
    EXPECT_EQ(nextInstanceName("X(2)"), "X(2) (2)");
    EXPECT_EQ(nextInstanceName("X-2"), "X-2 (2)");
    EXPECT_EQ(nextInstanceName("X ()"), "X () (2)");
    EXPECT_EQ(nextInstanceName("X (a)"), "X (a) (2)");
    EXPECT_EQ(nextInstanceName("X (2) y"), "X (2) y (2)");
}

TEST(NextName, CountsUpToTen)
{
    EXPECT_EQ(nextInstanceName("X (1)"), "X (2)");
    EXPECT_EQ(nextInstanceName("X (2)"), "X (3)");
    EXPECT_EQ(nextInstanceName("X (9)"), "X (10)");
}

TEST(NextName, LeapsFromTenOn)
{
    std::set<std::string> names;
    for (int i = 0; i < 50; ++i) {
        const std::string name = nextInstanceName("X (10)");
        EXPECT_NE(name, "X (10)");
        names.insert(name);
    }
    EXPECT_GT(names.size(), 10U);
}

TEST(NextName, FitsALabel)
{
    EXPECT_EQ(nextInstanceName(std::string(63, 'Q')), std::string(59, 'Q') + " (2)");
    EXPECT_EQ(nextInstanceName(repeat("\xE2\x82\xAC", 21)), repeat("\xE2\x82\xAC", 19) + " (2)");
    EXPECT_EQ(nextInstanceName(std::string(59, 'Q') + " (9)"), std::string(58, 'Q') + " (10)");
}
