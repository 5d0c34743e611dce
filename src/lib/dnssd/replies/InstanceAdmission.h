// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_INSTANCEADMISSION_H
#define VESK_DNSSD_INSTANCEADMISSION_H

#include "DescriptorBudget.h"
#include "InstanceBacklog.h"

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace vesk::dnssd {

class ReplyLine;

/**
 * Decides when a browse hands on the next instance: when the application can follow it up. An application
 * resolves what it is told of, which takes a descriptor, and then looks up an address, which takes another.
 * So an instance waits while too few descriptors are left for that, and while too many of those handed on
 * before have not answered, unless it is known to answer. Nothing waits in an application that resolves
 * nothing, or does so on a shared connection.
 *
 * Any thread may use it. Its lock is taken before that of a line.
 */
class InstanceAdmission
{
public:
    DescriptorBudget& descriptors() { return m_descriptors; }

    /// `onHeldBack` is called by any thread when an instance is held back, once until isHoldingBack() has
    /// been false.
    void setWatcher(std::function<void()> onHeldBack) { m_onHeldBack = std::move(onHeldBack); }

    enum class Kind
    {
        Untried,
        Answered ///< when it was tried
    };
    bool admits(Kind kind);

    /// What lines report; they may be locked then.
    void heldBack() noexcept;
    void handedOn(Kind kind);
    void waitingChanged(int by) { m_waiting += by; }

    /// A line with instances; as often as there are browses that use it.
    void addLine(std::shared_ptr<ReplyLine> line);
    void removeLine(const std::shared_ptr<ReplyLine>& line);

    /// A browse has found so many instances more.
    void knownChanged(int by) { m_known += by; }

    /// Has lines hand on what may be handed on by now.
    void reconsider() noexcept;

    /// Whether instances wait for their admission.
    bool isHoldingBack();

    /// How many instances have been handed on without a trial since the start.
    uint64_t untriedHandedOn() const { return m_untriedHandedOn; }

    struct Trial
    {
        std::shared_ptr<ReplyLine> line;
        InstanceBacklog::Trial subject;
    };
    /// An instance that is held back, to be tried by the caller.
    std::optional<Trial> beginTrial(bool wantsUntried, Clock::TimePoint now);

    struct Listing
    {
        uint32_t listed;
        uint32_t known;
        uint32_t silent; ///< of those that are not listed
    };
    Listing listing();

private:
    friend class PendingResolve;

    unsigned mostUnanswered() const;

    DescriptorBudget m_descriptors;
    std::function<void()> m_onHeldBack;
    std::atomic<bool> m_isFollowed{false}; ///< the application resolves what it is told of
    std::atomic<unsigned> m_unanswered{0}; ///< resolves of the application's
    std::atomic<unsigned> m_pending{0};    ///< the same, and those whose answer it has not taken
    std::atomic<uint64_t> m_untriedHandedOn{0};
    std::atomic<int> m_known{0};
    std::atomic<int> m_waiting{0}; ///< instances in lines, admitted or not
    std::atomic<bool> m_isWatched{false};
    std::mutex m_mutex; ///< guards what follows
    std::vector<std::shared_ptr<ReplyLine>> m_lines;
};

/// A resolve with a descriptor of its own, from the call that starts it until the application has taken its
/// first answer: by then the next look-up has its descriptor.
class PendingResolve
{
public:
    explicit PendingResolve(std::shared_ptr<InstanceAdmission> admission);
    ~PendingResolve();
    PendingResolve(const PendingResolve&) = delete;
    PendingResolve& operator=(const PendingResolve&) = delete;

    void setAnswered();

private:
    std::shared_ptr<InstanceAdmission> m_admission;
    bool m_isAnswered = false;
};

} // namespace vesk::dnssd

#endif
