// SPDX-License-Identifier: MIT
#include "Question.h"

#include "Interfaces.h"

#include <algorithm>

namespace vesk::dnssd {

namespace {

using namespace std::chrono_literals;

/// From so many on the daemon needs long to ask the network for those that it does not know yet.
constexpr std::size_t Crowd = 100;

/// How long a daemon may take to tell what it knows: as long as it holds the question back.
constexpr auto LongestLook = 100ms;

constexpr unsigned AllTransports =
    static_cast<unsigned>(Transport::IPv4) | static_cast<unsigned>(Transport::IPv6);

std::string answerKey(const Record& record)
{
    std::string key(reinterpret_cast<const char*>(&record.interface), sizeof record.interface);
    key.append(reinterpret_cast<const char*>(&record.type), sizeof record.type);
    return key += record.data;
}

} // namespace

Question::Look::Look(Question& question)
    : pause(question.m_questions.glances())
    , limit(question.m_questions.m_loop, [&question] { question.exhausted(); })
{
    limit.start(LongestLook);
}

Question::Question(Questions& questions, Query query)
    : m_questions(questions)
    , m_query(std::move(query))
{
}

Question::~Question()
{
    lose();
}

void Question::join(AnswerListener& listener)
{
    m_listeners.push_back(&listener);
    // In the order of arrival: of two TXT records, one replacing the other, the last one told is to be the
    // new one.
    std::vector<const Answer*> answers;
    for (const auto& entry : m_answers) {
        if (entry.second.told)
            answers.push_back(&entry.second);
    }
    std::sort(answers.begin(), answers.end(), [](auto* a, auto* b) { return a->order < b->order; });
    for (const Answer* answer : answers)
        listener.answered(answer->record, true, true);
}

void Question::leave(AnswerListener& listener)
{
    m_listeners.erase(std::find(m_listeners.begin(), m_listeners.end(), &listener));
    if (!isIdle())
        return;
    m_idleSince = Loop::Clock::now();
    m_questions.lastOneLeft();
}

/// The daemon tells at once what it knows, and holds a new question back for a tenth of a second: time enough
/// to hear all of it, over one transport, and to give the question up before it goes out. Nothing is told
/// before that, as every listener that begins to resolve would take the daemon's time.
void Question::lookOrAsk(Backend& backend)
{
    if (m_query.type != kDNSServiceType_PTR || !m_answers.empty()) {
        ask(backend);
        return;
    }
    m_query.transport = Transport::IPv4;
    askBackend(backend);
    if (m_asking)
        m_look.emplace(*this);
}

bool Question::isCrowded() const
{
    return m_answers.size() >= Crowd;
}

void Question::rest()
{
    m_asking.reset();
    endLook();
}

void Question::endLook()
{
    if (!m_look)
        return;
    m_look.reset();
    reconsiderAll(true);
}

void Question::ask(Backend& backend)
{
    endLook();
    for (auto& entry : m_answers)
        entry.second.doubtful = entry.second.transports;
    m_query.transport = m_questions.transportFor(m_query);
    askBackend(backend);
}

void Question::askBackend(Backend& backend)
{
    m_askedAt = Loop::Clock::now();
    m_asking = backend.ask(m_query, *this);
    if (m_asking || backend.state() == Backend::State::Absent)
        return;
    for (AnswerListener* listener : m_listeners)
        listener->refused();
}

void Question::suggest(const Record& record)
{
    const std::string key = answerKey(record);
    std::vector<std::string> outdated;
    for (const auto& entry : m_answers) {
        if (entry.first != key)
            outdated.push_back(entry.first);
    }
    if (m_answers.try_emplace(key, Answer{record, 0, 0, true, m_arrivals++}).second) {
        ++m_answersFromLinks;
        tell(record, true, true);
    }
    for (const std::string& other : outdated)
        remove(other);
}

void Question::lose()
{
    rest();
    for (auto& entry : m_answers)
        unhear(entry.second, AllTransports);
}

bool Question::forgetUnconfirmed(Loop::Clock::time_point askedBefore)
{
    std::vector<std::string> unconfirmed;
    for (const auto& entry : m_answers) {
        if (entry.second.doubtful != 0 || entry.second.transports == 0)
            unconfirmed.push_back(entry.first);
    }
    if (!m_asking || m_askedAt > askedBefore)
        return m_asking && !unconfirmed.empty();
    for (const std::string& key : unconfirmed) {
        Answer& answer = m_answers.at(key);
        unhear(answer, answer.doubtful);
        if (answer.transports == 0)
            remove(key);
    }
    return false;
}

void Question::answered(const Record& record, Transport transport, bool present, bool cached)
{
    const std::string key = answerKey(record);
    if (present) {
        add(key, record, transport, cached);
        return;
    }
    const auto found = m_answers.find(key);
    if (found == m_answers.end())
        return;
    unhear(found->second, static_cast<unsigned>(transport));
    if (found->second.transports == 0)
        remove(key);
}

void Question::exhausted()
{
    if (m_look)
        m_questions.looked(m_query);
}

void Question::add(const std::string& key, const Record& record, Transport transport, bool cached)
{
    const auto [entry, isNew] = m_answers.try_emplace(key, Answer{record, 0, 0, false, m_arrivals++});
    Answer& answer = entry->second;
    const auto bit = static_cast<unsigned>(transport);
    if (!(answer.transports & bit))
        noteSighting(record, transport, true);
    answer.transports |= bit;
    answer.doubtful &= ~bit;
    if (!isNew)
        return;
    answer.told = isToBeTold(record);
    if (answer.told)
        tell(record, true, cached);
    if (!isLoopback(record) && ++m_answersFromLinks == 1)
        reconsiderAll(false);
}

void Question::remove(const std::string& key)
{
    const auto entry = m_answers.find(key);
    const Answer answer = std::move(entry->second);
    m_answers.erase(entry);
    if (answer.told)
        tell(answer.record, false, false);
    repeatSurvivor(answer);
    if (!isLoopback(answer.record) && --m_answersFromLinks == 0)
        reconsiderAll(false);
}

void Question::unhear(Answer& answer, unsigned transports)
{
    for (const Transport transport : {Transport::IPv4, Transport::IPv6}) {
        if (answer.transports & transports & static_cast<unsigned>(transport))
            noteSighting(answer.record, transport, false);
    }
    answer.transports &= ~transports;
    answer.doubtful &= ~transports;
}

/// The daemon may tell a record before the outdated one that it has replaced. Who went by the last one told
/// has to hear the first again when the outdated one goes.
void Question::repeatSurvivor(const Answer& gone)
{
    if (m_query.type != kDNSServiceType_TXT && m_query.type != kDNSServiceType_SRV)
        return;
    for (auto& entry : m_answers) {
        Answer& answer = entry.second;
        if (!answer.told || answer.record.interface != gone.record.interface || answer.order > gone.order)
            continue;
        answer.order = m_arrivals++;
        tell(answer.record, true, false);
        return;
    }
}

void Question::noteSighting(const Record& record, Transport transport, bool present)
{
    std::string_view wire = record.data;
    const auto target = record.type == kDNSServiceType_PTR ? readWireName(wire) : std::nullopt;
    if (target && target->size() >= 3)
        m_questions.sighted(*target, record.interface, transport, present);
}

void Question::tell(const Record& record, bool present, bool cached) const
{
    for (AnswerListener* listener : m_listeners)
        listener->answered(record, present, cached);
}

bool Question::isLoopback(const Record& record) const
{
    return m_query.interface == 0 && record.interface == loopbackIndex();
}

/// What this host publishes is there on loopback too; that is news only where there is nothing else.
bool Question::isToBeTold(const Record& record) const
{
    if (m_look)
        return false;
    return !isLoopback(record) || (m_answersFromLinks == 0 && onlyLoopbackIsUp());
}

void Question::reconsiderAll(bool cached)
{
    for (auto& entry : m_answers) {
        Answer& answer = entry.second;
        const bool told = isToBeTold(answer.record);
        if (answer.told == told)
            continue;
        answer.told = told;
        tell(answer.record, told, cached);
    }
}

} // namespace vesk::dnssd
