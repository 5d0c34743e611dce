// SPDX-License-Identifier: MIT
//
// The responder that other tests play, in a time of its own.
#include "FakeBackend.h"
#include "SrvData.h"
#include "UnderTestInManualTime.h"
#include "dns_sd.h"

#include <algorithm>
#include <map>
#include <vector>

using namespace std::chrono_literals;

namespace vesk::dnssd::tests {

namespace {

class FakeUnderTest final : public UnderTestInManualTime
{
public:
    std::unique_ptr<Backend> make(EventLoop& loop, Backend::StateListener& listener) override
    {
        auto backend = std::make_unique<FakeBackend>(loop, listener);
        m_backend = backend.get();
        return backend;
    }

    void announce(const std::string& name, const std::string& txtItem) override
    {
        for (const Record& record : recordsOf(name, txtItem))
            m_backend->come(record);
        m_txtItems[name] = txtItem;
    }
    void withdraw(const std::string& name) override
    {
        for (const Record& record : recordsOf(name, m_txtItems[name]))
            m_backend->go(record);
    }

    bool isSeen(const std::string& name, const std::string& txtItem) override
    {
        const auto services = m_backend->standing();
        return std::any_of(services.begin(), services.end(), [&](const Service& service) {
            return service.name == name && service.txt == wireTxt(txtItem);
        });
    }

    bool isAddressSeen(const Labels& name, const std::string& address) override
    {
        const auto records = m_backend->records();
        return records.size() == 1 && records[0].name == name && records[0].data == address;
    }

    void takeNameHere(const std::string& name) override { m_backend->takeHere({name, fullName(name)}); }
    void takeNameElsewhere(const std::string& name) override
    {
        m_backend->takeElsewhere({name, fullName(name)});
    }

    void stopResponder() override
    {
        m_backend->failStarts(BackendError::Unavailable);
        m_backend->setReachable(false);
        m_backend->change(Backend::State::Absent);
    }
    void startResponder() override
    {
        m_backend->failStarts(BackendError::None);
        m_backend->setReachable(true);
    }

    void leaveNoRoom(Backend&) override { m_backend->failStarts(BackendError::Refused); }
    void makeRoom() override { m_backend->failStarts(BackendError::None); }

    uint32_t interface() const override { return 11; }
    std::string hostName() const override { return "hosta"; }

private:
    void beforeStep() override
    {
        if (m_backend->isInUse() && m_backend->isReachable() && !m_backend->isShutDown())
            m_backend->change(Backend::State::Running);
    }

    std::string fullName(const std::string& name) const
    {
        return toText(Labels{name} + type() + Labels{"local"});
    }

    std::vector<Record> recordsOf(const std::string& name, const std::string& txtItem) const
    {
        const Labels host{"hostb", "local"};
        const Labels typeName = type() + Labels{"local"};
        const Labels instance = Labels{name} + typeName;
        const auto record = [&](const Labels& owner, uint16_t type, const std::string& data) {
            return Record{owner, type, kDNSServiceClass_IN, interface(), data};
        };
        return {record(typeName, kDNSServiceType_PTR, toWire(instance)),
                record(instance, kDNSServiceType_SRV, SrvData{8080, host}.toWire()),
                record(instance, kDNSServiceType_TXT, wireTxt(txtItem)),
                record(host, kDNSServiceType_A, "\x0A\x01\x01\x02")};
    }

    FakeBackend* m_backend = nullptr;
    std::map<std::string, std::string> m_txtItems;
};

} // namespace

std::unique_ptr<BackendUnderTest> makeBackendUnderTest()
{
    return std::make_unique<FakeUnderTest>();
}

} // namespace vesk::dnssd::tests
