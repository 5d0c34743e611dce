// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_TURNS_H
#define VESK_DNSSD_TURNS_H

#include "Loop.h"

#include <deque>
#include <functional>
#include <memory>

namespace vesk::dnssd {

/**
 * Lets only so many begin something at a time; the others wait for their turn. Who takes long is not waited
 * for. In a pause nobody begins.
 */
class Turns
{
public:
    /// A place among those who wait or have begun; given up when it dies.
    class Turn
    {
    public:
        Turn(Turns& turns, Loop::Task begin);
        ~Turn();
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;

    private:
        friend class Turns;

        Turns& m_turns;
        Loop::Task m_begin;
    };

    /// As long as there is one, nobody's turn comes.
    class Pause
    {
    public:
        explicit Pause(Turns& turns);
        ~Pause();
        Pause(const Pause&) = delete;
        Pause& operator=(const Pause&) = delete;

    private:
        Turns& m_turns;
    };

    explicit Turns(Loop& loop);

    /// `begin` is called on the loop's thread, a turn of the loop later at the earliest.
    std::unique_ptr<Turn> wait(Loop::Task begin);

private:
    struct Begun
    {
        Turn* turn;
        Loop::Clock::time_point since;
    };

    bool mayCall() const;
    void leave(Turn* turn);
    void callSoon();
    void callNext();
    void forgetSlow();

    Loop& m_loop;
    std::deque<Turn*> m_waiting;
    std::deque<Begun> m_begun; ///< the first one the longest ago
    bool m_callsSoon = false;
    unsigned m_pauses = 0;
    Timer m_impatience;
};

} // namespace vesk::dnssd

#endif
