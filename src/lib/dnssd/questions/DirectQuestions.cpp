// SPDX-License-Identifier: MIT
#include "DirectQuestions.h"

#include "DnsMessage.h"

#include <sys/random.h>

#include <limits>

namespace vesk::dnssd {

namespace {

/// One that a host off the link cannot guess.
uint16_t randomNumber()
{
    uint16_t number = 0;
    getrandom(&number, sizeof number, GRND_NONBLOCK);
    return number;
}

} // namespace

class DirectQuestions::Question final : public Backend::ActiveQuery
{
public:
    Question(DirectQuestions& questions, uint16_t id, Query query, RecordListener& listener)
        : m_questions(questions)
        , m_id(id)
        , m_query(std::move(query))
        , m_listener(listener)
    {
        m_questions.m_questions.emplace(id, this);
    }
    ~Question() override { m_questions.forget(m_id); }
    Question(const Question&) = delete;
    Question& operator=(const Question&) = delete;

    bool isAnsweredBy(const ResponseRecord& record) const
    {
        return record.type == m_query.type && record.recordClass == m_query.recordClass && record.ttl > 0 &&
               canonical(record.name) == canonical(m_query.name);
    }
    /// May be the last that happens to it.
    void answer(const ResponseRecord& answer, Transport transport)
    {
        const Record record{answer.name,       answer.type, answer.recordClass,
                            m_query.interface, answer.data, answer.ttl};
        m_listener.onRecord({record, transport, true, false});
    }

private:
    DirectQuestions& m_questions;
    uint16_t m_id;
    Query m_query;
    RecordListener& m_listener;
};

struct DirectQuestions::Sockets
{
    explicit Sockets(DirectQuestions& owner)
        : ipv4(owner.m_loop, Transport::IPv4,
               [&owner](std::string_view message) { owner.receive(message, Transport::IPv4); })
        , ipv6(owner.m_loop, Transport::IPv6,
               [&owner](std::string_view message) { owner.receive(message, Transport::IPv6); })
    {
    }

    MulticastSocket ipv4;
    MulticastSocket ipv6;
};

DirectQuestions::DirectQuestions(EventLoop& loop)
    : m_loop(loop)
{
}

DirectQuestions::~DirectQuestions() = default;

Backend::Result<Backend::ActiveQuery> DirectQuestions::ask(const Query& query, RecordListener& listener)
{
    if (m_questions.size() > std::numeric_limits<uint16_t>::max())
        return {BackendError::Refused, nullptr};
    uint16_t id = randomNumber();
    while (m_questions.count(id) > 0)
        ++id;
    auto question = std::make_unique<Question>(*this, id, query, listener);
    if (!send(query, id))
        return {BackendError::Failed, nullptr};
    return {BackendError::None, std::move(question)};
}

bool DirectQuestions::send(const Query& query, uint16_t id)
{
    if (!m_sockets)
        m_sockets = std::make_unique<Sockets>(*this);
    const std::string message = questionMessage(id, query.name, query.type, query.recordClass);
    const bool isSent = m_sockets->ipv4.send(message, query.interface);
    return m_sockets->ipv6.send(message, query.interface) || isSent;
}

/// A listener may end its question, and with the last one the sockets.
void DirectQuestions::receive(std::string_view message, Transport transport)
{
    const auto response = parseResponse(message);
    if (!response)
        return;
    for (const ResponseRecord& record : response->records) {
        const auto asked = m_questions.find(response->id);
        if (asked == m_questions.end())
            return;
        if (asked->second->isAnsweredBy(record))
            asked->second->answer(record, transport);
    }
}

void DirectQuestions::forget(uint16_t id)
{
    m_questions.erase(id);
    if (m_questions.empty())
        m_sockets.reset();
}

} // namespace vesk::dnssd
