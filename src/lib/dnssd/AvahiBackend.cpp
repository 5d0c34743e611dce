// SPDX-License-Identifier: MIT
#include "AvahiBackend.h"

#include "Bus.h"
#include "TxtItems.h"

#include <avahi-client/lookup.h>
#include <avahi-client/publish.h>
#include <avahi-common/error.h>
#include <dbus/dbus.h>

#include <climits>

namespace vesk::dnssd {

namespace {

using namespace std::chrono_literals;

constexpr auto RetryTime = 300ms;

AvahiIfIndex daemonIndex(uint32_t interface)
{
    return interface == 0 ? AVAHI_IF_UNSPEC : static_cast<AvahiIfIndex>(interface);
}

AvahiProtocol daemonProtocol(std::optional<Transport> transport)
{
    if (!transport)
        return AVAHI_PROTO_UNSPEC;
    return *transport == Transport::IPv4 ? AVAHI_PROTO_INET : AVAHI_PROTO_INET6;
}

/// An object of the daemon's that is released with this one.
template <typename Object, int (*Free)(Object*)>
class DaemonObject
{
public:
    explicit DaemonObject(AvahiBackend& backend)
        : m_backend(backend)
    {
    }
    ~DaemonObject() { m_backend.loseOn(release()); }
    DaemonObject(const DaemonObject&) = delete;
    DaemonObject& operator=(const DaemonObject&) = delete;

    void set(AvahiClientPool::Made<Object> made)
    {
        m_connection = std::move(made.connection);
        m_object = made.object;
    }

    /// Returns the daemon's error.
    int release()
    {
        Object* object = get();
        m_object = nullptr;
        if (!object)
            return AVAHI_OK;
        m_connection->setFull(false);
        return Free(object);
    }

    /// Null once the connection is broken.
    Object* get() const { return m_connection && m_connection->client() ? m_object : nullptr; }
    AvahiClient* client() const { return m_connection->client(); }

private:
    AvahiBackend& m_backend;
    std::shared_ptr<AvahiConnection> m_connection;
    Object* m_object = nullptr;
};

class AvahiAsking : public Backend::Asking
{
public:
    AvahiAsking(AvahiBackend& backend, Backend::Asker& asker)
        : m_browser(backend)
        , m_asker(asker)
    {
    }

    int start(AvahiClientPool& pool, const Query& query)
    {
        const std::string name = toDaemonText(query.name);
        auto made = pool.make<AvahiRecordBrowser>([&](AvahiClient* client) {
            return avahi_record_browser_new(client, daemonIndex(query.interface),
                                            daemonProtocol(query.transport), name.c_str(), query.recordClass,
                                            query.type, AvahiLookupFlags(0), answered, this);
        });
        m_browser.set(made);
        return made.error;
    }

private:
    static void answered(AvahiRecordBrowser*, AvahiIfIndex interface, AvahiProtocol protocol,
                         AvahiBrowserEvent event, const char* name, uint16_t recordClass, uint16_t type,
                         const void* data, size_t size, AvahiLookupResultFlags flags, void* self)
    {
        if (event != AVAHI_BROWSER_NEW && event != AVAHI_BROWSER_REMOVE)
            return;
        auto labels = parseName(name);
        if (!labels)
            return;
        const Record record{std::move(*labels), type, recordClass, static_cast<uint32_t>(interface),
                            std::string(static_cast<const char*>(data), size)};
        const Transport transport = protocol == AVAHI_PROTO_INET6 ? Transport::IPv6 : Transport::IPv4;
        static_cast<AvahiAsking*>(self)->m_asker.answered(record, transport, event == AVAHI_BROWSER_NEW,
                                                          (flags & AVAHI_LOOKUP_RESULT_CACHED) != 0);
    }

    DaemonObject<AvahiRecordBrowser, avahi_record_browser_free> m_browser;
    Backend::Asker& m_asker;
};

/// A service resolver that is released with its first answer. The daemon holds a question back for a tenth of
/// a second before it goes out, and drops it when nobody is left to know: what is in its cache costs the
/// network nothing.
class AvahiGlance : public Backend::Asking
{
public:
    AvahiGlance(AvahiBackend& backend, Backend::Glancer& glancer)
        : m_backend(backend)
        , m_resolver(backend)
        , m_glancer(glancer)
    {
    }

