// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_PACEDUPDATES_H
#define VESK_DNSSD_PACEDUPDATES_H

#include "Timer.h"

#include <deque>
#include <functional>
#include <string>

namespace vesk::dnssd {

/**
 * Passes updates of a record on, in their order, so slowly that the daemon announces each. It announces a
 * change up to 370 ms later, and not at all when another one comes by then: updates that follow each other
 * faster would not be seen before they end. Of many in a row the last few are passed on.
 *
 * Before it begins only the last one waits: nothing has been announced yet that it would replace.
 */
class PacedUpdates
{
public:
    using Pass = std::function<void(const std::string& data)>;

    PacedUpdates(EventLoop& loop, Pass pass);

    /// The record is published: from now on updates are passed on.
    void begin();
    void add(std::string data);

private:
    void passNext();

    Pass m_pass;
    std::deque<std::string> m_waiting;
    bool m_hasBegun = false;
    Timer m_pause; ///< runs for a while after each update
};

} // namespace vesk::dnssd

#endif
