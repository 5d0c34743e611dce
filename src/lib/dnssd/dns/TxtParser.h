// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_TXTPARSER_H
#define VESK_DNSSD_TXTPARSER_H

#include <cstdint>
#include <optional>
#include <string_view>

namespace vesk::dnssd {

/// One string of a TXT record (RFC 6763 section 6.3). Everything points into the record.
struct TxtItem
{
    std::string_view whole;                ///< what follows the length byte
    std::string_view key;                  ///< up to the first '='
    std::optional<std::string_view> value; ///< after the first '='; absent without one
};

/// Walks the strings of a TXT record in wire form and never reads past its end.
class TxtParser
{
public:
    TxtParser(const void* data, std::size_t size);

    /// The next item; nothing at the end of the record or at a length that runs over it.
    std::optional<TxtItem> next();

    /// Whether what is left, if anything, is malformed. Meaningful once next() gave nothing.
    bool malformed() const { return !m_rest.empty(); }

private:
    std::string_view m_rest;
};

bool isWellFormedTxt(const void* data, std::size_t size);

} // namespace vesk::dnssd

#endif
