// SPDX-License-Identifier: MIT
#include "Turns.h"

#include <algorithm>

namespace vesk::dnssd {

namespace {

using namespace std::chrono_literals;

constexpr std::size_t AtATime = 50;

/// Shorter than the tenth of a second after which the daemon asks the network.
constexpr auto LongestTurn = 50ms;

} // namespace

Turns::Turn::Turn(Turns& turns, Loop::Task begin)
    : m_turns(turns)
    , m_begin(std::move(begin))
{
}

Turns::Turn::~Turn()
{
    m_turns.leave(this);
}

Turns::Pause::Pause(Turns& turns)
    : m_turns(turns)
{
    ++m_turns.m_pauses;
}

Turns::Pause::~Pause()
{
    --m_turns.m_pauses;
    m_turns.callSoon();
}

Turns::Turns(Loop& loop)
    : m_loop(loop)
    , m_impatience(loop, [this] { forgetSlow(); })
{
}

std::unique_ptr<Turns::Turn> Turns::wait(Loop::Task begin)
{
    auto turn = std::make_unique<Turn>(*this, std::move(begin));
    m_waiting.push_back(turn.get());
    callSoon();
    return turn;
}

void Turns::leave(Turn* turn)
{
    const auto isIt = [turn](const Begun& begun) { return begun.turn == turn; };
    const auto begun = std::find_if(m_begun.begin(), m_begun.end(), isIt);
    if (begun != m_begun.end())
        m_begun.erase(begun);
    else
        m_waiting.erase(std::remove(m_waiting.begin(), m_waiting.end(), turn), m_waiting.end());
    callSoon();
}

bool Turns::mayCall() const
{
    return m_pauses == 0 && !m_waiting.empty() && m_begun.size() < AtATime;
}

/// One a turn of the loop, so that a thousand of them keep nobody waiting.
void Turns::callSoon()
{
    if (m_callsSoon || !mayCall())
        return;
    m_callsSoon = true;
    m_loop.post([this] { callNext(); });
}

void Turns::callNext()
{
    m_callsSoon = false;
    if (!mayCall())
        return;
    Turn* next = m_waiting.front();
    m_waiting.pop_front();
    m_begun.push_back({next, Loop::Clock::now()});
    if (!m_impatience.isActive())
        m_impatience.start(LongestTurn);
    callSoon();
    const Loop::Task begin = std::move(next->m_begin); // the turn may be given up meanwhile
    begin();
}

void Turns::forgetSlow()
{
    const auto longAgo = Loop::Clock::now() - LongestTurn;
    while (!m_begun.empty() && m_begun.front().since <= longAgo)
        m_begun.pop_front();
    if (!m_begun.empty())
        m_impatience.start(LongestTurn);
    callSoon();
}

} // namespace vesk::dnssd