    int start(AvahiClientPool& pool, const Labels& instance, uint32_t interface, Transport transport)
    {
        const auto type = instance.begin() + 1;
        const std::string typeText = toDaemonText({type, type + 2});
        const std::string domainText = toDaemonText({type + 2, instance.end()});
        auto made = pool.make<AvahiServiceResolver>([&](AvahiClient* client) {
            return avahi_service_resolver_new(client, daemonIndex(interface), daemonProtocol(transport),
                                              instance.front().c_str(), typeText.c_str(), domainText.c_str(),
                                              AVAHI_PROTO_UNSPEC, AVAHI_LOOKUP_NO_ADDRESS, resolved, this);
        });
        m_resolver.set(made);
        return made.error;
    }

private:
    static void resolved(AvahiServiceResolver*, AvahiIfIndex, AvahiProtocol, AvahiResolverEvent event,
                         const char*, const char*, const char*, const char* host, const AvahiAddress*,
                         uint16_t port, AvahiStringList* txt, AvahiLookupResultFlags, void* self)
    {
        auto labels = event == AVAHI_RESOLVER_FOUND ? parseName(host) : std::nullopt;
        if (!labels)
            return;
        const Glimpse glimpse{std::move(*labels), port, toWireTxt(txt)};
        auto* glance = static_cast<AvahiGlance*>(self);
        glance->m_backend.loseLaterOn(glance->m_resolver.release());
        glance->m_glancer.glimpsed(glimpse);
    }

    /// The daemon sends its list, which it keeps back to front, and libavahi turns it round once more.
    static std::string toWireTxt(const AvahiStringList* items)
    {
        std::string txt;
        for (; items; items = items->next) {
            txt += static_cast<char>(items->size);
            txt.append(reinterpret_cast<const char*>(items->text), items->size);
        }
        return txt.empty() ? std::string(1, '\0') : txt;
    }

    AvahiBackend& m_backend;
    DaemonObject<AvahiServiceResolver, avahi_service_resolver_free> m_resolver;
    Backend::Glancer& m_glancer;
};

using StringList = std::unique_ptr<AvahiStringList, decltype(&avahi_string_list_free)>;

/// The daemon refuses empty items; without any item it publishes the empty one by itself.
StringList toStringList(const std::string& txt)
{
    AvahiStringList* list = nullptr;
    TxtItems items(txt.data(), txt.size());
    while (const auto item = items.next()) {
        if (item->whole.empty())
            continue;
        const auto* bytes = reinterpret_cast<const uint8_t*>(item->whole.data());
        list = avahi_string_list_add_arbitrary(list, bytes, item->whole.size());
    }
    return {list, avahi_string_list_free};
}

/// The SRV record that keeps a name for a service which offers nothing yet.
std::string placeholderData(const Labels& host)
{
    return std::string(6, '\0') + toWire(host);
}

class AvahiPublication : public Backend::Publication
{
public:
    AvahiPublication(AvahiBackend& backend, Loop& loop, const Service& service, Backend::Publisher& publisher)
        : m_loop(loop)
        , m_group(backend)
        , m_backend(backend)
        , m_publisher(publisher)
        , m_interface(daemonIndex(service.interface))
        , m_isPlaceholder(service.port == 0)
        , m_name(service.name)
        , m_type(toDaemonText(service.type))
        , m_domain(toDaemonText(service.domain))
    {
    }

    int start(AvahiClientPool& pool, const Service& service)
    {
        auto made = pool.make<AvahiEntryGroup>(
            [this](AvahiClient* client) { return avahi_entry_group_new(client, changed, this); });
        m_group.set(made);
        if (!made.object)
            return made.error;
        int error = m_isPlaceholder ? addPlaceholder(service) : addService(service);
        for (const std::string& subtype : service.subtypes) {
            if (error == AVAHI_OK && !m_isPlaceholder)
                error = addSubtype(subtype);
        }
        return error == AVAHI_OK ? avahi_entry_group_commit(m_group.get()) : error;
    }

