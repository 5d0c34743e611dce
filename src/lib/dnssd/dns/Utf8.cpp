// SPDX-License-Identifier: MIT
#include "Utf8.h"

#include <cstdint>

namespace vesk::dnssd {

namespace {

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

} // namespace

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

} // namespace vesk::dnssd
