// SPDX-License-Identifier: MIT
#include "DescriptorBudget.h"

#include <dirent.h>
#include <sys/resource.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <optional>

namespace vesk::dnssd {

namespace {

using namespace std::chrono_literals;

/// What is not counted as it comes and goes is looked for so often at most: that takes longer the more there
/// are.
constexpr auto CountInterval = 100ms;

/// Of a low limit an eighth is kept for the application, of a high one no more than this.
constexpr int64_t LargestReserve = 32;

/// Nothing when there is no way to tell. Without a descriptor left to look with, as many as there may be.
std::optional<int64_t> countOpen()
{
    const std::unique_ptr<DIR, int (*)(DIR*)> directory(opendir("/proc/self/fd"), closedir);
    if (!directory)
        return errno == EMFILE ? std::optional<int64_t>(DescriptorBudget::limit()) : std::nullopt;
    int64_t entries = 0;
    while (readdir(directory.get()))
        ++entries;
    return entries - 3; // two are no descriptors, and one is the directory's
}

} // namespace

uint32_t DescriptorBudget::limit()
{
    rlimit limits{};
    getrlimit(RLIMIT_NOFILE, &limits);
    return static_cast<uint32_t>(std::min<rlim_t>(limits.rlim_cur, UINT32_MAX));
}

int64_t DescriptorBudget::available()
{
    const int64_t all = limit();
    return all - std::min(all / 8, LargestReserve) - countOthers() - m_uses;
}

int64_t DescriptorBudget::countOthers()
{
    const std::lock_guard lock(m_mutex);
    const auto now = Clock::steady().now();
    if (now - m_countedAt >= CountInterval) {
        m_others = countOpen().value_or(m_others + m_uses) - m_uses;
        m_countedAt = now;
    }
    return m_others;
}

} // namespace vesk::dnssd
