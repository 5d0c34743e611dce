// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_OTHERHOSTS_H
#define VESK_DNSSD_OTHERHOSTS_H

#include "MemoryNetwork.h"
#include "Service.h"

#include <memory>

namespace vesk::dnssd {

/// A service of another host, which is named in it.
struct OtherService
{
    Service service;
    std::vector<std::string> addresses; ///< of its host, 4 or 16 bytes each
};

/// What other hosts publish on the network in memory. On each interface there is one service of a name.
class OtherHosts
{
public:
    explicit OtherHosts(MemoryNetwork& network);
    ~OtherHosts();
    OtherHosts(const OtherHosts&) = delete;
    OtherHosts& operator=(const OtherHosts&) = delete;

    /// Publishes a service, or changes it.
    void publish(const OtherService& other);
    /// Interface 0: whichever it is on. False: there is no such service.
    bool withdraw(const Labels& instance, uint32_t interface);
    void withdrawAll();

private:
    class Published;
    using Key = std::pair<std::string, uint32_t>; ///< canonical name and interface

    MemoryNetwork& m_network;
    std::map<Key, std::unique_ptr<Published>> m_published;
};

} // namespace vesk::dnssd

#endif
