// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_RUNNINGOPERATION_H
#define VESK_DNSSD_RUNNINGOPERATION_H

#include "Engine.h"
#include "Operation.h"

namespace vesk::dnssd {

/// An operation from its start on. The destructor ends it, which cannot fail, as what that takes is there
/// from the beginning.
class RunningOperation
{
public:
    /// Its replies wait in a line of its own.
    explicit RunningOperation(const std::shared_ptr<Engine>& engine)
        : RunningOperation(engine, std::make_shared<ReplyLine>(engine->admission(), &engine->replySignals()))
    {
    }
    /// Its replies wait in that line.
    RunningOperation(std::shared_ptr<Engine> engine, std::shared_ptr<ReplyLine> line)
        : m_engine(std::move(engine))
        , m_replies(std::make_shared<ReplyQueue>(std::move(line)))
    {
    }
    ~RunningOperation()
    {
        m_replies->close();
        m_operation.reset(); // dies in the engine's task at the earliest
        m_engine->loop().post(std::move(m_end));
    }
    RunningOperation(const RunningOperation&) = delete;
    RunningOperation& operator=(const RunningOperation&) = delete;

    const std::shared_ptr<Engine>& engine() const { return m_engine; }
    const std::shared_ptr<ReplyQueue>& replies() const { return m_replies; }

    /// The operation, if it is one of that kind.
    template <typename Kind>
    std::shared_ptr<Kind> as() const
    {
        return std::dynamic_pointer_cast<Kind>(m_operation);
    }

    void start(std::shared_ptr<Operation> operation)
    {
        PreparedTask end = m_engine->prepareEnd(operation);
        m_engine->start(operation);
        m_operation = std::move(operation);
        m_end = std::move(end);
    }

private:
    std::shared_ptr<Engine> m_engine;
    std::shared_ptr<ReplyQueue> m_replies;
    std::shared_ptr<Operation> m_operation;
    PreparedTask m_end;
};

} // namespace vesk::dnssd

#endif
