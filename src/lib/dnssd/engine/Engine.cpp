// SPDX-License-Identifier: MIT
#include "Engine.h"

#include <new>

namespace vesk::dnssd {

Engine::Engine(const Clock& clock, const BackendFactory& makeBackend)
    : m_loop(clock)
    , m_backend(makeBackend(m_loop, *this))
    , m_queries(m_loop, *m_backend)
    , m_registrations(m_loop, *m_backend)
    , m_replySignals(m_loop, m_admission->descriptors())
    , m_trials(m_loop, m_queries, m_admission)
{
}

/// Operations that wait in tasks end here: they leave the queries and registrations that they belong to.
Engine::~Engine()
{
    m_loop.dropTasks();
}

void Engine::start(std::shared_ptr<Operation> operation)
{
    m_loop.post([this, operation = std::move(operation)] { begin(*operation); });
}

PreparedTask Engine::prepareEnd(std::shared_ptr<Operation> operation)
{
    PreparedTask task;
    task.emplace_back([this, operation = std::move(operation)]() mutable { end(operation); });
    return task;
}

void Engine::reconfirm(Record record)
{
    m_loop.post([this, record = std::move(record)] { m_queries.reconfirm(record); });
}

std::future<void> Engine::shutDown(std::chrono::milliseconds limit)
{
    const auto isDone = std::make_shared<std::promise<void>>();
    m_loop.post([this, limit, isDone] {
        m_backend->shutDown(limit);
        m_loop.quit();
        isDone->set_value();
    });
    return isDone->get_future();
}

void Engine::begin(Operation& operation)
{
    if (++m_operations == 1)
        m_backend->setInUse(true);
    try {
        operation.start({m_loop, m_queries, m_registrations, *m_admission});
    } catch (const std::bad_alloc&) {
        operation.fail(kDNSServiceErr_NoMemory);
    }
}

void Engine::end(std::shared_ptr<Operation>& operation)
{
    operation.reset();
    if (--m_operations == 0)
        m_backend->setInUse(false);
}

void Engine::onBackendState(Backend::State state)
{
    m_backendState = state;
    m_queries.onBackendState(state);
    m_registrations.onBackendState(state);
}

} // namespace vesk::dnssd
