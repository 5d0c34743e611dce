// SPDX-License-Identifier: MIT
#include "ReplyLine.h"

#include "ReplySignals.h"

#include <algorithm>
#include <map>
#include <string_view>
#include <utility>

namespace vesk::dnssd {

namespace {

constexpr std::size_t ShortestToReview = 1024;

bool impliesKnown(Reply::Kind kind)
{
    return kind == Reply::Kind::Vanished || kind == Reply::Kind::Repeated;
}

} // namespace

ReplyLine::ReplyLine(std::shared_ptr<InstanceAdmission> admission, ReplySignals* signals)
    : m_admission(std::move(admission))
    , m_signals(signals)
    , m_use(m_admission->descriptors())
{
}

int ReplyLine::descriptor() const
{
    const std::lock_guard lock(m_mutex);
    return m_readable.get();
}

void ReplyLine::enter(const ReplyQueue* source)
{
    const std::lock_guard lock(m_mutex);
    m_sources.insert(source);
}

void ReplyLine::put(const ReplyQueue* source, Reply reply)
{
    std::list<WaitingReply> dropped; // outlives the lock: a reply's end may call back
    const std::lock_guard lock(m_mutex);
    if (m_sources.count(source) == 0)
        return;
    const bool wasReady = isReady();
    // First: without memory for it, no reply may wait that nothing tells of.
    if (m_signals && !wasReady)
        m_signals->add(weak_from_this());
    WaitingReply waiting{source, std::move(reply), m_arrivals++};
    if (waiting.reply.instance)
        m_instances.add(std::move(waiting));
    else if (waiting.reply.kind == Reply::Kind::Vanished)
        addVanished(std::move(waiting));
    else
        m_waiting.push_back(std::move(waiting));
    countInstances();
    if (!m_isNextAdmitted)
        admitNext();
    if (m_waiting.size() >= m_reviewAt)
        dropPointless(dropped);
    if (m_signals && isReady())
        m_changed.notify_one(); // the descriptor follows with the signal
    else
        showReadiness(wasReady);
}

void ReplyLine::signal()
{
    const std::lock_guard lock(m_mutex);
    if (isReady())
        m_readable.set();
}

/// Of an instance that was held back the application knows nothing. One that is admitted is still told of,
/// as the application may be about to take it.
void ReplyLine::addVanished(WaitingReply waiting)
{
    auto instance = m_instances.remove(waiting.source, waiting.reply.subject);
    if (instance && !m_isNextAdmitted)
        return;
    if (instance)
        m_waiting.push_back(std::move(*instance));
    m_waiting.push_back(std::move(waiting));
    if (instance)
        admitNext();
}

std::optional<Delivery> ReplyLine::take(const ReplyQueue* source)
{
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [&] { return m_sources.count(source) == 0 || isReady(); });
    return takeNext(source);
}

std::optional<Delivery> ReplyLine::takeWaiting(const ReplyQueue* source)
{
    const std::lock_guard lock(m_mutex);
    return takeNext(source);
}

std::optional<Delivery> ReplyLine::takeNext(const ReplyQueue* source)
{
    if (m_sources.count(source) == 0 || !isReady())
        return std::nullopt;
    Delivery delivery{takeOldest().reply, 0};
    admitNext();
    if (isReady())
        delivery.moreComing = kDNSServiceFlagsMoreComing;
    else
        m_readable.clear();
    return delivery;
}

WaitingReply ReplyLine::takeOldest()
{
    const WaitingReply* instance = m_isNextAdmitted ? m_instances.next() : nullptr;
    if (instance && (m_waiting.empty() || instance->order < m_waiting.front().order)) {
        using Kind = InstanceAdmission::Kind;
        m_admission->handedOn(m_instances.hasAnswered() ? Kind::Answered : Kind::Untried);
        WaitingReply taken = m_instances.takeNext();
        countInstances();
        return taken;
    }
    WaitingReply taken = std::move(m_waiting.front());
    m_waiting.pop_front();
    return taken;
}

