// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_BACKEND_H
#define VESK_DNSSD_BACKEND_H

#include "PublishedRecord.h"
#include "Query.h"
#include "QueryPacing.h"
#include "Service.h"

#include <functional>
#include <memory>

namespace vesk::dnssd {

class EventLoop;

/// Why a backend does not do what it was asked to.
enum class BackendError
{
    None,
    Unavailable,  ///< it has gone, and its listener is about to be told; to be started again when it is back
    Refused,      ///< it has no room for more
    NotPermitted, ///< its configuration forbids it
    NoMemory,
    BadName,      ///< a name, type or data that it does not take
    NameConflict, ///< a program of this host has the name
    Failed        ///< anything else
};

/// Hears of the records that answer a query.
class RecordListener
{
public:
    virtual void onRecord(const RecordEvent& event) = 0;
    /// All records that were known before they were asked for have been told, be it none.
    virtual void onCacheExhausted() {}
    /// There will be no further answers.
    virtual void onQueryFailed(BackendError error) = 0;

protected:
    ~RecordListener() = default;
};

/// Hears, once, what resolving an instance has brought.
class ResolveListener
{
public:
    virtual void onResolved(const ResolvedService& service) = 0;
    virtual void onResolveFailed() = 0;

protected:
    ~ResolveListener() = default;
};

/// Hears what becomes of a service or a record that is published.
class PublishListener
{
public:
    /// The name has been probed for (RFC 6762 section 8.1), if it is to be unique, and is announced.
    virtual void onPublished() = 0;
    /// Another host has the name too; nothing is published any more.
    virtual void onNameConflict() = 0;
    /// Nothing is published any more.
    virtual void onPublishFailed(BackendError error) = 0;

protected:
    ~PublishListener() = default;
};

/**
 * What queries the network and publishes services: the contract between this library and a multicast DNS
 * responder; one set of tests shows it for every backend.
 *
 * - Everything happens on the event loop's thread, but isReachable().
 * - Nothing calls back from inside a call of this class or a destructor, apart from shutDown(), which tells
 * the state's listener; otherwise a listener is called from the loop.
 * - In a call a listener may start anything, and end anything, the query or publication that calls included.
 * - The destructor of what was started ends it; its listener is not called after that. What was published is
 *   withdrawn with a goodbye (RFC 6762 section 10.1).
 * - A query tells the cached records, of those that the same host sent the newest first, then that there are
 *   no more of them, then what the network brings.
 * - When the backend goes, state() changes to Absent and its listener is told in the same step; until then
 *   calls fail with Unavailable. What was started stands for nothing from then on: its listeners are not
 *   called, and it has to be started anew once the backend is back.
 * - Conflicts about the host's own name are the backend's affair: meanwhile it is Answering.
 */
class Backend
{
public:
    enum class State
    {
        Absent,    ///< nothing can be started
        Answering, ///< answers queries; does not publish yet
        Running    ///< answers queries and publishes
    };

    class StateListener
    {
    public:
        virtual void onBackendState(State state) = 0;

    protected:
        ~StateListener() = default;
    };

    class ActiveQuery
    {
    public:
        virtual ~ActiveQuery() = default;
    };

    class ActiveResolve
    {
    public:
        virtual ~ActiveResolve() = default;
    };

    class Publication
    {
    public:
        virtual ~Publication() = default;
        /// Replaces the TXT record.
        virtual void update(const std::string& txt) = 0;
        /// Further TXT records of its name may be published from now on.
        virtual void allowFurtherTxt() = 0;
    };

    class RecordPublication
    {
    public:
        virtual ~RecordPublication() = default;
        /// Replaces the data.
        virtual void update(const std::string& data, uint32_t ttl) = 0;
    };

    /// What a start call returns: what it started, or why it did not.
    template <typename Started>
    struct Result
    {
        BackendError error = BackendError::None;
        std::unique_ptr<Started> started;
    };

    virtual ~Backend() = default;

    virtual State state() const = 0;
    virtual QueryPacing pacing() const = 0;

    /// Whether there is a way to a responder at this moment. May be called by any thread; never waits. Throws
    /// std::system_error when the process has no descriptor left to find out with.
    virtual bool isReachable() const = 0;

    /// Whether loopback is a link as any other. Otherwise it repeats what this host publishes on its links.
    virtual bool isLoopbackALink() const { return false; }

    /// Told with the first operation and after the last one: a backend that is not in use does not try to
    /// reach its responder.
    virtual void setInUse(bool inUse) = 0;

    virtual Result<ActiveQuery> startQuery(const Query& query, RecordListener& listener) = 0;

    /// Asks the hosts of a link themselves, once, past what the responder has cached and without saying what
    /// is known. The listener is told each answer when it comes. Failed: the question could not be sent.
    virtual Result<ActiveQuery> askHosts(const Query& query, RecordListener& listener) = 0;

    /// Resolves an instance that was browsed on one interface and over one transport, by its full name; much
    /// cheaper than to query its records. With its host's address it may take longer, for ever if the host
    /// has none. Optional: a backend that has no such way returns Failed.
    virtual Result<ActiveResolve> resolveOnce(const Labels& instance, uint32_t interface, Transport transport,
                                              bool withAddress, ResolveListener& listener) = 0;

    virtual Result<Publication> publish(const Service& service, PublishListener& listener) = 0;
    virtual Result<RecordPublication> publishRecord(const PublishedRecord& record,
                                                    PublishListener& listener) = 0;

    /// The host's name, without domain; "" when it is not known.
    virtual std::string hostName() = 0;

    /// Whether other hosts would list what is published until it expires if the process ended without a call
    /// of shutDown(). May be called by any thread.
    virtual bool needsShutDown() const = 0;

    /// Withdraws all that is published, and returns once the goodbyes are out, after `limit` at the latest.
    /// The state is Absent from then on.
    virtual void shutDown(std::chrono::milliseconds limit) = 0;
};

/// Makes the backend of an engine; its listener is called from the loop.
using BackendFactory = std::function<std::unique_ptr<Backend>(EventLoop& loop, Backend::StateListener&)>;

} // namespace vesk::dnssd

#endif
