// SPDX-License-Identifier: MIT
#include "SrvData.h"

namespace vesk::dnssd {

namespace {

constexpr std::size_t PriorityAndWeight = 4;
constexpr std::size_t FixedPart = 6;

} // namespace

std::optional<SrvData> SrvData::parse(std::string_view wire)
{
    if (wire.size() < FixedPart)
        return std::nullopt;
    const unsigned high = static_cast<uint8_t>(wire[4]);
    const unsigned low = static_cast<uint8_t>(wire[5]);
    wire.remove_prefix(FixedPart);
    auto target = readWireName(wire);
    if (!target)
        return std::nullopt;
    return SrvData{static_cast<uint16_t>(high << 8U | low), std::move(*target)};
}

std::string SrvData::toWire() const
{
    std::string wire(PriorityAndWeight, '\0');
    wire += static_cast<char>(port >> 8U);
    wire += static_cast<char>(port & 0xFFU);
    return wire += vesk::dnssd::toWire(target);
}

} // namespace vesk::dnssd
