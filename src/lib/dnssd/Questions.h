// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_QUESTIONS_H
#define VESK_DNSSD_QUESTIONS_H

#include "Backend.h"
#include "Chores.h"
#include "Loop.h"
#include "Sightings.h"
#include "Turns.h"

#include <deque>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace vesk::dnssd {

class Question;

/// Who wants to know the answers to a question, each once for every interface.
class AnswerListener
{
public:
    /// `cached`: the answer was known before it was asked for.
    virtual void answered(const Record& record, bool present, bool cached) = 0;
    /// Whoever has the answers has no room for a further question; there will be none.
    virtual void refused() = 0;

protected:
    ~AnswerListener() = default;
};

/**
 * All questions of the process, each asked once, however many want to know the answer. A question lingers a
 * moment after the last one has left, for whoever asks the same next. Questions and their answers outlive the
 * backend: when it is back everything is asked again, and only what has changed meanwhile is told.
 */
class Questions
{
public:
    explicit Questions(Loop& loop);
    ~Questions();
    Questions(const Questions&) = delete;
    Questions& operator=(const Questions&) = delete;

    void setBackend(Backend& backend) { m_backend = &backend; }

    /// A place among those who want to know; leaving it is enough to be told no more.
    class Seat
    {
    public:
        Seat(Question& question, AnswerListener& listener);
        ~Seat();
        Seat(const Seat&) = delete;
        Seat& operator=(const Seat&) = delete;

    private:
        Question& m_question;
        AnswerListener& m_listener;
    };

    /// Answers that are known already are told during the call.
    std::unique_ptr<Seat> ask(const Query& query, AnswerListener& listener);

    /// Whether an instance is seen by browsing; what is not has to be asked for.
    bool canGlance(const Labels& instance, uint32_t interface) const;
    /// Whoever glances waits for a turn. What the daemon has in its cache is told before it asks the network
    /// for it, unless it has too many at a time to look for.
    Turns& glances() { return m_glances; }
    /// Has a single look at an instance; nothing if that cannot be.
    std::unique_ptr<Backend::Asking> glance(const Labels& instance, uint32_t interface,
                                            Backend::Glancer& glancer);

    /// Answers a question for whoever asks it within a moment. Only then it is really asked, when there is
    /// time.
    void suggest(const Record& answer);

    void backendChanged(Backend::State state);

private:
    friend class Question;

    std::optional<Transport> transportFor(const Query& query) const;
    void sighted(const Labels& instance, uint32_t interface, Transport transport, bool present);
    void askElsewhere(const Query& query, const Sightings::Sighting& sighting);
    Question& questionFor(const Query& query);
    void looked(const Query& query);
    void endLook(const std::string& key);
    void watchLater(const std::string& key);
    void watchSome();

    void askAgain(const std::string& key);
    void confirmSoon();
    void forgetUnconfirmed();
    void lastOneLeft();
    void sweep();
    void end(const std::string& key);

    Loop& m_loop;
    Backend* m_backend = nullptr;
    Sightings m_sightings; // before the questions: they leave it when they die
    std::unordered_map<std::string, std::unique_ptr<Question>> m_questions;
    Turns m_glances;
    Chores<std::string> m_toAsk;
    Chores<std::string> m_toEnd;
    Chores<std::string> m_toEndLook;
    std::deque<std::string>
        m_toWatch; ///< questions that have an answer and are to be asked when there is time
    Timer m_watcher;
    Loop::Clock::time_point m_watchBy;
    Timer m_confirmation;
    Loop::Clock::time_point m_backendSince;
    Timer m_sweeper;
};

} // namespace vesk::dnssd

#endif
