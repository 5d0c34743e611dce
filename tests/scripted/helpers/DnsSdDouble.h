// SPDX-License-Identifier: MIT
#ifndef DNS_SD_DOUBLE_H
#define DNS_SD_DOUBLE_H

#include <QByteArray>
#include <QString>
#include <deque>
#include <dns_sd.h>
#include <functional>
#include <memory>
#include <vector>

/** An operation of the double. It stays in memory until the end of the test, so that misuse is noticed. */
struct _DNSServiceRef_t
{
    enum Kind
    {
        Register,
        Browse,
        Resolve,
        GetAddrInfo,
        QueryRecord
    };

    int id;
    Kind kind;
    void* context;
    // What the start call was given; whatever has no meaning for a kind is empty.
    DNSServiceFlags flags = 0;
    std::uint32_t interfaceIndex = 0;
    DNSServiceProtocol protocol = 0;
    QByteArray name;
    QByteArray type;
    std::uint16_t port = 0;
    void (*callback)() = nullptr;

    int descriptor = -1;
    bool ownsDescriptor = false;
    bool readable = false;
    bool connectionBroken = false;
    bool released = false;
    std::deque<std::function<void()>> replies;
};

/**
 * A DNS-SD library whose daemon is the test.
 *
 * Every call goes into the Record with all its arguments; handles are written "#1", "#2" in the order of the
 * start calls. A handle's descriptor is readable exactly while a reply waits. A caller that uses a handle
 * after its release, releases it twice or leaves it over stops the process.
 */
class DnsSdDouble
{
public:
    using Operation = _DNSServiceRef_t;

    /** What a failing start call leaves in the caller's handle. */
    enum class Handle
    {
        Untouched,
        Null,
        Written
    };

    static DnsSdDouble& instance();

    // --- Script ------------------------------------------------------------------------------------------

    /** The next start call of this kind returns @p error. */
    void failNext(Operation::Kind kind, DNSServiceErrorType error, Handle handle = Handle::Untouched);
    /** Every DNSServiceUpdateRecord returns @p error from now on. */
    void failUpdates(DNSServiceErrorType error) { updateError = error; }
    /** Every TXTRecordGetItemAtIndex returns @p error from now on and fills in nothing. */
    void failItems(DNSServiceErrorType error) { itemError = error; }
    /** The next operation started has this descriptor; it stays the caller's. */
    void nextDescriptor(int descriptor);
    /** DNSServiceProcessResult hands over all that waits, instead of one reply. */
    void setDraining(bool on) { draining = on; }
    /** kDNSServiceFlagsMoreComing while a further reply to @p operation waits, as real libraries add it. */
    static DNSServiceFlags moreComingOn(const Operation* operation)
    {
        return operation->replies.empty() ? 0 : kDNSServiceFlagsMoreComing;
    }
    /** Called in every start call that succeeds or fails, before it returns, with the owner's context. */
    std::function<void(Operation*)> onStart;

    /** Makes a reply wait; it calls the operation's callback when its turn comes. */
    void queue(Operation* operation, std::function<void()> reply);
    /** The daemon is gone: the descriptor stays readable, and every pump call fails. */
    void breakConnection(Operation* operation);

    // --- Look --------------------------------------------------------------------------------------------

    /** The newest operation of a kind that is not released and that @p suits; null when there is none. */
    Operation* newest(Operation::Kind kind,
                      const std::function<bool(const Operation&)>& suits = nullptr) const;
    /** The operation with this descriptor that is not released; null when there is none. */
    Operation* byDescriptor(int descriptor) const;
    /** The operation of this number. */
    Operation* byId(int id) const { return operations.at(std::size_t(id) - 1).get(); }
    /** Operations that are not released. */
    int live() const { return int(alive.size()); }
    /** How many of one kind are not released. */
    int live(Operation::Kind kind) const;
    /** Whether a reply waits behind a descriptor that can be watched. */
    bool replyWaits() const;

    /** Ends a test: stops the process when a handle is left over, forgets all scripts and operations. */
    void finish();
    /** As finish(), for a test that has failed already: what is left over is no news. */
    void abandon();

private:
    struct Failure
    {
        Operation::Kind kind;
        DNSServiceErrorType error;
        Handle handle;
    };

    friend DNSServiceErrorType startOperation(DNSServiceRef* sdRef, std::unique_ptr<Operation> operation,
                                              const QString& call);
    friend DNSServiceErrorType DNSServiceProcessResult(DNSServiceRef sdRef);
    friend void DNSServiceRefDeallocate(DNSServiceRef sdRef);
    friend DNSServiceErrorType TXTRecordGetItemAtIndex(std::uint16_t txtLen, const void* txtRecord,
                                                       std::uint16_t itemIndex, std::uint16_t keyBufLen,
                                                       char* key, std::uint8_t* valueLen, const void** value);
    friend DNSServiceErrorType DNSServiceUpdateRecord(DNSServiceRef sdRef, DNSRecordRef recordRef,
                                                      DNSServiceFlags flags, std::uint16_t rdlen,
                                                      const void* rdata, std::uint32_t ttl);

    void release(Operation* operation);

    std::vector<std::unique_ptr<Operation>> operations;
    std::vector<Operation*> alive; // in the order of their start
    std::deque<Failure> failures;
    std::deque<int> descriptors;
    DNSServiceErrorType updateError = kDNSServiceErr_NoError;
    DNSServiceErrorType itemError = kDNSServiceErr_NoError;
    bool draining = false;
};

/** "#3" for the third operation of the test, "null" for none. */
QString text(DNSServiceRef operation);
/** A C string in quotes, or "null". */
QString quoted(const char* string);

#endif
