// SPDX-License-Identifier: MIT
#include "ProcessEngine.h"

#include "BackendSelection.h"
#include "Engine.h"
#include "EngineThread.h"

#include <pthread.h>

#include <atomic>
#include <cstdlib>
#include <exception>
#include <mutex>
#include <new>

namespace vesk::dnssd {

namespace {

using namespace std::chrono_literals;

/// How long a fork waits for the I/O thread to finish its step, so that the child finds no lock of malloc's
/// or of libdbus's taken. A responder that hangs must not hold the application up.
constexpr auto LongestWaitOfAFork = 1s;

/// How long the end of the process waits for the goodbyes of what it publishes.
constexpr auto LongestWaitAtExit = 500ms;

struct Process
{
    std::mutex mutex;
    std::shared_ptr<Engine> engine; ///< null until it is needed
    BackendSelection backend;
    bool isPaused = false;
};

/// Never destroyed, as engines are not.
Process& process()
{
    static Process* const theProcess = new Process;
    return *theProcess;
}

std::atomic<unsigned> generation{0};

void beforeFork()
{
    process().mutex.lock();
    process().isPaused = process().engine && process().engine->loop().pause(LongestWaitOfAFork);
}

void afterForkInParent()
{
    if (process().isPaused)
        process().engine->loop().resume();
    process().mutex.unlock();
}

/// The engine is given up as it is: its thread is the parent's, and so is what its descriptors lead to.
void afterForkInChild()
{
    ++generation;
    new std::shared_ptr<Engine>(std::move(process().engine));
    process().mutex.unlock();
}

void watchForks()
{
    static const bool areWatched = pthread_atfork(beforeFork, afterForkInParent, afterForkInChild) == 0;
    if (!areWatched)
        throw std::bad_alloc();
}

/// Handles may still be released after this; it has no effect any more.
void atExit()
{
    const auto engine = processEngineIfAny();
    if (!engine || !engine->isAlive() || !engine->needsShutDown())
        return;
    try {
        engine->shutDown(LongestWaitAtExit).wait_for(LongestWaitAtExit);
    } catch (const std::exception&) {
        // Without memory there are no goodbyes, as after a crash.
    }
}

/// Not when the library is initialised: what the application releases at its end is to be released first.
void watchExit()
{
    static const bool isWatched = std::atexit(atExit) == 0;
    if (!isWatched)
        throw std::bad_alloc();
}

} // namespace

std::shared_ptr<Engine> processEngine()
{
    watchForks();
    watchExit();
    const std::lock_guard lock(process().mutex);
    if (!process().engine || !process().engine->isAlive()) {
        auto engine = std::make_shared<Engine>(Clock::steady(), backendFactory(process().backend.fix()));
        runInThread(engine);
        process().engine = std::move(engine);
    }
    return process().engine;
}

std::shared_ptr<Engine> processEngineIfAny()
{
    const std::lock_guard lock(process().mutex);
    return process().engine;
}

bool chooseBackend(BackendKind kind)
{
    const std::lock_guard lock(process().mutex);
    return process().backend.choose(kind);
}

BackendKind chosenBackend()
{
    const std::lock_guard lock(process().mutex);
    return process().backend.current();
}

void setProcessEngine(std::shared_ptr<Engine> engine)
{
    const std::lock_guard lock(process().mutex);
    process().engine = std::move(engine);
}

unsigned forkGeneration()
{
    return generation;
}

} // namespace vesk::dnssd
