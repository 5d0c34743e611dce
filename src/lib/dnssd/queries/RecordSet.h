// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_RECORDSET_H
#define VESK_DNSSD_RECORDSET_H

#include "Query.h"

#include <map>
#include <unordered_map>
#include <vector>

namespace vesk::dnssd {

/**
 * The records that answer one query, whichever transport they were heard over, and which of them have been
 * reported. What this host publishes is there on loopback too; that is reported only where there is nothing
 * else.
 *
 * Subscribers take the TXT or SRV record that was reported last on an interface for the one that holds.
 * Records are reported in the order in which they were heard, therefore, and one that has been replaced is
 * not reported again.
 */
class RecordSet
{
public:
    class Observer
    {
    public:
        /// Subscribers are to know this.
        virtual void onReport(const RecordEvent& event) = 0;
        /// A record is heard over a transport for the first time, or no longer.
        virtual void onHeard(const Record& record, Transport transport, bool isHeard) = 0;
        /// settle() is to be called a little more than a second later.
        virtual void onUnsettled() = 0;
        /// Whether the record is not to be reported although the responder has it.
        virtual bool keepsBack(const Record& record) = 0;

    protected:
        ~Observer() = default;
    };

    RecordSet(const Query& query, Observer& observer, bool isLoopbackALink = false);

    std::size_t size() const { return m_entries.size(); }
    bool isEmpty() const { return m_entries.empty(); }

    /// The records that have been reported, in the order of their arrival: of two TXT records, one replacing
    /// the other, the last one is the new one.
    std::vector<const Record*> reported();

    void add(const Record& record, Transport transport, bool isCached);
    void remove(const Record& record, Transport transport);

    /// Makes a record that was learnt otherwise the only one, until it is confirmed.
    void seed(const Record& record);

    /// From now on the records that come are those of the responder's cache, the newest first. Nothing is
    /// reported until that has been read.
    void beginCache();
    void endCache();

    /// What is kept back has changed.
    void reconsider() { reconsiderAll(false); }

    /// The interfaces that a record was heard on; its own interface may be 0, for any.
    std::vector<uint32_t> interfacesOf(const Record& record) const;

    /// By now what has been replaced is gone (RFC 6762 section 10.2): what is still there holds.
    void settle();

    /// Everything has to be heard again, over the transports that it is heard over now.
    void expectConfirmation();
    /// The same, and nothing counts as heard until then.
    void forgetTransports();
    bool hasUnconfirmed() const;
    /// Removes what has not been heard again.
    void dropUnconfirmed();

private:
    struct Entry
    {
        Record record;
        unsigned transports;  ///< that it is heard over; none: not confirmed yet
        unsigned unconfirmed; ///< those of them over which it is to be heard again
        unsigned order;       ///< of arrival
        unsigned reported;    ///< order of the reports; 0: it is not reported

        bool isReported() const { return reported != 0; }
    };

    std::vector<Entry*> inOrderOfArrival();
    void orderCached();
    void drop(const std::string& key);
    void unhear(Entry& entry, unsigned transports);
    void report(Entry& entry, bool isCached, bool isRepeated = false);
    void takeBack(Entry& entry);
    void reconsiderAll(bool isCached);
    void makeLastReport(Entry& entry);
    bool isLastReport(const Entry& entry) const;
    bool holdsOneRecord() const;
    bool isAnyReported(uint32_t interface, unsigned sinceArrival = 0) const;
    bool isLoopback(const Record& record) const;
    bool isReportable(const Record& record) const;
    void tellObserver(const Entry& entry, bool isPresent, bool isCached, bool isRepeated) const;

    Query m_query;
    Observer& m_observer;
    const bool m_isLoopbackALink;
    std::unordered_map<std::string, Entry> m_entries; ///< by interface, type and data
    std::vector<std::string> m_cached;                ///< keys, in the order of the cache that is being read
    std::map<uint32_t, unsigned> m_lastReports;       ///< of each interface
    unsigned m_arrivals = 0;
    unsigned m_reports = 0;
    unsigned m_fromLinks = 0; ///< those that did not come by loopback
    bool m_isReadingCache = false;
};

} // namespace vesk::dnssd

#endif
