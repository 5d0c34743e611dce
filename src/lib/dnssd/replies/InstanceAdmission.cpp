// SPDX-License-Identifier: MIT
#include "InstanceAdmission.h"

#include "ReplyLine.h"

#include <algorithm>
#include <new>

namespace vesk::dnssd {

namespace {

/// A resolve, and the look-up of an address that begins before the resolve ends.
constexpr int64_t DescriptorsPerInstance = 2;

/// More than are resolved at a time, so that there is always a next one; few enough that names without a
/// service behind them take a small part of the descriptors only.
constexpr uint32_t MostUnanswered = 64;
constexpr uint32_t ShareOfUnanswered = 16;
constexpr uint32_t FewestUnanswered = 4;

} // namespace

unsigned InstanceAdmission::mostUnanswered() const
{
    return std::clamp(DescriptorBudget::limit() / ShareOfUnanswered, FewestUnanswered, MostUnanswered);
}

bool InstanceAdmission::admits(Kind kind)
{
    if (!m_isFollowed)
        return true;
    if (kind == Kind::Untried && m_unanswered >= mostUnanswered())
        return false;
    return m_descriptors.available() >= DescriptorsPerInstance + m_pending;
}

void InstanceAdmission::heldBack() noexcept
try {
    if (m_onHeldBack && !m_isWatched.exchange(true))
        m_onHeldBack();
} catch (const std::bad_alloc&) {
    m_isWatched = false; // the next one tells
}

void InstanceAdmission::handedOn(Kind kind)
{
    if (kind == Kind::Untried)
        ++m_untriedHandedOn;
}

void InstanceAdmission::addLine(std::shared_ptr<ReplyLine> line)
{
    const std::lock_guard lock(m_mutex);
    m_lines.push_back(std::move(line));
}

void InstanceAdmission::removeLine(const std::shared_ptr<ReplyLine>& line)
{
    std::shared_ptr<ReplyLine> removed; // may be the last reference, and outlives the lock
    const std::lock_guard lock(m_mutex);
    const auto place = std::find(m_lines.begin(), m_lines.end(), line);
    if (place == m_lines.end())
        return;
    removed = std::move(*place);
    m_lines.erase(place);
}

void InstanceAdmission::reconsider() noexcept
{
    if (m_waiting == 0)
        return;
    const std::lock_guard lock(m_mutex);
    for (const auto& line : m_lines)
        line->reconsider();
}

bool InstanceAdmission::isHoldingBack()
{
    const std::lock_guard lock(m_mutex);
    m_isWatched = false; // first: a line that holds back from now on tells
    const bool isAny =
        std::any_of(m_lines.begin(), m_lines.end(), [](const auto& line) { return line->isHoldingBack(); });
    if (isAny)
        m_isWatched = true;
    return isAny;
}

std::optional<InstanceAdmission::Trial> InstanceAdmission::beginTrial(bool wantsUntried, Clock::TimePoint now)
{
    const std::lock_guard lock(m_mutex);
    for (auto line = m_lines.begin(); line != m_lines.end(); ++line) {
        if (auto trial = (*line)->beginTrial(wantsUntried, now)) {
            std::rotate(m_lines.begin(), std::next(line), m_lines.end()); // the next trial is another one's
            return Trial{m_lines.back(), std::move(*trial)};
        }
    }
    return std::nullopt;
}

InstanceAdmission::Listing InstanceAdmission::listing()
{
    const std::lock_guard lock(m_mutex);
    std::size_t silent = 0;
    std::vector<const ReplyLine*> seen; // a line that several browses share counts once
    for (const auto& line : m_lines) {
        if (std::find(seen.begin(), seen.end(), line.get()) != seen.end())
            continue;
        seen.push_back(line.get());
        silent += line->silentInstances();
    }
    const int known = std::max(m_known.load(), 0);
    const int listed = std::max(known - m_waiting, 0);
    return {static_cast<uint32_t>(listed), static_cast<uint32_t>(known), static_cast<uint32_t>(silent)};
}

PendingResolve::PendingResolve(std::shared_ptr<InstanceAdmission> admission)
    : m_admission(std::move(admission))
{
    m_admission->m_isFollowed = true;
    ++m_admission->m_unanswered;
    ++m_admission->m_pending;
}

PendingResolve::~PendingResolve()
{
    if (!m_isAnswered)
        --m_admission->m_unanswered;
    --m_admission->m_pending;
    m_admission->reconsider();
}

void PendingResolve::setAnswered()
{
    m_isAnswered = true;
    --m_admission->m_unanswered;
    m_admission->reconsider();
}

} // namespace vesk::dnssd
