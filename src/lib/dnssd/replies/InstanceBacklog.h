// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_INSTANCEBACKLOG_H
#define VESK_DNSSD_INSTANCEBACKLOG_H

#include "Clock.h"
#include "Reply.h"

#include <list>
#include <map>
#include <optional>
#include <string_view>
#include <utility>

namespace vesk::dnssd {

class ReplyQueue;

/// A reply in a line, and which operation's it is.
struct WaitingReply
{
    const ReplyQueue* source;
    Reply reply;
    uint64_t order; ///< of arrival
};

/// Names a reply in a line.
struct ReplyKey
{
    const ReplyQueue* source;
    std::string subject;
};

/**
 * Instances that have appeared and have not been handed over yet. Those that are untried have not been asked
 * for; the others have been, or are being, resolved to see whether a service is behind the name.
 */
class InstanceBacklog
{
public:
    std::size_t size() const { return m_places.size(); }
    bool hasAnswered() const { return !m_answered.empty(); }
    bool hasUntried() const { return !m_untried.empty(); }
    std::size_t silent() const { return m_silent.size(); }

    /// Replaces what there is about the subject.
    void add(WaitingReply waiting);
    /// Takes out the reply about a subject, if there is one.
    std::optional<WaitingReply> remove(const ReplyQueue* source, std::string_view subject);
    void removeAll(const ReplyQueue* source);

    /// The next one to hand over: one that has answered before those that are untried, in their order. Null
    /// when there is none.
    const WaitingReply* next() const;
    WaitingReply takeNext();

    struct Trial
    {
        ReplyKey key;
        BrowsedInstance instance;
    };
    /// Marks an instance as being tried, and gives it: the newest of those that were silent and are due again
    /// and of the untried, if such are wanted, so that one that has just come does not wait for all those
    /// before it.
    std::optional<Trial> beginTrial(bool wantsUntried, Clock::TimePoint now);
    enum class Outcome
    {
        Answered,
        Silent,
        Undone ///< it could not be tried
    };
    /// Without effect when the instance has gone meanwhile, be it back again.
    void endTrial(const ReplyKey& key, Outcome outcome, Clock::TimePoint now);

private:
    struct Entry
    {
        WaitingReply waiting;
        unsigned silences = 0;           ///< trials without an answer
        Clock::TimePoint notBefore = {}; ///< that it is tried again
    };
    using Entries = std::list<Entry>;
    struct Place
    {
        Entries* list;
        Entries::iterator entry;
    };
    using Key = std::pair<const ReplyQueue*, std::string_view>;

    static Key keyOf(const Entry& entry) { return {entry.waiting.source, entry.waiting.reply.subject}; }
    Place* find(const ReplyQueue* source, std::string_view subject);
    void move(Place& place, Entries& list, Entries::iterator before);
    WaitingReply take(const Place& place);
    Place* nextToTry(bool wantsUntried, Clock::TimePoint now);

    Entries m_untried;
    Entries m_tried; ///< at this moment
    Entries m_silent;
    Entries m_answered;
    std::map<Key, Place> m_places;
};

} // namespace vesk::dnssd

#endif
