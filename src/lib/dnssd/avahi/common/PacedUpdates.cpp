// SPDX-License-Identifier: MIT
#include "PacedUpdates.h"

namespace vesk::dnssd {

namespace {

constexpr auto Pause = std::chrono::milliseconds(400);

/// The last one is not to come much later than it was given.
constexpr std::size_t MostThatWait = 3;

} // namespace

PacedUpdates::PacedUpdates(EventLoop& loop, Pass pass)
    : m_pass(std::move(pass))
    , m_pause(loop, [this] { passNext(); })
{
}

void PacedUpdates::begin()
{
    m_hasBegun = true;
    if (!m_pause.isActive())
        passNext();
}

void PacedUpdates::add(std::string data)
{
    m_waiting.push_back(std::move(data));
    if (m_waiting.size() > (m_hasBegun ? MostThatWait : 1))
        m_waiting.pop_front();
    if (m_hasBegun && !m_pause.isActive())
        passNext();
}

void PacedUpdates::passNext()
{
    if (m_waiting.empty())
        return;
    m_pause.start(Pause);
    m_pass(m_waiting.front());
    m_waiting.pop_front();
}

} // namespace vesk::dnssd