    void update(const std::string& txt) override
    {
        if (!m_group.get() || m_isPlaceholder)
            return;
        m_backend.loseOn(avahi_entry_group_update_service_txt_strlst(
            m_group.get(), m_interface, AVAHI_PROTO_UNSPEC, AvahiPublishFlags(0), m_name.c_str(),
            m_type.c_str(), m_domain.c_str(), toStringList(txt).get()));
    }

private:
    int addService(const Service& service)
    {
        const std::string host = toDaemonText(service.host);
        return avahi_entry_group_add_service_strlst(m_group.get(), m_interface, AVAHI_PROTO_UNSPEC,
                                                    AvahiPublishFlags(0), m_name.c_str(), m_type.c_str(),
                                                    m_domain.c_str(), host.empty() ? nullptr : host.c_str(),
                                                    service.port, toStringList(service.txt).get());
    }

    int addSubtype(const std::string& subtype)
    {
        const std::string type = toDaemonText({subtype, "_sub"}) + '.' + m_type;
        return avahi_entry_group_add_service_subtype(m_group.get(), m_interface, AVAHI_PROTO_UNSPEC,
                                                     AvahiPublishFlags(0), m_name.c_str(), m_type.c_str(),
                                                     m_domain.c_str(), type.c_str());
    }

    int addPlaceholder(const Service& service)
    {
        const char* fqdn = avahi_client_get_host_name_fqdn(m_group.client());
        const Labels thisHost = parseName(fqdn ? fqdn : "").value_or(Labels());
        const std::string data = placeholderData(service.host.empty() ? thisHost : service.host);
        const std::string name = toDaemonText(Labels{service.name} + service.type + service.domain);
        return avahi_entry_group_add_record(m_group.get(), m_interface, AVAHI_PROTO_UNSPEC,
                                            AVAHI_PUBLISH_UNIQUE, name.c_str(), kDNSServiceClass_IN,
                                            kDNSServiceType_SRV, 120, data.data(), data.size());
    }

    /// Called in the middle of libavahi's work, while whoever is told may release the group.
    static void changed(AvahiEntryGroup*, AvahiEntryGroupState state, void* self)
    {
        auto* publication = static_cast<AvahiPublication*>(self);
        if (state == AVAHI_ENTRY_GROUP_ESTABLISHED)
            publication->tell(&Backend::Publisher::published);
        else if (state == AVAHI_ENTRY_GROUP_COLLISION)
            publication->tell(&Backend::Publisher::collided);
    }

    void tell(void (Backend::Publisher::*what)())
    {
        m_loop.post([this, what, alive = std::weak_ptr(m_alive)] {
            if (!alive.expired())
                (m_publisher.*what)();
        });
    }

