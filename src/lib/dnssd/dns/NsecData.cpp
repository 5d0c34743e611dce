// SPDX-License-Identifier: MIT
#include "NsecData.h"

namespace vesk::dnssd {

namespace {

constexpr std::size_t WindowHead = 2;
constexpr std::size_t LongestBitmap = 32;

unsigned byteAt(std::string_view data, std::size_t index)
{
    return static_cast<uint8_t>(data[index]);
}

/// Takes a name off, be it compressed (RFC 1035 section 4.1.4). False when the data ends within it.
bool skipName(std::string_view& data)
{
    while (!data.empty()) {
        const unsigned head = byteAt(data, 0);
        const bool isPointer = (head & 0xC0U) == 0xC0U;
        const std::size_t size = isPointer ? 2 : 1 + head;
        if (size > data.size() || (!isPointer && head > MaxLabel))
            return false;
        data.remove_prefix(size);
        if (isPointer || head == 0)
            return true;
    }
    return false;
}

bool areBitmaps(std::string_view data)
{
    while (!data.empty()) {
        if (data.size() < WindowHead)
            return false;
        const std::size_t size = byteAt(data, 1);
        if (size == 0 || size > LongestBitmap || WindowHead + size > data.size())
            return false;
        data.remove_prefix(WindowHead + size);
    }
    return true;
}

} // namespace

NsecData::NsecData(Labels owner, std::string bitmaps)
    : m_owner(std::move(owner))
    , m_bitmaps(std::move(bitmaps))
{
}

std::optional<NsecData> NsecData::parse(const Labels& owner, std::string_view data)
{
    if (!skipName(data) || !areBitmaps(data))
        return std::nullopt;
    return NsecData(owner, std::string(data));
}

bool NsecData::hasType(uint16_t type) const
{
    std::string_view rest = m_bitmaps;
    while (!rest.empty()) {
        const std::size_t size = byteAt(rest, 1);
        const std::size_t octet = type % 256U / 8U;
        if (byteAt(rest, 0) == type / 256U)
            return octet < size && (byteAt(rest, WindowHead + octet) & (0x80U >> (type % 8U))) != 0;
        rest.remove_prefix(WindowHead + size);
    }
    return false;
}

std::string NsecData::toWire() const
{
    return vesk::dnssd::toWire(m_owner) + m_bitmaps;
}

} // namespace vesk::dnssd
