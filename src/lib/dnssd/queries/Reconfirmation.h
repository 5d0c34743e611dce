// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_RECONFIRMATION_H
#define VESK_DNSSD_RECONFIRMATION_H

#include "Backend.h"
#include "Timer.h"

#include <memory>
#include <vector>

namespace vesk::dnssd {

/**
 * A record that an application doubts (RFC 6762 section 10.4). Its host is asked for it so often that one
 * that loses many packets is still heard; when no answer has come within eight seconds the record counts as
 * gone. It is asked for more and more rarely from then on, until it is heard again.
 *
 * An instance that a browse has found is asked for its SRV record: every host would answer the browse.
 */
class Reconfirmation final : private RecordListener
{
public:
    class Owner
    {
    public:
        /// Whether an operation subscribes to the record.
        virtual bool isWanted(const Record& record) const = 0;
        /// isGone() from now on.
        virtual void onUnanswered(const Record& record) = 0;
        /// The record is there, or there is no more to find out. May end the reconfirmation.
        virtual void onOver(const Record& record) = 0;

    protected:
        ~Owner() = default;
    };

    Reconfirmation(EventLoop& loop, Backend& backend, Owner& owner, Record record);
    Reconfirmation(const Reconfirmation&) = delete;
    Reconfirmation& operator=(const Reconfirmation&) = delete;

    bool isGone() const { return m_isGone; }
    const Record& record() const { return m_record; }
    /// The responder has forgotten it by now, or has heard it again.
    bool isExpired() const;

    /// Asks at once, if it has stopped asking because no operation subscribed to the record.
    void resume();

private:
    void onRecord(const RecordEvent& event) override;
    void onQueryFailed(BackendError) override {}

    void proceed();
    void ask();
    void giveUpHope();

    EventLoop& m_loop;
    Backend& m_backend;
    Owner& m_owner;
    Record m_record;
    Query m_question;
    bool m_isGone = false;
    unsigned m_turns = 0;
    unsigned m_sent = 0;
    std::chrono::milliseconds m_pause;
    Clock::TimePoint m_end; ///< by which the record has expired
    std::vector<std::unique_ptr<Backend::ActiveQuery>>
        m_waiting; ///< questions that an answer may still come to
    Timer m_timer;
};

} // namespace vesk::dnssd

#endif
