// SPDX-License-Identifier: MIT
#ifndef VESK_TESTS_HANDLES_H
#define VESK_TESTS_HANDLES_H

#include "dns_sd.h"

#include <chrono>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace vesk::dnssd::tests {

/// An operation of the published API, with all its replies. A handle of a failed start is null.
class Handle
{
public:
    Handle() = default;
    virtual ~Handle();
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    DNSServiceRef ref() const { return m_ref; }
    DNSServiceErrorType error() const { return m_error; }
    bool isReadable() const;
    void release();

    /// Hands over the replies that wait.
    void process();

protected:
    void started(DNSServiceErrorType error) { m_error = error; }
    DNSServiceRef m_ref = nullptr;

private:
    DNSServiceErrorType m_error = kDNSServiceErr_NoError;
};

/// Hands over replies of the handles until the condition holds. False: it did not in time.
bool waitUntil(const std::vector<Handle*>& handles, const std::function<bool()>& condition,
               std::chrono::milliseconds time = std::chrono::minutes(1));

struct Instance
{
    std::string name;
    std::string type;
    std::string domain;
    uint32_t interface;
    bool operator<(const Instance& other) const;
    bool operator==(const Instance& other) const;
};

class Browse : public Handle
{
public:
    explicit Browse(const char* type, uint32_t interface = 0, const char* domain = nullptr,
                    DNSServiceFlags flags = 0);

    struct Event
    {
        DNSServiceFlags flags;
        DNSServiceErrorType error;
        Instance instance;
        bool isAdd() const { return (flags & kDNSServiceFlagsAdd) != 0; }
    };
    std::vector<Event> events;

    std::multiset<Instance> present() const;
    bool has(const std::string& name) const;
    std::size_t count(const std::string& name, bool added) const; ///< events about the name
};

class Resolve : public Handle
{
public:
    Resolve(const char* name, const char* type, const char* domain, uint32_t interface = 0);

    struct Reply
    {
        DNSServiceFlags flags;
        uint32_t interface;
        DNSServiceErrorType error;
        std::string fullname;
        std::string host;
        uint16_t port; ///< in host byte order
        std::string txt;
    };
    std::vector<Reply> replies;
};

class Addresses : public Handle
{
public:
    explicit Addresses(const char* host, DNSServiceProtocol protocol = 0, uint32_t interface = 0,
                       DNSServiceFlags flags = 0);

    struct Reply
    {
        DNSServiceFlags flags;
        uint32_t interface;
        DNSServiceErrorType error;
        std::string host;
        std::string address; ///< "10.0.0.1", "fe80::1%11"; "" for none
        uint16_t port;
        uint32_t ttl;
    };
    std::vector<Reply> replies;
};

class RecordQuery : public Handle
{
public:
    RecordQuery(const char* fullname, uint16_t type, DNSServiceFlags flags = kDNSServiceFlagsForceMulticast,
                uint32_t interface = 0, uint16_t recordClass = kDNSServiceClass_IN);

    struct Reply
    {
        DNSServiceFlags flags;
        uint32_t interface;
        DNSServiceErrorType error;
        std::string fullname;
        uint16_t type;
        std::string data;
        uint32_t ttl;
    };
    std::vector<Reply> replies;

    std::multiset<std::string> present(uint32_t interface) const;
};

class Registration : public Handle
{
public:
    Registration(const char* name, const char* type, uint16_t port, const std::string& txt = std::string(),
                 DNSServiceFlags flags = 0, const char* domain = nullptr, const char* host = nullptr,
                 uint32_t interface = 0);

    struct Reply
    {
        DNSServiceFlags flags;
        DNSServiceErrorType error;
        std::string name;
        std::string type;
        std::string domain;
    };
    std::vector<Reply> replies;

    DNSServiceErrorType update(const std::string& txt) const;
    bool isDone() const { return !replies.empty(); }
};

} // namespace vesk::dnssd::tests

#endif
