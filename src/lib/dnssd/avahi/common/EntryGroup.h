// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_ENTRYGROUP_H
#define VESK_DNSSD_ENTRYGROUP_H

#include "Backend.h"
#include "OwnedTasks.h"

#include <avahi-common/address.h>
#include <avahi-common/defs.h>
#include <avahi-common/strlst.h>

#include <memory>
#include <string>
#include <utility>

namespace vesk::dnssd {

/// A record to publish, its name in libavahi's text.
struct RecordEntry
{
    AvahiIfIndex interface;
    AvahiPublishFlags flags;
    std::string name;
    uint16_t type;
    uint32_t ttl;     ///< in seconds
    std::string data; ///< in wire form
};

/// What a published service is known by, type and domain in libavahi's text.
struct ServiceEntry
{
    AvahiIfIndex interface;
    std::string name;
    std::string type;
    std::string domain;
};

/// An entry group of libavahi's: what is published together, and becomes of it together. Its calls return
/// libavahi's error.
class EntryGroup
{
public:
    virtual ~EntryGroup() = default;

    /// Whether the responder that it was made at is still there.
    virtual bool isThere() const = 0;
    /// The full name of this host, in libavahi's text.
    virtual std::string hostName() const = 0;

    virtual int addRecord(const RecordEntry& record) = 0;
    /// `host`: in libavahi's text; empty: this host.
    virtual int addService(const ServiceEntry& service, const std::string& host, uint16_t port,
                           AvahiStringList* txt) = 0;
    virtual int addSubtype(const ServiceEntry& service, const std::string& subtype) = 0;
    virtual int updateTxt(const ServiceEntry& service, AvahiStringList* txt) = 0;
    /// Publishes what has been added.
    virtual int commit() = 0;

    /// Has a task run once all is published: at once, or before the listener hears of it. Of several that
    /// wait the last one is run. Unique records are not to be updated sooner: libavahi sends a probe some
    /// time after it has made it, and takes its own with the former data for a rival's (RFC 6762
    /// section 8.2).
    void whenPublished(Task task);

protected:
    EntryGroup(EventLoop& loop, PublishListener& listener);

    /// To be called with each state that libavahi tells, and its error. The listener hears of it a round
    /// later: libavahi tells some states in the middle of a call.
    void onState(AvahiEntryGroupState state, int error);

private:
    void tell(AvahiEntryGroupState state, int error);
    void tellPublished();

    OwnedTasks m_tasks;
    PublishListener& m_listener;
    bool m_isPublished = false;
    Task m_whenPublished;
};

/// Makes the entry groups of a responder.
class EntryGroups
{
public:
    /// Libavahi's error, and the group.
    using Made = std::pair<int, std::unique_ptr<EntryGroup>>;
    virtual Made makeGroup(PublishListener& listener) = 0;

protected:
    ~EntryGroups() = default;
};

} // namespace vesk::dnssd

#endif
