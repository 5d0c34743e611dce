// SPDX-License-Identifier: MIT
#include "TxtParser.h"

namespace vesk::dnssd {

TxtParser::TxtParser(const void* data, std::size_t size)
    : m_rest(static_cast<const char*>(data), data ? size : 0)
{
}

std::optional<TxtItem> TxtParser::next()
{
    if (m_rest.empty())
        return std::nullopt;
    const std::size_t length = static_cast<uint8_t>(m_rest.front());
    if (length >= m_rest.size())
        return std::nullopt;

    TxtItem item;
    item.whole = m_rest.substr(1, length);
    const std::size_t equals = item.whole.find('=');
    item.key = item.whole.substr(0, equals);
    if (equals != std::string_view::npos)
        item.value = item.whole.substr(equals + 1);
    m_rest.remove_prefix(1 + length);
    return item;
}

bool isWellFormedTxt(const void* data, std::size_t size)
{
    TxtParser items(data, size);
    while (items.next()) {
    }
    return !items.malformed();
}

} // namespace vesk::dnssd
