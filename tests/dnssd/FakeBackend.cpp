// SPDX-License-Identifier: MIT
#include "FakeBackend.h"

#include <algorithm>
#include <future>
#include <utility>

namespace vesk::dnssd {

namespace {

FakeBackend* theInstance = nullptr;

bool answers(const Record& record, Transport transport, const Query& query)
{
    if (query.transport && *query.transport != transport)
        return false;
    const bool sameType = query.type == kDNSServiceType_ANY || record.type == query.type;
    const bool sameInterface = query.interface == 0 || record.interface == query.interface;
    return sameType && sameInterface && canonical(record.name) == canonical(query.name);
}

bool same(const Record& a, const Record& b)
{
    return a.type == b.type && a.interface == b.interface && a.data == b.data &&
           canonical(a.name) == canonical(b.name);
}

} // namespace

class FakeBackend::Question : public Backend::Asking
{
public:
    Question(FakeBackend& backend, Query query, Asker& asker)
        : m_backend(backend)
        , m_query(std::move(query))
        , m_asker(asker)
    {
        m_backend.m_askings.insert(this);
    }
    ~Question() override { m_backend.m_askings.erase(this); }

    void hear(const Record& record, Transport transport, bool present, bool cached)
    {
        if (answers(record, transport, m_query))
            m_asker.answered(record, transport, present, cached);
    }
    void exhaust() { m_asker.exhausted(); }

private:
    FakeBackend& m_backend;
    Query m_query;
    Asker& m_asker;
};

class FakeBackend::Offer : public Backend::Publication
{
public:
    Offer(FakeBackend& backend, Service service, Publisher& publisher)
        : m_backend(backend)
        , m_service(std::move(service))
        , m_publisher(publisher)
    {
        m_backend.m_published.push_back(m_service);
        m_backend.m_offers.insert(this);
    }
    ~Offer() override { m_backend.m_offers.erase(this); }
    void update(const std::string& txt) override
    {
        m_service.txt = txt;
        m_backend.m_published.push_back(m_service);
    }

    const std::string& name() const { return m_service.name; }

    /// Says what becomes of it, a turn later and if it is still there then.
    void tell(void (Publisher::*what)())
    {
        m_backend.m_loop.post([&publisher = m_publisher, what, life = std::weak_ptr(m_life)] {
            if (!life.expired())
                (publisher.*what)();
        });
    }

private:
    FakeBackend& m_backend;
    Service m_service;
    Publisher& m_publisher;
    std::shared_ptr<char> m_life = std::make_shared<char>();
};

class FakeBackend::Glance : public Backend::Asking
{
public:
    std::weak_ptr<char> life() const { return m_life; }

private:
    std::shared_ptr<char> m_life = std::make_shared<char>();
};

FakeBackend::FakeBackend(Loop& loop, StateListener& listener)
    : m_loop(loop)
    , m_listener(listener)
{
}

FakeBackend::~FakeBackend() = default;

FakeBackend& FakeBackend::instance()
{
    return *theInstance;
}

void FakeBackend::come(const Record& record, Transport transport)
{
    m_loop.post([this, record, transport] {
        m_known.push_back({record, transport});
        tell(record, transport, true);
    });
}

void FakeBackend::go(const Record& record, Transport transport)
{
    m_loop.post([this, record, transport] {
        const auto isIt = [&](const Known& known) {
            return known.transport == transport && same(known.record, record);
        };
        m_known.erase(std::remove_if(m_known.begin(), m_known.end(), isIt), m_known.end());
        tell(record, transport, false);
    });
}

void FakeBackend::change(State state)
{
    m_loop.post([this, state] {
        if (m_state.exchange(state) != state)
            m_listener.backendChanged(state);
    });
}

void FakeBackend::reset()
{
    inspect([this] {
        for (const Known& known : std::exchange(m_known, {}))
            tell(known.record, known.transport, false);
        holdTimers(false);
        m_published.clear();
        m_isRefusing = false;
        m_isNeverExhausted = false;
        m_takenHere.clear();
        m_takenElsewhere.clear();
    });
    change(State::Running);
}

void FakeBackend::settle()
{
    inspect([] {});
}

void FakeBackend::inspect(const std::function<void()>& look)
{
    // What runs may post more, and that once more: a look, what it shows, a question, its answers, what is
    // made of them.
    const std::function<void()> nothing = [] {};
    for (const auto& step : {nothing, nothing, nothing, nothing, look}) {
        std::promise<void> done;
        m_loop.post([&] {
            step();
            done.set_value();
        });
        done.get_future().wait();
    }
}

void FakeBackend::tell(const Record& record, Transport transport, bool present)
{
    const auto askings = m_askings; // a listener may ask more, or no longer
    for (Question* asking : askings) {
        if (m_askings.count(asking) > 0)
            asking->hear(record, transport, present, false);
    }
}

std::unique_ptr<Backend::Asking> FakeBackend::ask(const Query& query, Asker& asker)
{
    if (m_isRefusing || m_state == State::Absent)
        return nullptr;
    m_asked.push_back(query);
    auto asking = std::make_unique<Question>(*this, query, asker);
    m_loop.post([this, question = asking.get()] {
        if (m_askings.count(question) == 0)
            return;
        for (const Known& known : m_known)
            question->hear(known.record, known.transport, true, true);
        if (!m_isNeverExhausted)
            question->exhaust();
    });
    return asking;
}

/// Sees an instance when both its records are known.
std::unique_ptr<Backend::Asking> FakeBackend::glance(const Labels& instance, uint32_t interface,
                                                     Transport transport, Glancer& glancer)
{
    m_glances.push_back(instance);
    auto glance = std::make_unique<Glance>();
    const auto find = [&](uint16_t type) {
        const Query query{instance, type, kDNSServiceClass_IN, interface, transport};
        const auto known = std::find_if(m_known.begin(), m_known.end(), [&](const Known& one) {
            return answers(one.record, one.transport, query);
        });
        return known == m_known.end() ? std::string() : known->record.data;
    };
    const std::string service = find(kDNSServiceType_SRV);
    const std::string txt = find(kDNSServiceType_TXT);
    if (service.size() < 6 || txt.empty())
        return glance;
    std::string_view host = std::string_view(service).substr(6);
    const auto port =
        static_cast<uint16_t>(static_cast<uint8_t>(service[4]) << 8U | static_cast<uint8_t>(service[5]));
    m_loop.post([&glancer, glimpse = Glimpse{readWireName(host).value_or(Labels()), port, txt},
                 life = glance->life()] {
        if (!life.expired())
            glancer.glimpsed(glimpse);
    });
    return glance;
}

void FakeBackend::collide(const std::string& name)
{
    for (Offer* offer : m_offers) {
        if (offer->name() == name)
            offer->tell(&Publisher::collided);
    }
}

void FakeBackend::forgetAsked()
{
    m_asked.clear();
    m_glances.clear();
}

Backend::PublishResult FakeBackend::publish(const Service& service, Publisher& publisher)
{
    if (m_takenHere.count(service.name) > 0)
        return {kDNSServiceErr_NameConflict, nullptr};
    auto offer = std::make_unique<Offer>(*this, service, publisher);
    offer->tell(m_takenElsewhere.count(service.name) > 0 ? &Publisher::collided : &Publisher::published);
    return {kDNSServiceErr_NoError, std::move(offer)};
}

std::unique_ptr<Backend> makeBackend(Loop& loop, Backend::StateListener& listener)
{
    auto backend = std::make_unique<FakeBackend>(loop, listener);
    theInstance = backend.get();
    backend->change(Backend::State::Running);
    return backend;
}

} // namespace vesk::dnssd
