// SPDX-License-Identifier: MIT
//
// A responder inside this process, on the first of two hosts of the lab, which has no daemon; the second host
// is the network.
#include "LabUnderTest.h"
#include "ProcessBackend.h"

#include <gtest/gtest.h>

namespace vesk::dnssd::tests {

namespace {

/// Of what becomes of the other program's service, the test has no use.
class Unheard final : public PublishListener
{
    void onPublished() override {}
    void onNameConflict() override {}
    void onPublishFailed(BackendError) override {}
};

class ProcessUnderTest final : public LabUnderTest
{
public:
    ProcessUnderTest()
    {
        if (!std::exchange(isDaemonGone, true))
            run("lab-bus hosta kill");
    }

    std::unique_ptr<Backend> make(EventLoop& loop, Backend::StateListener& listener) override
    {
        auto backend = std::make_unique<ProcessBackend>(loop, listener);
        m_backend = backend.get();
        return backend;
    }

    /// All programs that share the responder are one: this one.
    void takeNameHere(const std::string& name) override
    {
        m_taken =
            m_backend->publish({name, type(), {}, {"local"}, {}, interface(), 81, {}}, m_unheard).started;
        EXPECT_NE(m_taken, nullptr);
    }

    void finish() override { m_taken.reset(); }

    void stopResponder() override { FAIL() << "it lives as long as the process"; }
    void startResponder() override { FAIL() << "it lives as long as the process"; }
    void leaveNoRoom(Backend&) override { FAIL() << "there is always room"; }
    void makeRoom() override {}

private:
    static inline bool isDaemonGone = false;
    Backend* m_backend = nullptr;
    Unheard m_unheard;
    std::unique_ptr<Backend::Publication> m_taken;
};

} // namespace

std::unique_ptr<BackendUnderTest> makeBackendUnderTest()
{
    return std::make_unique<ProcessUnderTest>();
}

} // namespace vesk::dnssd::tests
