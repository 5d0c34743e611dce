// SPDX-License-Identifier: MIT
#include "Reconfirmation.h"

#include "DnsMessage.h"
#include "EventLoop.h"
#include "dns_sd.h"

#include <algorithm>

namespace vesk::dnssd {

namespace {

using namespace std::chrono_literals;

/// With three packets of ten lost each way, and over one transport alone, all of these questions remain
/// unanswered once in 1600 times; the last has an answer within the pause after it.
constexpr unsigned Questions = 11;
constexpr auto Pause = 700ms;

/// With fewer that could be sent nothing is known.
constexpr unsigned FewestQuestions = 3;

constexpr auto FirstLongPause = 1000ms;
constexpr auto LongestPause = 60000ms;
constexpr auto LongestTtl = 75min; ///< RFC 6762 section 10

/// The instance that a pointer names; nothing for pointers to anything else.
std::optional<Labels> instanceOf(const Record& record)
{
    std::string_view wire = record.data;
    auto target = record.type == kDNSServiceType_PTR ? readWireName(wire) : std::nullopt;
    const bool isInstance = target && target->size() > 3 && (*target)[1].substr(0, 1) == "_";
    return isInstance ? target : std::nullopt;
}

Query questionFor(const Record& record)
{
    if (const auto instance = instanceOf(record))
        return {*instance, kDNSServiceType_SRV, record.recordClass, record.interface, {}};
    return {record.name, record.type, record.recordClass, record.interface, {}};
}

} // namespace

Reconfirmation::Reconfirmation(EventLoop& loop, Backend& backend, Owner& owner, Record record)
    : m_loop(loop)
    , m_backend(backend)
    , m_owner(owner)
    , m_record(std::move(record))
    , m_question(questionFor(m_record))
    , m_pause(Pause)
    , m_end(loop.now() + LongestTtl)
    , m_timer(loop, [this] { proceed(); })
{
    m_timer.start(0ms);
}

bool Reconfirmation::isExpired() const
{
    return m_loop.now() >= m_end;
}

void Reconfirmation::resume()
{
    if (m_timer.isActive())
        return;
    if (m_isGone)
        m_pause = FirstLongPause;
    m_timer.start(0ms);
}

/// The timer comes first, so that there is a next turn when the memory does not suffice for this one. Each of
/// the calls of the owner may be the last thing that happens to this object.
void Reconfirmation::proceed()
{
    m_timer.start(m_pause);
    const bool isWanted = m_owner.isWanted(m_record);
    if (isExpired() || (!isWanted && !m_isGone))
        return m_owner.onOver(m_record);
    if (m_turns == Questions && !m_isGone)
        return giveUpHope();
    if (m_isGone)
        m_waiting.clear();
    if (!isWanted)
        return m_timer.stop(); // until resume(): the answer would be of no use
    if (m_isGone)
        m_pause = std::min<std::chrono::milliseconds>(2 * m_pause, LongestPause);
    ask();
}

void Reconfirmation::ask()
{
    ++m_turns;
    auto question = m_backend.askHosts(m_question, *this).started;
    if (!question)
        return;
    ++m_sent;
    m_waiting.push_back(std::move(question));
}

void Reconfirmation::giveUpHope()
{
    if (m_sent < FewestQuestions)
        return m_owner.onOver(m_record);
    m_pause = FirstLongPause;
    m_timer.start(m_pause);
    m_isGone = true;
    m_owner.onUnanswered(m_record);
}

void Reconfirmation::onRecord(const RecordEvent& event)
{
    const bool isAsked =
        m_question.type != m_record.type || isSameData(m_record.type, event.record.data, m_record.data);
    if (isAsked)
        m_owner.onOver(m_record);
}

} // namespace vesk::dnssd
