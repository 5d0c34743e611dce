// SPDX-License-Identifier: MIT
//
// The Avahi daemon of the first of two hosts of the lab; the second host is the network. With
// CONTRACT_LOSS=daemon the daemon alone goes, otherwise the message bus and the daemon with it.
#include "AvahiBackend.h"
#include "LabUnderTest.h"

#include <cstdlib>
#include <vector>

namespace vesk::dnssd::tests {

namespace {

bool losesOnlyTheDaemon()
{
    const char* loss = std::getenv("CONTRACT_LOSS");
    return loss && std::string(loss) == "daemon";
}

/// Of room that is left for this backend, the test has no use.
class Unheard final : public RecordListener
{
    void onRecord(const RecordEvent&) override {}
    void onQueryFailed(BackendError) override {}
};

class AvahiUnderTest final : public LabUnderTest
{
public:
    ~AvahiUnderTest() override
    {
        if (m_isStopped)
            startResponder();
    }

    std::unique_ptr<Backend> make(EventLoop& loop, Backend::StateListener& listener) override
    {
        return std::make_unique<AvahiBackend>(loop, listener);
    }

    void takeNameHere(const std::string& name) override
    {
        const std::string report = std::string(std::getenv("LAB_DIR")) + "/taken";
        m_taker = std::make_unique<Beside>("exec avahi-publish -s '" + name + "' " + type()[0] +
                                           "._tcp 81 >" + report + " 2>&1");
        run("timeout 60 sh -c 'until grep -q Established " + report + "; do sleep 0.05; done'");
    }

    void stopResponder() override
    {
        run(losesOnlyTheDaemon() ? "lab-daemon hosta kill" : "lab-bus hosta kill");
        m_isStopped = true;
    }
    void startResponder() override
    {
        run(losesOnlyTheDaemon() ? "lab-daemon hosta start"
                                 : "lab-bus hosta start && lab-daemon hosta start");
        m_isStopped = false;
    }

    /// The lab's daemon has room for few.
    void leaveNoRoom(Backend& backend) override
    {
        BackendError error = BackendError::None;
        while (error == BackendError::None && m_occupying.size() < 500) {
            const std::string name = 'n' + std::to_string(m_occupying.size());
            auto result =
                backend.startQuery({{name, "local"}, 1, 1, interface(), Transport::IPv4}, m_unheard);
            error = result.error;
            m_occupying.push_back(std::move(result.started));
        }
    }
    void makeRoom() override { m_occupying.clear(); }

private:
    std::unique_ptr<Beside> m_taker;
    std::vector<std::unique_ptr<Backend::ActiveQuery>> m_occupying;
    Unheard m_unheard;
    bool m_isStopped = false;
};

} // namespace

std::unique_ptr<BackendUnderTest> makeBackendUnderTest()
{
    return std::make_unique<AvahiUnderTest>();
}

} // namespace vesk::dnssd::tests
