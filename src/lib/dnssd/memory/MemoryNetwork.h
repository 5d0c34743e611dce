// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_MEMORYNETWORK_H
#define VESK_DNSSD_MEMORYNETWORK_H

#include "PublishedRecord.h"
#include "Query.h"

#include <functional>
#include <map>

namespace vesk::dnssd {

/**
 * A network that exists in this process alone: the records that this host and others publish. The other
 * hosts can be taken away and given back.
 *
 * A record without an interface is on each one that the machine has; asked for without one, it is heard on
 * loopback, which every machine has. One with an interface is there, whether the machine has it or not.
 */
class MemoryNetwork
{
public:
    enum class Host
    {
        This,
        Other
    };

    /// What publishes some records together. It removes them before it dies.
    class Holder
    {
    public:
        virtual ~Holder() = default;
        /// Another host publishes a record that one of its unique ones excludes. It may remove its own here.
        virtual void onNameConflict() = 0;

    private:
        friend class MemoryNetwork;
        std::vector<std::string> m_names; ///< of its records, canonical
    };

    /// `onChanged` is called whenever a query may have another answer. It does not throw.
    explicit MemoryNetwork(std::function<void()> onChanged);

    /// Whether something that this host publishes, announced or not, and one of these exclude each other.
    bool isTakenHere(const std::vector<PublishedRecord>& records) const;

    /// This host's records answer no query until they are announced; those of others do at once.
    void add(Holder& holder, Host host, const std::vector<PublishedRecord>& records);
    /// Whether another host publishes a record that one of the holder's unique ones excludes.
    bool isInConflict(const Holder& holder) const;
    void announce(const Holder& holder);

    /// Replaces the data of the holder's records of that type.
    void replace(const Holder& holder, uint16_t type, const std::string& data, uint32_t ttl);
    /// The holder's records of that type no longer exclude shared ones of this host's.
    void allowFurther(const Holder& holder, uint16_t type);

    void remove(Holder& holder) noexcept;
    /// Everything that this host publishes. Its holders may still remove their records, and change nothing.
    void removeThisHosts() noexcept;

    /// Whether there are other hosts; to begin with, there are.
    void setConnected(bool isConnected);

    /// What answers a query, in the order of its publication.
    std::vector<Record> find(const Query& query) const;

    /// Another number each time that the answers to queries for a name may have changed.
    uint64_t versionOf(const std::string& canonicalName) const;

private:
    struct Entry
    {
        Holder* holder;
        Host host;
        PublishedRecord record;
        bool isAnnounced;
        bool allowsFurther; ///< shared ones of the same host's
    };
    struct Name
    {
        std::vector<Entry> entries;
        uint64_t version = 0;
    };
    using Names = std::map<std::string, Name>;

    void changed(Name& name) noexcept;
    template <typename Act>
    void forEachEntryOf(const Holder& holder, Act act);
    template <typename IsRemoved>
    Names::iterator removeIf(Names::iterator name, IsRemoved isRemoved) noexcept;
    bool isHeard(const Entry& entry) const;
    bool isInConflict(const Entry& entry, const Name& name) const;
    void findConflicts(const Name& name, std::vector<Holder*>& inConflict) const;

    std::function<void()> m_onChanged;
    Names
        m_names; ///< those that have records; sorted, so that conflicts are told in the same order each time
    uint64_t m_changes = 0;
    bool m_isConnected = true;
};

} // namespace vesk::dnssd

#endif
