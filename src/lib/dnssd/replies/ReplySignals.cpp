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

/// Of a round of Qt's event loop, which looks at all descriptors.
constexpr auto TimeOfADescriptor = 1200ns;
/// So that a round takes a tenth of the window.
constexpr auto WindowOfADescriptor = 10 * TimeOfADescriptor;
constexpr std::chrono::microseconds LongestWindow = 12ms;

/// What one or two instances need: their resolve, address and TXT replies follow each other fast.
constexpr int64_t FewestLinesAtOnce = 8;

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
        m_immediate = linesAtOnce();
    }
    m_immediate -= std::min(m_immediate, m_lines.size());
    for (const auto& waiting : std::exchange(m_lines, {})) {
        if (const auto line = waiting.lock())
            line->signal();
    }
}

std::chrono::microseconds ReplySignals::window() const
{
    const auto wanted =
        std::chrono::duration_cast<std::chrono::microseconds>(m_budget.uses() * WindowOfADescriptor);
    return std::clamp(wanted, ShortestWindow, LongestWindow);
}

/// A round of the application's event loop for each of them takes half of the window.
std::size_t ReplySignals::linesAtOnce() const
{
    const auto round = std::max<int64_t>(m_budget.uses(), 1) * TimeOfADescriptor;
    return static_cast<std::size_t>(std::max<int64_t>(window() / 2 / round, FewestLinesAtOnce));
}

} // namespace vesk::dnssd
