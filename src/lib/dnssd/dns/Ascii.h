// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_ASCII_H
#define VESK_DNSSD_ASCII_H

#include <algorithm>
#include <string>
#include <string_view>

namespace vesk::dnssd {

/// DNS compares names byte by byte, the 26 ASCII letters apart (RFC 4343); no locale has a say in it.
constexpr char asciiLower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

inline bool equalIgnoringCase(std::string_view a, std::string_view b)
{
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(),
                                              [](char x, char y) { return asciiLower(x) == asciiLower(y); });
}

inline std::string lowered(std::string_view text)
{
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), asciiLower);
    return result;
}

} // namespace vesk::dnssd

#endif
