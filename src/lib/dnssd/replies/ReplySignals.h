// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_REPLYSIGNALS_H
#define VESK_DNSSD_REPLYSIGNALS_H

#include "DescriptorBudget.h"
#include "EventLoop.h"
#include "Timer.h"

#include <memory>
#include <vector>

namespace vesk::dnssd {

class ReplyLine;

/**
 * Makes the descriptors of reply lines readable: some in a window of two milliseconds at once, further ones
 * together at its end. An application's event loop looks at all of its descriptors, of which there is one
 * for every operation, each time that one is readable; a round of it is to serve many replies. So when the
 * descriptors are many, fewer are readable at once, eight at least, and the window is longer: twelve
 * microseconds for each of them, twelve milliseconds at most. On the I/O thread.
 */
class ReplySignals
{
public:
    /// The budget counts the descriptors.
    ReplySignals(EventLoop& loop, const DescriptorBudget& budget);

    /// Replies wait in that line.
    void add(std::weak_ptr<ReplyLine> line);

    /// Makes the lines readable now.
    void flush();

private:
    std::chrono::microseconds window() const;
    std::size_t linesAtOnce() const;

    EventLoop& m_loop;
    const DescriptorBudget& m_budget;
    Timer m_timer;
    Clock::TimePoint m_windowEnd;
    std::size_t m_immediate = 0; ///< lines that may still be signalled at once before that time
    std::vector<std::weak_ptr<ReplyLine>> m_lines;
};

} // namespace vesk::dnssd

#endif
