// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_AVAHIPUBLICATION_H
#define VESK_DNSSD_AVAHIPUBLICATION_H

#include "AvahiObject.h"

#include <avahi-client/publish.h>

namespace vesk::dnssd {

/// An entry group of the daemon's with one service. A service without a port offers nothing yet: only its
/// name is held.
class AvahiPublication : public Backend::Publication
{
public:
    AvahiPublication(AvahiErrorListener& errors, Loop& loop, const Service& service,
                     Backend::Publisher& publisher);

    /// Returns the daemon's error.
    int start(AvahiClientPool& pool, const Service& service);
    void update(const std::string& txt) override;

private:
    static void changed(AvahiEntryGroup*, AvahiEntryGroupState state, void* self);

    int addService(const Service& service);
    int addSubtype(const std::string& subtype);
    int addPlaceholder(const Service& service);
    void tell(void (Backend::Publisher::*what)());

    Loop& m_loop;
    AvahiObject<AvahiEntryGroup, avahi_entry_group_free> m_group;
    AvahiErrorListener& m_errors;
    Backend::Publisher& m_publisher;
    AvahiIfIndex m_interface;
    bool m_isPlaceholder;
    std::string m_name;
    std::string m_type;
    std::string m_domain;
    std::shared_ptr<char> m_alive = std::make_shared<char>();
};

} // namespace vesk::dnssd

#endif
