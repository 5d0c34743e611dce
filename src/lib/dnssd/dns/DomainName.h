// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_DOMAINNAME_H
#define VESK_DNSSD_DOMAINNAME_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vesk::dnssd {

constexpr std::size_t MaxLabel = 63; ///< bytes, RFC 1035 section 2.3.4
constexpr std::size_t MaxName = 255; ///< bytes of a name on the wire with its final zero

/// A domain name as the raw bytes of its labels, without the root.
using Labels = std::vector<std::string>;

Labels operator+(Labels left, const Labels& right);

/// Whether the name is short enough for the wire; its labels are.
bool fitsWire(const Labels& name);

/**
 * Reads an escaped name, with or without trailing dot: "\." and "\\" stand for themselves, "\DDD" for a byte.
 * "" and "." are the root. Nothing for empty or over-long labels and over-long names.
 */
std::optional<Labels> parseName(std::string_view text);

/// Reads an uncompressed name on the wire and moves `wire` past it.
std::optional<Labels> readWireName(std::string_view& wire);

/// The uncompressed name on the wire.
std::string toWire(const Labels& name);

/// Whether every label is UTF-8 without a zero byte, so that the name can be written as a C string.
bool isText(const Labels& name);

/// "\DDD" for a byte.
std::string decimalEscape(char c);

/// Escapes what would be mistaken for structure: dot, backslash, control characters, space. UTF-8 stays as it
/// is.
std::string escapeLabel(std::string_view label);

/// The escaped name with trailing dot.
std::string toText(const Labels& name);

/// Equal for names that DNS takes for equal, and different for all others.
std::string canonical(const Labels& name);

} // namespace vesk::dnssd

#endif