    Loop& m_loop;
    DaemonObject<AvahiEntryGroup, avahi_entry_group_free> m_group;
    AvahiBackend& m_backend;
    Backend::Publisher& m_publisher;
    AvahiIfIndex m_interface;
    bool m_isPlaceholder;
    std::string m_name;
    std::string m_type;
    std::string m_domain;
    std::shared_ptr<char> m_alive = std::make_shared<char>();
};

bool isConnectionLost(int error)
{
    return error == AVAHI_ERR_DISCONNECTED || error == AVAHI_ERR_DBUS_ERROR || error == AVAHI_ERR_NO_DAEMON ||
           error == AVAHI_ERR_BAD_STATE;
}

DNSServiceErrorType toApiError(int error)
{
    switch (error) {
    case AVAHI_OK:
        return kDNSServiceErr_NoError;
    case AVAHI_ERR_COLLISION:
        return kDNSServiceErr_NameConflict;
    case AVAHI_ERR_TOO_MANY_CLIENTS:
    case AVAHI_ERR_TOO_MANY_OBJECTS:
    case AVAHI_ERR_TOO_MANY_ENTRIES:
        return kDNSServiceErr_Refused;
    case AVAHI_ERR_ACCESS_DENIED:
    case AVAHI_ERR_NOT_PERMITTED:
        return kDNSServiceErr_NotPermitted;
    case AVAHI_ERR_NO_MEMORY:
        return kDNSServiceErr_NoMemory;
    case AVAHI_ERR_INVALID_HOST_NAME:
    case AVAHI_ERR_INVALID_DOMAIN_NAME:
    case AVAHI_ERR_INVALID_SERVICE_NAME:
    case AVAHI_ERR_INVALID_SERVICE_TYPE:
    case AVAHI_ERR_INVALID_SERVICE_SUBTYPE:
        return kDNSServiceErr_BadParam;
    default:
        return kDNSServiceErr_Unknown;
    }
}

} // namespace

AvahiBackend::AvahiBackend(Loop& loop, StateListener& listener)
    : m_loop(loop)
    , m_listener(listener)
    , m_pool(loop, [this](AvahiClientState state) { clientChanged(state); })
    , m_retry(loop, [this] { connect(); })
{
    // The I/O thread and those who look for the bus use libdbus at the same time; its own locks come into
    // being on first use, which no other thread may see half done.
    dbus_threads_init_default();
    m_loop.post([this] { connect(); });
}

AvahiBackend::~AvahiBackend() = default;

bool AvahiBackend::reachable() const
{
    return m_onBus || systemBusIsThere();
}

std::unique_ptr<Backend::Asking> AvahiBackend::ask(const Query& query, Asker& asker)
{
    auto asking = std::make_unique<AvahiAsking>(*this, asker);
    const int error = asking->start(m_pool, query);
    loseOn(error);
    if (error != AVAHI_OK)
        return nullptr;
    return asking;
}

std::unique_ptr<Backend::Asking> AvahiBackend::glance(const Labels& instance, uint32_t interface,
                                                      Transport transport, Glancer& glancer)
{
    auto asking = std::make_unique<AvahiGlance>(*this, glancer);
    const int error = asking->start(m_pool, instance, interface, transport);
    loseOn(error);
    if (error != AVAHI_OK)
        return nullptr;
    return asking;
}

Backend::PublishResult AvahiBackend::publish(const Service& service, Publisher& publisher)
{
    auto publication = std::make_unique<AvahiPublication>(*this, m_loop, service, publisher);
    const int error = publication->start(m_pool, service);
    loseOn(error);
    if (error != AVAHI_OK)
        return {toApiError(error), nullptr};
    return {kDNSServiceErr_NoError, std::move(publication)};
}

std::string AvahiBackend::hostName()
{
    AvahiClient* client = m_pool.main();
    const char* name = client ? avahi_client_get_host_name(client) : nullptr;
    return name ? name : "";
}

void AvahiBackend::connect()
{
    m_onBus = m_pool.connect();
    if (!m_onBus)
        m_retry.start(RetryTime);
}

void AvahiBackend::clientChanged(AvahiClientState state)
{
    switch (state) {
    case AVAHI_CLIENT_S_RUNNING:
        setState(State::Running);
        break;
    case AVAHI_CLIENT_S_REGISTERING:
    case AVAHI_CLIENT_S_COLLISION:
        setState(State::Answering);
        break;
    case AVAHI_CLIENT_CONNECTING:
        break;
    case AVAHI_CLIENT_FAILURE:
        lose();
        break;
    }
}

void AvahiBackend::setState(State state)
{
    if (m_state.exchange(state) != state)
        m_listener.backendChanged(state);
}

void AvahiBackend::loseOn(int error)
{
    if (isConnectionLost(error))
        lose();
}

void AvahiBackend::loseLaterOn(int error)
{
    if (isConnectionLost(error))
        m_loop.post([this] { lose(); });
}

/// The listener is told a turn later: whoever found out is in the middle of something.
void AvahiBackend::lose()
{
    if (!m_pool.main())
        return;
    m_pool.disconnect();
    m_onBus = false;
    m_state = State::Absent;
    m_loop.post([this] {
        m_listener.backendChanged(State::Absent);
        m_retry.start(RetryTime);
    });
}

std::unique_ptr<Backend> makeBackend(Loop& loop, Backend::StateListener& listener)
{
    return std::make_unique<AvahiBackend>(loop, listener);
}

} // namespace vesk::dnssd
