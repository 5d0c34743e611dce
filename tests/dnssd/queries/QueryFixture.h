// SPDX-License-Identifier: MIT
#ifndef VESK_TESTS_QUERYFIXTURE_H
#define VESK_TESTS_QUERYFIXTURE_H

#include "FakeBackend.h"
#include "ManualClock.h"
#include "Records.h"

#include <gtest/gtest.h>

namespace vesk::dnssd::tests {

/// Notes what it is told: "+a" and "-a" for records.
class NotingListener final : public RecordListener
{
public:
    void onRecord(const RecordEvent& event) override
    {
        told.push_back((event.isPresent ? "+" : "-") + event.record.data);
    }
    void onQueryFailed(BackendError error) override { errors.push_back(error); }

    std::vector<std::string> told;
    std::vector<BackendError> errors;
};

/// A responder that the test plays, in the test's own thread and without the engine.
class QueryFixture : public testing::Test, private Backend::StateListener
{
protected:
    void settle() { loop.runUntilIdle(); }
    void advance(std::chrono::milliseconds time) { clock.advance(loop, time); }
    void change(Backend::State state)
    {
        backend.change(state);
        settle();
    }

    static Query textQuery(uint32_t interface = Lan1)
    {
        return {Labels{"Kitchen"} + DemoType, kDNSServiceType_TXT, kDNSServiceClass_IN, interface, {}};
    }
    static Query addressQuery()
    {
        return {{"hostb", "local"}, kDNSServiceType_A, kDNSServiceClass_IN, Lan1, {}};
    }
    static Query browseQuery(uint32_t interface = Lan1)
    {
        return {DemoType, kDNSServiceType_PTR, kDNSServiceClass_IN, interface, {}};
    }

    ManualClock clock;
    EventLoop loop{clock};
    FakeBackend backend{loop, *this};

private:
    void onBackendState(Backend::State) override {}
};

} // namespace vesk::dnssd::tests

#endif
