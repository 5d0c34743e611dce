// SPDX-License-Identifier: MIT
#include "InstanceName.h"

#include "DomainName.h"
#include "Utf8.h"

#include <charconv>
#include <random>

namespace vesk::dnssd {

namespace {

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

std::string nextInstanceName(std::string_view name)
{
    const auto [base, number] = splitNumber(name);
    const std::string suffix = " (" + std::to_string(number + (number < 10 ? 1 : randomStep())) + ')';
    return std::string(cutUtf8(base, MaxLabel - suffix.size())) + suffix;
}

} // namespace vesk::dnssd
