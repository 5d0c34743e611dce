// SPDX-License-Identifier: MIT
#include "Names.h"

#include "Ascii.h"

#include <charconv>
#include <cstdio>
#include <random>

namespace vesk::dnssd {

namespace {

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

std::string decimalEscape(char c)
{
    char text[5];
    std::snprintf(text, sizeof text, "\\%03u", static_cast<unsigned>(static_cast<uint8_t>(c)));
    return text;
}

/// Reads what follows a backslash.
std::optional<char> readEscape(std::string_view& text)
{
    if (text.empty())
        return std::nullopt;
    if (text.size() >= 3 && isDigit(text[0]) && isDigit(text[1]) && isDigit(text[2])) {
        const int value = (text[0] - '0') * 100 + (text[1] - '0') * 10 + (text[2] - '0');
        if (value <= 255) {
            text.remove_prefix(3);
            return static_cast<char>(value);
        }
    }
    const char c = text.front();
    text.remove_prefix(1);
    return c;
}

std::size_t wireSize(const Labels& name)
{
    std::size_t size = 1;
    for (const std::string& label : name)
        size += 1 + label.size();
    return size;
}

template <typename Escape>
std::string join(const Labels& name, Escape escape)
{
    std::string text;
    for (const std::string& label : name)
        text += escape(label) + '.';
    return text;
}

std::string escapeForDaemon(std::string_view label)
{
    std::string text;
    for (const char c : label) {
        const bool plain =
            isDigit(c) || c == '-' || c == '_' || (asciiLower(c) >= 'a' && asciiLower(c) <= 'z');
        text += plain ? std::string(1, c) : decimalEscape(c);
    }
    return text;
}

/// Bytes of the character that starts the text; 0 when none does (RFC 3629 section 4).
std::size_t utf8CharacterSize(std::string_view text)
{
    const auto at = [text](std::size_t i) { return i < text.size() ? static_cast<uint8_t>(text[i]) : 0U; };
    const auto continues = [at](std::size_t i) { return (at(i) & 0xC0U) == 0x80U; };
    const unsigned first = at(0);
    if (first < 0x80)
        return 1;
    if (first >= 0xC2 && first <= 0xDF)
        return continues(1) ? 2 : 0;
    if (first >= 0xE0 && first <= 0xEF) {
        const bool overlong = first == 0xE0 && at(1) < 0xA0;
        const bool surrogate = first == 0xED && at(1) > 0x9F;
        return continues(1) && continues(2) && !overlong && !surrogate ? 3 : 0;
    }
    if (first >= 0xF0 && first <= 0xF4) {
        const bool overlong = first == 0xF0 && at(1) < 0x90;
        const bool beyond = first == 0xF4 && at(1) > 0x8F;
        return continues(1) && continues(2) && continues(3) && !overlong && !beyond ? 4 : 0;
    }
    return 0;
}

unsigned randomStep()
{
    static thread_local std::minstd_rand generator{std::random_device{}()};
    return std::uniform_int_distribution<unsigned>(1, 99)(generator);
}

struct NumberedName
{
    std::string_view base;
    unsigned number;
};

/// Takes " (N)" off the end; a name without it counts as number 1.
NumberedName splitNumber(std::string_view name)
{
    const std::size_t open = name.rfind(" (");
    if (open == std::string_view::npos || name.back() != ')')
        return {name, 1};
    const char* digits = name.data() + open + 2;
    const char* end = name.data() + name.size() - 1;
    unsigned number = 0;
    const auto [stop, error] = std::from_chars(digits, end, number);
    // Beyond a million it is a serial number rather than one of ours.
    if (stop != end || digits == end || error != std::errc() || number > 1000000)
        return {name, 1};
    return {name.substr(0, open), number};
}

} // namespace

Labels operator+(Labels left, const Labels& right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

bool fitsWire(const Labels& name)
{
    return wireSize(name) <= MaxName;
}

std::optional<Labels> parseName(std::string_view text)
{
    Labels name;
    if (text.empty() || text == ".")
        return name;
    std::string label;
    while (!text.empty()) {
        char c = text.front();
        text.remove_prefix(1);
        if (c == '.') {
            if (label.empty())
                return std::nullopt;
            name.push_back(std::move(label));
            label.clear();
            continue;
        }
        if (c == '\\') {
            const auto escaped = readEscape(text);
            if (!escaped)
                return std::nullopt;
            c = *escaped;
        }
        label += c;
        if (label.size() > MaxLabel)
            return std::nullopt;
    }
    if (!label.empty())
        name.push_back(std::move(label));
    return fitsWire(name) ? std::optional(name) : std::nullopt;
}

std::optional<Labels> readWireName(std::string_view& wire)
{
    Labels name;
    while (!wire.empty()) {
        const std::size_t size = static_cast<uint8_t>(wire.front());
        if (size > MaxLabel || size >= wire.size())
            return std::nullopt;
        if (size > 0)
            name.emplace_back(wire.substr(1, size));
        wire.remove_prefix(1 + size);
        if (size == 0)
            return fitsWire(name) ? std::optional(name) : std::nullopt;
    }
    return std::nullopt;
}

std::string toWire(const Labels& name)
{
    std::string wire;
    for (const std::string& label : name)
        (wire += static_cast<char>(label.size())) += label;
    return wire += '\0';
}

std::string escapeLabel(std::string_view label)
{
    std::string text;
    for (const char c : label) {
        if (static_cast<uint8_t>(c) <= 0x20)
            text += decimalEscape(c);
        else if (c == '.' || c == '\\')
            (text += '\\') += c;
        else
            text += c;
    }
    return text;
}

std::string toText(const Labels& name)
{
    return name.empty() ? "." : join(name, escapeLabel);
}

std::string toDaemonText(const Labels& name)
{
    std::string text = join(name, escapeForDaemon);
    if (!text.empty())
        text.pop_back();
    return text;
}

std::string canonical(const Labels& name)
{
    // A length byte is at most 63, below every letter.
    return lowered(toWire(name));
}

bool isUtf8(std::string_view text)
{
    while (!text.empty()) {
        const std::size_t size = utf8CharacterSize(text);
        if (size == 0)
            return false;
        text.remove_prefix(size);
    }
    return true;
}

std::string_view cutUtf8(std::string_view text, std::size_t size)
{
    if (text.size() <= size)
        return text;
    while (size > 0 && (static_cast<uint8_t>(text[size]) & 0xC0U) == 0x80U)
        --size;
    return text.substr(0, size);
}

std::string nextInstanceName(std::string_view name)
{
    const auto [base, number] = splitNumber(name);
    const std::string suffix = " (" + std::to_string(number + (number < 10 ? 1 : randomStep())) + ')';
    return std::string(cutUtf8(base, MaxLabel - suffix.size())) + suffix;
}

} // namespace vesk::dnssd
