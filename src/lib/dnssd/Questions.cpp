// SPDX-License-Identifier: MIT
#include "Questions.h"

#include "Question.h"

namespace vesk::dnssd {

namespace {

using namespace std::chrono_literals;

/// Long enough for a restarted daemon to have asked three times (RFC 6762 section 5.2: after 0, 1 and 3
/// seconds).
constexpr auto ConfirmationTime = 5s;
constexpr auto LingerTime = 1s;

/// Questions that have an answer already wait until a rush of others is over, and then go to the daemon bit
/// by bit: its work grows faster than the number of questions that it has to put on the network at the same
/// time.
constexpr auto WatchDelay = 250ms;
constexpr auto LongestWatchDelay = 4s;
constexpr auto WatchInterval = 20ms;
constexpr unsigned WatchesAtOnce = 20;

std::string questionKey(const Query& query)
{
    std::string key(reinterpret_cast<const char*>(&query.interface), sizeof query.interface);
    key.append(reinterpret_cast<const char*>(&query.type), sizeof query.type);
    key.append(reinterpret_cast<const char*>(&query.recordClass), sizeof query.recordClass);
    return key += canonical(query.name);
}

} // namespace

Questions::Seat::Seat(Question& question, AnswerListener& listener)
    : m_question(question)
    , m_listener(listener)
{
}

Questions::Seat::~Seat()
{
    m_question.leave(m_listener);
}

Questions::Questions(Loop& loop)
    : m_loop(loop)
    , m_glances(loop)
    , m_toAsk(loop, [this](const std::string& key) { askAgain(key); })
    , m_toEnd(loop, [this](const std::string& key) { end(key); })
    , m_toEndLook(loop, [this](const std::string& key) { endLook(key); })
    , m_watcher(loop, [this] { watchSome(); })
    , m_confirmation(loop, [this] { forgetUnconfirmed(); })
    , m_sweeper(loop, [this] { sweep(); })
{
}

/// A question that dies still looks for others.
Questions::~Questions()
{
    const auto all = std::move(m_questions);
    m_questions.clear();
}

Question& Questions::questionFor(const Query& query)
{
    std::unique_ptr<Question>& question = m_questions[questionKey(query)];
    if (!question)
        question = std::make_unique<Question>(*this, query);
    return *question;
}

std::unique_ptr<Questions::Seat> Questions::ask(const Query& query, AnswerListener& listener)
{
    Question& question = questionFor(query);
    auto seat = std::make_unique<Seat>(question, listener);
    question.join(listener);
    if (question.isAsked() || m_backend->state() == Backend::State::Absent)
        return seat;
    if (question.isSuggested())
        watchLater(questionKey(query));
    else
        question.lookOrAsk(*m_backend);
    return seat;
}

/// Later, as the daemon may be in the middle of telling it.
void Questions::looked(const Query& query)
{
    m_toEndLook.add(questionKey(query));
}

/// A crowd is served first: the daemon would be busy with asking the network for others, and with their
/// answers.
void Questions::endLook(const std::string& key)
{
    const auto question = m_questions.find(key);
    if (question == m_questions.end() || !question->second->isLooking())
        return;
    if (question->second->isCrowded()) {
        question->second->rest();
        watchLater(key);
    } else {
        question->second->ask(*m_backend);
        confirmSoon();
    }
}

bool Questions::canGlance(const Labels& instance, uint32_t interface) const
{
    const Sightings::Sighting* sighting = m_sightings.find(instance, interface);
    // The daemon would echo another spelling than the instance's own.
    return sighting && sighting->name == instance && m_backend->state() != Backend::State::Absent;
}

std::unique_ptr<Backend::Asking> Questions::glance(const Labels& instance, uint32_t interface,
                                                   Backend::Glancer& glancer)
{
    if (!canGlance(instance, interface))
        return nullptr;
    return m_backend->glance(instance, interface, m_sightings.find(instance, interface)->transport(),
                             glancer);
}

void Questions::suggest(const Record& answer)
{
    Question& question = questionFor({answer.name, answer.type, answer.recordClass, answer.interface, {}});
    if (question.isAsked())
        return;
    question.suggest(answer);
    lastOneLeft();
}

/// Starts when nothing has come for a while, but not too late.
void Questions::watchLater(const std::string& key)
{
    const auto now = Loop::Clock::now();
    if (m_toWatch.empty())
        m_watchBy = now + LongestWatchDelay;
    m_toWatch.push_back(key);
    if (now + WatchDelay < m_watchBy)
        m_watcher.start(WatchDelay);
}

void Questions::watchSome()
{
    for (unsigned i = 0; i < WatchesAtOnce && !m_toWatch.empty(); ++i) {
        m_toAsk.add(m_toWatch.front());
        m_toWatch.pop_front();
    }
    if (!m_toWatch.empty())
        m_watcher.start(WatchInterval);
}

/// An instance that was found by browsing is asked for over one transport it was found over: that is half the
/// work.
std::optional<Transport> Questions::transportFor(const Query& query) const
{
    if (query.type != kDNSServiceType_SRV && query.type != kDNSServiceType_TXT)
        return std::nullopt;
    const Sightings::Sighting* sighting = m_sightings.find(query.name, query.interface);
    return sighting ? std::optional(sighting->transport()) : std::nullopt;
}

void Questions::sighted(const Labels& instance, uint32_t interface, Transport transport, bool present)
{
    if (present)
        m_sightings.add(instance, interface, transport);
    else
        m_sightings.remove(instance, interface, transport);
    const Sightings::Sighting* sighting = m_sightings.find(instance, interface);
    if (!sighting)
        return;
    for (const uint16_t type : {kDNSServiceType_SRV, kDNSServiceType_TXT})
        askElsewhere({instance, type, kDNSServiceClass_IN, interface, {}}, *sighting);
}

/// Asks again when the instance is not to be found any more where it is asked for.
void Questions::askElsewhere(const Query& query, const Sightings::Sighting& sighting)
{
    const auto question = m_questions.find(questionKey(query));
    if (question == m_questions.end() || !question->second->isAsked() || !question->second->transport() ||
        sighting.isSeenOver(*question->second->transport()))
        return;
    question->second->lose();
    m_toAsk.add(question->first);
}

void Questions::backendChanged(Backend::State state)
{
    m_backendSince = Loop::Clock::now();
    if (state == Backend::State::Absent) {
        m_toAsk.clear();
        m_toWatch.clear();
        for (auto& entry : m_questions)
            entry.second->lose();
    } else {
        for (const auto& entry : m_questions)
            m_toAsk.add(entry.first);
    }
}

void Questions::askAgain(const std::string& key)
{
    const auto question = m_questions.find(key);
    if (question == m_questions.end() || question->second->isAsked() || question->second->isIdle() ||
        m_backend->state() == Backend::State::Absent)
        return;
    question->second->lookOrAsk(*m_backend);
    confirmSoon();
}

void Questions::confirmSoon()
{
    if (!m_confirmation.isActive())
        m_confirmation.start(ConfirmationTime);
}

/// Counted from when the backend came to publish: only then services of this host can be seen again.
void Questions::forgetUnconfirmed()
{
    const auto longAgo = Loop::Clock::now() - ConfirmationTime;
    bool left = m_backendSince > longAgo;
    for (auto& entry : m_questions) {
        if (m_backendSince <= longAgo && entry.second->forgetUnconfirmed(longAgo))
            left = true;
    }
    if (left)
        m_confirmation.start(1s);
}

void Questions::lastOneLeft()
{
    if (!m_sweeper.isActive())
        m_sweeper.start(LingerTime);
}

void Questions::sweep()
{
    const auto longAgo = Loop::Clock::now() - LingerTime;
    for (const auto& entry : m_questions) {
        if (entry.second->isIdleSince(longAgo))
            m_toEnd.add(entry.first);
        else if (entry.second->isIdle())
            lastOneLeft();
    }
}

void Questions::end(const std::string& key)
{
    const auto question = m_questions.find(key);
    if (question == m_questions.end() || !question->second->isIdle())
        return;
    const std::unique_ptr<Question> ended = std::move(question->second);
    m_questions.erase(question);
}

} // namespace vesk::dnssd
