// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_OPERATION_H
#define VESK_DNSSD_OPERATION_H

#include "QueryRegistry.h"
#include "RegistrationRegistry.h"
#include "ReplyQueue.h"
#include "dns_sd.h"

#include <memory>

namespace vesk::dnssd {

/// What operations stand on.
struct OperationContext
{
    EventLoop& loop;
    QueryRegistry& queries;
    RegistrationRegistry& registrations;
    InstanceAdmission& admission;
};

/**
 * What a handle stands for. Made on the application's thread; from start() to the destructor, which ends the
 * operation, everything happens on the I/O thread.
 */
class Operation
{
public:
    explicit Operation(std::shared_ptr<ReplyQueue> replies)
        : m_replies(std::move(replies))
    {
    }
    virtual ~Operation() = default;
    Operation(const Operation&) = delete;
    Operation& operator=(const Operation&) = delete;

    virtual void start(const OperationContext& context) = 0;

    /// Tells the application that there will be no further answers.
    virtual void fail(DNSServiceErrorType error) = 0;

protected:
    void reply(Reply reply) const { m_replies->put(std::move(reply)); }
    const std::shared_ptr<ReplyLine>& line() const { return m_replies->line(); }

private:
    std::shared_ptr<ReplyQueue> m_replies;
};

/// An operation that is never answered.
class SilentOperation final : public Operation
{
public:
    using Operation::Operation;
    void start(const OperationContext&) override {}
    void fail(DNSServiceErrorType) override {}
};

/// The callback of an operation with what it is called with each time.
template <typename Function>
struct Callback
{
    Function function;
    DNSServiceRef handle;
    void* context;
};

} // namespace vesk::dnssd

#endif
