// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_ENGINE_H
#define VESK_DNSSD_ENGINE_H

#include "Backend.h"
#include "EventLoop.h"
#include "InstanceTrials.h"
#include "Operation.h"
#include "QueryRegistry.h"
#include "RegistrationRegistry.h"
#include "ReplySignals.h"

#include <atomic>
#include <future>

namespace vesk::dnssd {

/// Everything that lives on the I/O thread. It has no thread of its own: EngineThread runs its loop.
class Engine final : private Backend::StateListener
{
public:
    /// Throws std::system_error when the process has no descriptor left, std::bad_alloc without memory.
    Engine(const Clock& clock, const BackendFactory& makeBackend);

    ~Engine();

    EventLoop& loop() { return m_loop; }
    const std::shared_ptr<InstanceAdmission>& admission() const { return m_admission; }

    /// What makes handles readable.
    ReplySignals& replySignals() { return m_replySignals; }

    /// On the loop's thread alone.
    Backend& backend() { return *m_backend; }

    /// Whether the backend can reach a responder at this moment. May be called by any thread.
    bool isBackendReachable() const { return m_backend->isReachable(); }

    /// May be called by any thread.
    Backend::State backendState() const { return m_backendState; }

    /// Starts an operation on the loop's thread. May be called by any thread.
    void start(std::shared_ptr<Operation> operation);

    /// What ends an operation, made when it is started so that its release cannot fail. The engine has to
    /// outlive the task.
    PreparedTask prepareEnd(std::shared_ptr<Operation> operation);

    /// Has a record asked for again that the application doubts. May be called by any thread.
    void reconfirm(Record record);

    /// Whether services would outlive a process that ended without shutDown(). May be called by any thread.
    bool needsShutDown() const { return m_backend->needsShutDown(); }

    /// Withdraws all services, within that time, and ends the loop. May be called by any thread, which may
    /// wait for it to be done.
    std::future<void> shutDown(std::chrono::milliseconds limit);

    /// Whether the loop runs, or is still to be run. May be called by any thread.
    bool isAlive() const { return m_isAlive; }
    void markDead() { m_isAlive = false; }

private:
    void onBackendState(Backend::State state) override;
    void begin(Operation& operation);
    void end(std::shared_ptr<Operation>& operation);

    EventLoop m_loop;
    std::unique_ptr<Backend> m_backend;
    QueryRegistry m_queries;
    RegistrationRegistry m_registrations;
    std::shared_ptr<InstanceAdmission> m_admission = std::make_shared<InstanceAdmission>();
    ReplySignals m_replySignals;
    InstanceTrials m_trials;
    unsigned m_operations = 0; ///< that have begun and not ended
    std::atomic<Backend::State> m_backendState{Backend::State::Absent};
    std::atomic<bool> m_isAlive{true};
};

} // namespace vesk::dnssd

#endif
