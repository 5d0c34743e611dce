// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_OPERATION_H
#define VESK_DNSSD_OPERATION_H

#include "Mailbox.h"
#include "Questions.h"
#include "dns_sd.h"

#include <memory>

namespace vesk::dnssd {

class Registrations;

/// What operations stand on.
struct Rooms
{
    Loop& loop;
    Questions& questions;
    Registrations& registrations;
};

/**
 * What a handle stands for. Made on the application's thread; from start() to the destructor, which ends the
 * operation, everything happens on the I/O thread.
 */
class Operation
{
public:
    explicit Operation(std::shared_ptr<Mailbox> mailbox)
        : m_mailbox(std::move(mailbox))
    {
    }
    virtual ~Operation() = default;
    Operation(const Operation&) = delete;
    Operation& operator=(const Operation&) = delete;

    virtual void start(const Rooms& rooms) = 0;

protected:
    void reply(Reply reply) const { m_mailbox->put(std::move(reply)); }

private:
    std::shared_ptr<Mailbox> m_mailbox;
};

/// An operation that is never answered.
class SilentOperation : public Operation
{
public:
    using Operation::Operation;
    void start(const Rooms&) override {}
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
