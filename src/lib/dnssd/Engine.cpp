// SPDX-License-Identifier: MIT
#include "Engine.h"

#include <csignal>
#include <thread>

namespace vesk::dnssd {

namespace {

/// Signals are the application's: its own threads are to get them.
class AllSignalsBlocked
{
public:
    AllSignalsBlocked()
    {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &m_before);
    }
    ~AllSignalsBlocked() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
    AllSignalsBlocked(const AllSignalsBlocked&) = delete;
    AllSignalsBlocked& operator=(const AllSignalsBlocked&) = delete;

private:
    sigset_t m_before;
};

} // namespace

/**
 * Never destroyed: a process may end while its daemon hangs and the thread with it, and handles may be
 * released by destructors that run later than ours would.
 */
Engine& Engine::instance()
{
    static Engine* const engine = new Engine;
    return *engine;
}

Engine::Engine()
    : m_questions(m_loop)
    , m_registrations(m_loop)
    , m_backend(makeBackend(m_loop, *this))
{
    m_questions.setBackend(*m_backend);
    m_registrations.setBackend(*m_backend);
    const AllSignalsBlocked blocked;
    std::thread([this] {
        pthread_setname_np(pthread_self(), "dnssd");
        m_loop.run();
    }).detach();
}

void Engine::start(std::shared_ptr<Operation> operation)
{
    perform([this, operation = std::move(operation)] {
        operation->start({m_loop, m_questions, m_registrations});
    });
}

void Engine::backendChanged(Backend::State state)
{
    m_questions.backendChanged(state);
    m_registrations.backendChanged(state);
}

} // namespace vesk::dnssd