void ReplyLine::leave(const ReplyQueue* source) noexcept
{
    std::list<WaitingReply> dropped; // outlives the lock: a reply's end may call back
    {
        const std::lock_guard lock(m_mutex);
        if (m_sources.erase(source) == 0)
            return;
        const bool wasReady = isReady();
        for (auto waiting = m_waiting.begin(); waiting != m_waiting.end();) {
            const auto current = waiting++;
            if (current->source == source)
                dropped.splice(dropped.end(), m_waiting, current);
        }
        m_instances.removeAll(source);
        countInstances();
        m_isNextAdmitted = m_isNextAdmitted && m_instances.next();
        if (m_sources.empty()) {
            m_readable.close();
            m_use.reset();
        } else {
            showReadiness(wasReady);
        }
        m_changed.notify_all();
    }
    m_admission->reconsider(); // there is a descriptor more
}

/// The admission learns of an instance before it is asked about it: else it could change its mind in between
/// and not tell this line.
void ReplyLine::countInstances()
{
    const int size = static_cast<int>(m_instances.size());
    m_admission->waitingChanged(size - std::exchange(m_countedInstances, size));
}

void ReplyLine::admitNext()
{
    using Kind = InstanceAdmission::Kind;
    m_isNextAdmitted =
        m_instances.next() && m_admission->admits(m_instances.hasAnswered() ? Kind::Answered : Kind::Untried);
    if (isHoldingBackLocked())
        m_admission->heldBack();
}

void ReplyLine::showReadiness(bool wasReady)
{
    if (isReady() && !wasReady)
        m_readable.set();
    else if (!isReady() && wasReady)
        m_readable.clear();
    m_changed.notify_one();
}

void ReplyLine::reconsider()
{
    const std::lock_guard lock(m_mutex);
    if (!isHoldingBackLocked())
        return;
    const bool wasReady = isReady();
    admitNext();
    showReadiness(wasReady);
}

bool ReplyLine::isHoldingBack() const
{
    const std::lock_guard lock(m_mutex);
    return isHoldingBackLocked();
}

std::optional<InstanceBacklog::Trial> ReplyLine::beginTrial(bool wantsUntried, Clock::TimePoint now)
{
    const std::lock_guard lock(m_mutex);
    if (m_isNextAdmitted)
        return std::nullopt;
    return m_instances.beginTrial(wantsUntried, now);
}

void ReplyLine::endTrial(const ReplyKey& key, InstanceBacklog::Outcome outcome, Clock::TimePoint now)
{
    const std::lock_guard lock(m_mutex);
    m_instances.endTrial(key, outcome, now);
    if (m_isNextAdmitted)
        return;
    const bool wasReady = isReady();
    admitNext();
    showReadiness(wasReady);
}

std::size_t ReplyLine::silentInstances() const
{
    const std::lock_guard lock(m_mutex);
    return m_instances.silent();
}

/// Of the replies about a subject the last one stays, unless it says that something is gone which the
/// application never knew of.
void ReplyLine::dropPointless(std::list<WaitingReply>& dropped)
{
    struct Pending
    {
        bool wasKnown; ///< to the application, before the first of them
        std::list<WaitingReply>::iterator last;
    };
    const auto subjectOf = [](const WaitingReply& waiting) {
        return std::pair(waiting.source, std::string_view(waiting.reply.subject));
    };
    std::map<std::pair<const ReplyQueue*, std::string_view>, Pending> subjects;
    for (auto waiting = m_waiting.begin(); waiting != m_waiting.end(); ++waiting) {
        const Reply::Kind kind = waiting->reply.kind;
        if (kind == Reply::Kind::Lasting)
            continue;
        subjects.try_emplace(subjectOf(*waiting), Pending{impliesKnown(kind), waiting}).first->second.last =
            waiting;
    }
    for (auto waiting = m_waiting.begin(); waiting != m_waiting.end();) {
        const auto current = waiting++;
        const Reply::Kind kind = current->reply.kind;
        if (kind == Reply::Kind::Lasting)
            continue;
        const Pending& pending = subjects.at(subjectOf(*current));
        const bool isNoNews = kind == Reply::Kind::Vanished && !pending.wasKnown;
        if (pending.last != current || isNoNews)
            dropped.splice(dropped.end(), m_waiting, current);
    }
    m_reviewAt = std::max(ShortestToReview, 2 * m_waiting.size());
}

} // namespace vesk::dnssd
