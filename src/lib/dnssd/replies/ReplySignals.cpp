// SPDX-License-Identifier: MIT
#include "ReplySignals.h"

#include "ReplyLine.h"

#include <algorithm>
#include <utility>

namespace vesk::dnssd {

namespace {

using namespace std::chrono_literals;

/// Short beside the ten milliseconds or more that each answer of a responder takes.
constexpr std::chrono::microseconds ShortestWindow = 2ms;

/// A round of Qt's event loop over that many descriptors takes a tenth of it.
constexpr auto WindowOfADescriptor = 12us;
constexpr std::chrono::microseconds LongestWindow = 12ms;

/// What a few instances need: their resolve, address and TXT replies follow each other fast.
constexpr std::size_t LinesAtOnce = 8;

} // namespace

ReplySignals::ReplySignals(EventLoop& loop, const DescriptorBudget& budget)
    : m_loop(loop)
    , m_budget(budget)
    , m_timer(loop, [this] { flush(); })
    , m_windowEnd(loop.now())
{
}

void ReplySignals::add(std::weak_ptr<ReplyLine> line)
{
    m_lines.push_back(std::move(line));
    if (m_timer.isActive())
        return;
    const auto rest = m_windowEnd - m_loop.now();
    const bool isAtOnce = m_immediate > 0 || rest <= rest.zero();
    m_timer.start(isAtOnce ? 0us : std::chrono::ceil<std::chrono::microseconds>(rest));
}

void ReplySignals::flush()
{
    m_timer.stop();
    if (m_loop.now() >= m_windowEnd) {
        m_windowEnd = m_loop.now() + window();
        m_immediate = LinesAtOnce;
    }
    m_immediate -= std::min(m_immediate, m_lines.size());
    for (const auto& waiting : std::exchange(m_lines, {})) {
        if (const auto line = waiting.lock())
            line->signal();
    }
}

std::chrono::microseconds ReplySignals::window() const
{
    return std::clamp(m_budget.uses() * WindowOfADescriptor, ShortestWindow, LongestWindow);
}

} // namespace vesk::dnssd
