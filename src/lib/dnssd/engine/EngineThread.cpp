// SPDX-License-Identifier: MIT
#include "EngineThread.h"

#include "Engine.h"

#include <csignal>
#include <thread>

namespace vesk::dnssd {

namespace {

/// Signals are the application's: its own threads are to get them. Those that a fault of this thread raises
/// stay: blocked, they would end the process without its crash handler.
class SignalsBlocked
{
public:
    SignalsBlocked()
    {
        sigset_t blocked;
        sigfillset(&blocked);
        for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGABRT})
            sigdelset(&blocked, fault);
        pthread_sigmask(SIG_SETMASK, &blocked, &m_before);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

private:
    sigset_t m_before;
};

} // namespace

void runInThread(std::shared_ptr<Engine> engine)
{
    const SignalsBlocked blocked; // a thread is born with its creator's mask
    std::thread([engine = std::move(engine)] {
        pthread_setname_np(pthread_self(), "dnssd");
        if (!engine->loop().run())
            engine->markDead();
    }).detach();
}

} // namespace vesk::dnssd
