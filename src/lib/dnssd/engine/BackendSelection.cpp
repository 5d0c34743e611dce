// SPDX-License-Identifier: MIT
#include "BackendSelection.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <utility>

namespace vesk::dnssd {

namespace {

using namespace std::string_view_literals;

constexpr const char* Variable = "VESK_DNSSD_BACKEND";

constexpr std::array Names{std::pair("auto"sv, BackendKind::Auto), std::pair("daemon"sv, BackendKind::Daemon),
                           std::pair("process"sv, BackendKind::Process),
                           std::pair("memory"sv, BackendKind::Memory)};

std::string_view environment()
{
    const char* value = std::getenv(Variable);
    return value && *value ? value : "auto";
}

std::optional<BackendKind> kindNamed(std::string_view wanted)
{
    for (const auto& [name, kind] : Names) {
        if (name == wanted && backendFactory(kind))
            return kind;
    }
    return std::nullopt;
}

} // namespace

bool BackendSelection::choose(BackendKind kind)
{
    if (m_isFixed)
        return false;
    m_chosen = kind;
    return true;
}

BackendKind BackendSelection::current() const
{
    return m_chosen ? *m_chosen : kindNamed(environment()).value_or(BackendKind::Auto);
}

/// An application that is told to use what does not exist is to run all the same.
BackendKind BackendSelection::fix()
{
    if (!m_chosen && !kindNamed(environment()))
        std::fprintf(stderr, "%s: there is no backend \"%s\"; \"auto\" is taken.\n", Variable,
                     std::getenv(Variable));
    m_chosen = current();
    m_isFixed = true;
    return *m_chosen;
}

} // namespace vesk::dnssd
