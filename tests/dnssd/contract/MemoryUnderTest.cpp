// SPDX-License-Identifier: MIT
//
// The network in memory, in a time of its own.
#include "MemoryBackend.h"
#include "ServiceRecords.h"
#include "UnderTestInManualTime.h"
#include "dns_sd.h"

#include <algorithm>

namespace vesk::dnssd::tests {

namespace {

const Labels Domain{"local"};

/// A program that keeps its name as long as the network lives.
class Taker final : public MemoryNetwork::Holder
{
    void onNameConflict() override {}
};

class MemoryUnderTest final : public UnderTestInManualTime
{
public:
    std::unique_ptr<Backend> make(EventLoop& loop, Backend::StateListener& listener) override
    {
        auto backend = std::make_unique<MemoryBackend>(loop, listener);
        m_backend = backend.get();
        return backend;
    }

    void announce(const std::string& name, const std::string& txtItem) override
    {
        m_backend->otherHosts().publish(otherService(name, 8080, wireTxt(txtItem)));
    }
    void withdraw(const std::string& name) override { m_backend->otherHosts().withdraw(instance(name), 0); }

    bool isSeen(const std::string& name, const std::string& txtItem) override
    {
        const auto pointers = find(type() + Domain, kDNSServiceType_PTR);
        const auto texts = find(instance(name), kDNSServiceType_TXT);
        return std::count(pointers.begin(), pointers.end(), toWire(instance(name))) == 1 &&
               texts == std::vector<std::string>{wireTxt(txtItem)};
    }
    bool isAddressSeen(const Labels& name, const std::string& address) override
    {
        return find(name, kDNSServiceType_A) == std::vector<std::string>{address};
    }

    void takeNameHere(const std::string& name) override
    {
        const Labels host{hostName(), "local"};
        m_backend->network().add(m_taker, MemoryNetwork::Host::This,
                                 recordsOf({name, type(), {}, Domain, host, 0, 81, wireTxt("")}));
    }
    void takeNameElsewhere(const std::string& name) override
    {
        m_backend->otherHosts().publish(otherService(name, 0, {}));
    }

    void stopResponder() override { m_backend->setResponderThere(false); }
    void startResponder() override { m_backend->setResponderThere(true); }

    void leaveNoRoom(Backend&) override { m_backend->setRefusing(true); }
    void makeRoom() override { m_backend->setRefusing(false); }

    uint32_t interface() const override { return 1; } // loopback, on every machine
    std::string hostName() const override { return "testhost"; }

private:
    Labels instance(const std::string& name) const { return Labels{name} + type() + Domain; }
    OtherService otherService(const std::string& name, uint16_t port, const std::string& txt) const
    {
        return {{name, type(), {}, Domain, {"hostb", "local"}, 0, port, txt}, {{10, 1, 1, 2}}};
    }
    std::vector<std::string> find(const Labels& name, uint16_t recordType) const
    {
        std::vector<std::string> data;
        for (const Record& record :
             m_backend->network().find({name, recordType, kDNSServiceClass_IN, interface(), {}}))
            data.push_back(record.data);
        return data;
    }

    MemoryBackend* m_backend = nullptr;
    Taker m_taker;
};

} // namespace

std::unique_ptr<BackendUnderTest> makeBackendUnderTest()
{
    return std::make_unique<MemoryUnderTest>();
}

} // namespace vesk::dnssd::tests
