// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_QUESTION_H
#define VESK_DNSSD_QUESTION_H

#include "Questions.h"

namespace vesk::dnssd {

/// One question, its current answers and those who want to know them.
class Question final : private Backend::Asker
{
public:
    Question(Questions& questions, Query query);
    ~Question();
    Question(const Question&) = delete;
    Question& operator=(const Question&) = delete;

    void join(AnswerListener& listener);
    void leave(AnswerListener& listener);
    bool isIdle() const { return m_listeners.empty(); }
    bool isIdleSince(Loop::Clock::time_point time) const { return isIdle() && m_idleSince <= time; }

    /// Has a look at what is known already, if it is a question that a crowd may answer, or asks.
    void lookOrAsk(Backend& backend);
    bool isLooking() const { return m_look.has_value(); }
    bool isCrowded() const;
    /// Asks no more; the answers are still good.
    void rest();

    void ask(Backend& backend);
    bool isAsked() const { return m_asking != nullptr; }

    /// Over which transport alone it is asked, if so.
    std::optional<Transport> transport() const { return m_query.transport; }

    /// Takes what was seen otherwise for the only answer, until it is asked.
    void suggest(const Record& record);
    bool isSuggested() const { return !m_asking && !m_answers.empty(); }

    /// Asks no more. The answers stay, until forgetUnconfirmed() finds that nobody has repeated them.
    void lose();
    /// Drops what was not repeated although it was asked that long ago. Returns whether some is left to be
    /// dropped.
    bool forgetUnconfirmed(Loop::Clock::time_point askedBefore);

private:
    struct Answer
    {
        Record record;
        unsigned transports; ///< over which it was heard; none: to be confirmed
        unsigned doubtful;   ///< those of them over which it was not repeated since it was asked again
        bool told;           ///< to the listeners
        unsigned order;      ///< of arrival
    };

    /// While it is only looked at what is known; nobody resolves then.
    struct Look
    {
        explicit Look(Question& question);
        Turns::Pause pause;
        Timer limit;
    };

    void answered(const Record& record, Transport transport, bool present, bool cached) override;
    void exhausted() override;
    void askBackend(Backend& backend);
    void endLook();
    bool isToBeTold(const Record& record) const;
    bool isLoopback(const Record& record) const;
    void add(const std::string& key, const Record& record, Transport transport, bool cached);
    void remove(const std::string& key);
    void unhear(Answer& answer, unsigned transports);
    void tell(const Record& record, bool present, bool cached) const;
    void reconsiderAll(bool cached);
    void repeatSurvivor(const Answer& gone);
    void noteSighting(const Record& record, Transport transport, bool present);

    Questions& m_questions;
    Query m_query;
    std::unique_ptr<Backend::Asking> m_asking;
    std::optional<Look> m_look;
    std::unordered_map<std::string, Answer> m_answers; ///< by interface and data
    std::vector<AnswerListener*> m_listeners;
    Loop::Clock::time_point m_idleSince = Loop::Clock::now();
    Loop::Clock::time_point m_askedAt;
    unsigned m_arrivals = 0;
    unsigned m_answersFromLinks = 0; ///< those that did not come by loopback
};

} // namespace vesk::dnssd

#endif
