// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_BACKEND_H
#define VESK_DNSSD_BACKEND_H

#include "Names.h"
#include "dns_sd.h"

#include <memory>
#include <string>

namespace vesk::dnssd {

class Loop;

/// Multicast DNS is spoken over both, and what is known by one need not be known by the other.
enum class Transport : uint8_t
{
    IPv4 = 1,
    IPv6 = 2
};

struct Query
{
    Labels name;
    uint16_t type;
    uint16_t recordClass;
    uint32_t interface;                 ///< 0: any
    std::optional<Transport> transport; ///< none: both
};

struct Record
{
    Labels name; ///< in the record's own spelling
    uint16_t type;
    uint16_t recordClass;
    uint32_t interface;
    std::string data; ///< in wire form, names uncompressed
};

/// A service to publish. Names are valid and in UTF-8, the TXT record is well-formed.
struct Service
{
    std::string name;
    Labels type;
    std::vector<std::string> subtypes;
    Labels domain;
    Labels host;        ///< empty: this host
    uint32_t interface; ///< 0: any
    uint16_t port;      ///< in host byte order
    std::string txt;
};

/// What a single look at an instance tells.
struct Glimpse
{
    Labels host;
    uint16_t port; ///< in host byte order
    std::string txt;
};

/**
 * What answers questions and publishes services: the one door to whoever speaks multicast DNS. Everything
 * happens on the loop's thread but reachable(). What ask() and publish() give back ends what they started
 * when it is destroyed; once the state is Absent, it stands for nothing any more and questions and services
 * have to be started anew.
 */
class Backend
{
public:
    enum class State
    {
        Absent,    ///< nobody is there; nothing can be started
        Answering, ///< can be asked; does not publish yet
        Running    ///< can be asked and publishes
    };

    class StateListener
    {
    public:
        virtual void backendChanged(State state) = 0;

    protected:
        ~StateListener() = default;
    };

    class Asker
    {
    public:
        /// A record is there, or gone, as heard over one transport. `cached`: it was known before it was
        /// asked for.
        virtual void answered(const Record& record, Transport transport, bool present, bool cached) = 0;
        /// All that was known before it was asked for has been told, be it nothing.
        virtual void exhausted() = 0;

    protected:
        ~Asker() = default;
    };

    class Glancer
    {
    public:
        virtual void glimpsed(const Glimpse& glimpse) = 0;

    protected:
        ~Glancer() = default;
    };

    class Publisher
    {
    public:
        virtual void published() = 0;
        /// Another host has the name too; nothing is published any more.
        virtual void collided() = 0;

    protected:
        ~Publisher() = default;
    };

    class Asking
    {
    public:
        virtual ~Asking() = default;
    };

    class Publication
    {
    public:
        virtual ~Publication() = default;
        virtual void update(const std::string& txt) = 0;
    };

    virtual ~Backend() = default;

    /// Whether there is a way to a backend that runs, or comes to run. May be called by any thread; never
    /// waits.
    virtual bool reachable() const = 0;

    virtual State state() const = 0;

    /// Nothing when the backend refuses.
    virtual std::unique_ptr<Asking> ask(const Query& query, Asker& asker) = 0;

    /// Has a single look at an instance, by its full name, on one interface and over one transport. It is
    /// much cheaper than to ask, and what is never seen is never answered. Nothing when the backend refuses.
    virtual std::unique_ptr<Asking> glance(const Labels& instance, uint32_t interface, Transport transport,
                                           Glancer& glancer) = 0;

    struct PublishResult
    {
        DNSServiceErrorType error; ///< NameConflict: somebody on this host has the name
        std::unique_ptr<Publication> publication;
    };
    virtual PublishResult publish(const Service& service, Publisher& publisher) = 0;

    /// The host's name, without domain; "" when it is not known.
    virtual std::string hostName() = 0;
};

/// The backend of this library; whoever links another one in gets that.
std::unique_ptr<Backend> makeBackend(Loop& loop, Backend::StateListener& listener);

} // namespace vesk::dnssd

#endif
