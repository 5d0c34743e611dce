// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_REPLYLINE_H
#define VESK_DNSSD_REPLYLINE_H

#include "EventDescriptor.h"
#include "InstanceAdmission.h"

#include <condition_variable>
#include <list>
#include <mutex>
#include <optional>
#include <unordered_set>

namespace vesk::dnssd {

class ReplyQueue;
class ReplySignals;

/**
 * Replies in the order of their arrival behind one descriptor, which becomes readable when there is one to
 * take, and is no longer when there is none: those of one operation, or of all that share a connection.
 * Written by the I/O thread, read by the application's threads. When an application does not read, replies
 * that later ones have made pointless are dropped, so that no more wait than there are subjects.
 *
 * Instances that have appeared wait for their admission, each for the one before it to be taken: only then it
 * is known what has become of that. One that is admitted stays so, because the application may have seen that
 * the descriptor is readable.
 */
class ReplyLine : public std::enable_shared_from_this<ReplyLine>
{
public:
    /// Without an admission instances do not wait; without signals the descriptor becomes readable as soon as
    /// a reply comes. Throws std::system_error when the process has no descriptor left.
    explicit ReplyLine(std::shared_ptr<InstanceAdmission> admission = std::make_shared<InstanceAdmission>(),
                       ReplySignals* signals = nullptr);

    /// -1 once the last source has left.
    int descriptor() const;

    /// A source is what puts replies here. What one that has left puts is dropped.
    void enter(const ReplyQueue* source);
    void put(const ReplyQueue* source, Reply reply);

    /// Makes the descriptor readable if there is a reply to take.
    void signal();

    /// Drops the replies of a source, now and later, and wakes the threads that wait. The last one closes the
    /// descriptor. Allocates nothing.
    void leave(const ReplyQueue* source) noexcept;

    /// Takes the oldest reply of all sources; waits for one when there is none. Nothing once the source has
    /// left.
    std::optional<Delivery> take(const ReplyQueue* source);

    /// The same without waiting: nothing, too, when there is none.
    std::optional<Delivery> takeWaiting(const ReplyQueue* source);

    /// Admits the next instance if it may be handed on by now.
    void reconsider();
    /// Whether there are instances and none is admitted.
    bool isHoldingBack() const;

    /// What InstanceBacklog has of these names, while instances are held back.
    std::optional<InstanceBacklog::Trial> beginTrial(bool wantsUntried, Clock::TimePoint now);
    void endTrial(const ReplyKey& key, InstanceBacklog::Outcome outcome, Clock::TimePoint now);
    std::size_t silentInstances() const;

    /// Closes the descriptor in a forked process, where another thread may have held the lock.
    void closeInherited() noexcept { m_readable.close(); }

private:
    bool isReady() const { return !m_waiting.empty() || m_isNextAdmitted; }
    bool isHoldingBackLocked() const { return m_instances.size() > 0 && !m_isNextAdmitted; }
    void addVanished(WaitingReply waiting);
    std::optional<Delivery> takeNext(const ReplyQueue* source);
    WaitingReply takeOldest();
    void admitNext();
    void showReadiness(bool wasReady);
    void dropPointless(std::list<WaitingReply>& dropped);
    void countInstances();

    std::shared_ptr<InstanceAdmission> m_admission;
    ReplySignals* m_signals;
    std::optional<DescriptorBudget::Use> m_use; ///< until the descriptor is closed
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::unordered_set<const ReplyQueue*> m_sources;
    std::list<WaitingReply> m_waiting;
    InstanceBacklog m_instances;
    int m_countedInstances = 0; ///< those that the admission knows to wait
    bool m_isNextAdmitted = false;
    uint64_t m_arrivals = 0;
    std::size_t m_reviewAt = 1024; ///< the length at which pointless replies are looked for
    EventDescriptor m_readable;
};

} // namespace vesk::dnssd

#endif
