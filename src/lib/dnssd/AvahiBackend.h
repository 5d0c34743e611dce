// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_AVAHIBACKEND_H
#define VESK_DNSSD_AVAHIBACKEND_H

#include "AvahiClientPool.h"
#include "AvahiObject.h"
#include "Backend.h"
#include "Loop.h"

#include <atomic>

namespace vesk::dnssd {

/// Asks the Avahi daemon: record browsers answer the questions, entry groups publish the services.
class AvahiBackend : public Backend, public AvahiErrorListener
{
public:
    AvahiBackend(Loop& loop, StateListener& listener);
    ~AvahiBackend() override;

    bool reachable() const override;
    State state() const override { return m_state; }
    std::unique_ptr<Asking> ask(const Query& query, Asker& asker) override;
    std::unique_ptr<Asking> glance(const Labels& instance, uint32_t interface, Transport transport,
                                   Glancer& glancer) override;
    PublishResult publish(const Service& service, Publisher& publisher) override;
    std::string hostName() override;

    void returned(int error) override;
    void returnedInCallback(int error) override;

private:
    void connect();
    void lose();
    void clientChanged(AvahiClientState state);
    void setState(State state);

    Loop& m_loop;
    StateListener& m_listener;
    std::atomic<State> m_state{State::Absent};
    std::atomic<bool> m_onBus{false};
    AvahiClientPool m_pool;
    Timer m_retry;
};

} // namespace vesk::dnssd

#endif
