// SPDX-License-Identifier: MIT
#include "InstanceBacklog.h"

#include <algorithm>

namespace vesk::dnssd {

namespace {

using namespace std::chrono_literals;

/// How long an instance that was silent is left alone: twice as long after each further trial.
constexpr std::chrono::seconds FirstPause = 30s;
constexpr unsigned MostDoublings = 7; // a little more than an hour

std::chrono::seconds pauseAfter(unsigned silences)
{
    return FirstPause * (1U << std::min(silences - 1, MostDoublings));
}

} // namespace

void InstanceBacklog::add(WaitingReply waiting)
{
    remove(waiting.source, waiting.reply.subject);
    Entries entry;
    entry.push_back({std::move(waiting)});
    m_places.emplace(keyOf(entry.front()), Place{&m_untried, entry.begin()});
    m_untried.splice(m_untried.end(), entry);
}

InstanceBacklog::Place* InstanceBacklog::find(const ReplyQueue* source, std::string_view subject)
{
    const auto place = m_places.find({source, subject});
    return place == m_places.end() ? nullptr : &place->second;
}

std::optional<WaitingReply> InstanceBacklog::remove(const ReplyQueue* source, std::string_view subject)
{
    const Place* place = find(source, subject);
    return place ? std::optional(take(*place)) : std::nullopt;
}

void InstanceBacklog::removeAll(const ReplyQueue* source)
{
    const auto first = m_places.lower_bound({source, {}});
    auto last = first;
    for (; last != m_places.end() && last->first.first == source; ++last) {
    }
    std::list<Entry> removed; // outlives the places, whose keys point into it
    for (auto place = first; place != last; ++place)
        removed.splice(removed.end(), *place->second.list, place->second.entry);
    m_places.erase(first, last);
}

const WaitingReply* InstanceBacklog::next() const
{
    if (hasAnswered())
        return &m_answered.front().waiting;
    return hasUntried() ? &m_untried.front().waiting : nullptr;
}

WaitingReply InstanceBacklog::takeNext()
{
    Entries& list = hasAnswered() ? m_answered : m_untried;
    return take({&list, list.begin()});
}

WaitingReply InstanceBacklog::take(const Place& place)
{
    Entries taken;
    taken.splice(taken.end(), *place.list, place.entry);
    m_places.erase(keyOf(taken.front()));
    return std::move(taken.front().waiting);
}

void InstanceBacklog::move(Place& place, Entries& list, Entries::iterator before)
{
    list.splice(before, *place.list, place.entry);
    place.list = &list;
}

InstanceBacklog::Place* InstanceBacklog::nextToTry(bool wantsUntried, Clock::TimePoint now)
{
    const Entry* newest = wantsUntried && hasUntried() ? &m_untried.back() : nullptr;
    for (const Entry& entry : m_silent) {
        if (entry.notBefore <= now && (!newest || entry.waiting.order > newest->waiting.order))
            newest = &entry;
    }
    return newest ? &m_places.at(keyOf(*newest)) : nullptr;
}

std::optional<InstanceBacklog::Trial> InstanceBacklog::beginTrial(bool wantsUntried, Clock::TimePoint now)
{
    Place* place = nextToTry(wantsUntried, now);
    if (!place)
        return std::nullopt;
    const WaitingReply& waiting = place->entry->waiting;
    Trial trial{{waiting.source, waiting.reply.subject}, *waiting.reply.instance};
    move(*place, m_tried, m_tried.end());
    return trial;
}

void InstanceBacklog::endTrial(const ReplyKey& key, Outcome outcome, Clock::TimePoint now)
{
    Place* place = find(key.source, key.subject);
    if (!place || place->list != &m_tried)
        return;
    switch (outcome) {
    case Outcome::Answered:
        move(*place, m_answered, m_answered.end());
        return;
    case Outcome::Silent:
        place->entry->notBefore = now + pauseAfter(++place->entry->silences);
        move(*place, m_silent, m_silent.end());
        return;
    case Outcome::Undone: // it is the last one to be tried next
        move(*place, m_untried, m_untried.begin());
        return;
    }
}

} // namespace vesk::dnssd
