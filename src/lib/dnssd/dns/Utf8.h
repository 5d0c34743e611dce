// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_UTF8_H
#define VESK_DNSSD_UTF8_H

#include <string_view>

namespace vesk::dnssd {

/// Whether the text is well-formed UTF-8 (RFC 3629 section 4).
bool isUtf8(std::string_view text);

/// At most `size` bytes of the text, without cutting a character.
std::string_view cutUtf8(std::string_view text, std::size_t size);

} // namespace vesk::dnssd

#endif
