// SPDX-License-Identifier: MIT
#include "DomainName.h"

#include "Ascii.h"
#include "Utf8.h"

#include <algorithm>
#include <cstdio>

namespace vesk::dnssd {

namespace {

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
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

bool isText(const Labels& name)
{
    return std::all_of(name.begin(), name.end(), [](const std::string& label) {
        return isUtf8(label) && label.find('\0') == std::string::npos;
    });
}

std::string decimalEscape(char c)
{
    char text[5];
    std::snprintf(text, sizeof text, "\\%03u", static_cast<unsigned>(static_cast<uint8_t>(c)));
    return text;
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
    if (name.empty())
        return ".";
    std::string text;
    for (const std::string& label : name)
        text += escapeLabel(label) + '.';
    return text;
}

std::string canonical(const Labels& name)
{
    // A length byte is at most 63, below every letter.
    return lowered(toWire(name));
}

} // namespace vesk::dnssd
