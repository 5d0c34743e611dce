// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_ENGINE_H
#define VESK_DNSSD_ENGINE_H

#include "Operation.h"
#include "Registrations.h"

namespace vesk::dnssd {

/**
 * The I/O thread and everything that lives on it; made with the first operation of the process.
 *
 * How questions get to the daemon: what costs is the number of objects made there, each a round trip on the
 * bus, and even more the questions that the daemon puts on the network for them, because its work grows with
 * the square of those that are under way. So every question is asked once, however many operations want the
 * answer, and lingers a moment for the next. An instance that is browsed is asked for on the interface and
 * over the one transport it is seen over. To resolve it takes one service resolver, released with its answer:
 * the daemon holds a new question back for a tenth of a second and drops it when nobody is left to know, so
 * that what is in its cache causes no traffic. Only so many instances are resolved at a time: with a thousand
 * resolvers at once the daemon needs longer than that tenth of a second, and asks for all of them. That
 * answer is also the first one to a query for the TXT record, which most callers ask for next; the record
 * browsers that watch for changes are made afterwards, bit by bit, and tell what has changed in between.
 * To browse begins with a look over one transport, for the same reason: when the daemon knows a hundred or
 * more, the look is given up in time and the real question waits like those watching ones, because to ask for
 * a crowd, with all that is known of it, and to read everybody's answer keeps the daemon busy for seconds.
 */
class Engine final : private Backend::StateListener
{
public:
    static Engine& instance();

    bool hasBackend() const { return m_backend->reachable(); }

    void start(std::shared_ptr<Operation> operation);
    void perform(Loop::Task task) { m_loop.post(std::move(task)); }

private:
    Engine();

    void backendChanged(Backend::State state) override;

    Loop m_loop;
    Questions m_questions;
    Registrations m_registrations;
    std::unique_ptr<Backend> m_backend;
};

} // namespace vesk::dnssd

#endif
