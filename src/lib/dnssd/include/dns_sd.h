/* SPDX-License-Identifier: MIT */
/**
 * @file
 * The DNS-SD C API: advertise services, browse for them, resolve them, look up addresses and records.
 *
 * Every operation works alike. A start call fills in a handle and returns at once. The handle's descriptor
 * (DNSServiceRefSockFD) is readable exactly while a reply waits; DNSServiceProcessResult then hands over one
 * reply by calling the operation's callback, on the calling thread. DNSServiceRefDeallocate ends the
 * operation; it may be called inside a callback, for the callback's own handle too. Strings given to a
 * callback live until it returns.
 *
 *     static void found(DNSServiceRef, DNSServiceFlags flags, uint32_t interfaceIndex, DNSServiceErrorType,
 *                       const char *name, const char *type, const char *domain, void *);
 *
 *     DNSServiceRef browse;
 *     if (DNSServiceBrowse(&browse, 0, 0, "_demo._tcp", NULL, found, NULL) == kDNSServiceErr_NoError)
 *         while (DNSServiceProcessResult(browse) == kDNSServiceErr_NoError) { }
 *
 * Text is UTF-8. Names that consist of several labels (full names, host names) are escaped: a dot or a
 * backslash inside a label is written `\.` or `\\`, a control character or a space `\DDD` in decimal. Ports
 * are in network byte order. Different handles may be used by different threads at the same time; one handle
 * belongs to one thread at a time.
 */
#ifndef _DNS_SD_H
/** Level of the programming interface; the other one, at run time, is told by DNSServiceGetProperty. */
#define _DNS_SD_H 26001000

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Stands before each call and, in applications, before callbacks: a calling convention where there are
 * several. */
#define DNSSD_API

/** Version numbers above this one are encoded in another way; see kDNSServiceProperty_DaemonVersion. */
#define DNS_SD_ORIGINAL_ENCODING_VERSION_NUMBER_MAX 16610000

#if defined(__GNUC__)
#pragma GCC visibility push(default)
#endif

/** An operation. Made by a start call, released by DNSServiceRefDeallocate. */
typedef struct _DNSServiceRef_t* DNSServiceRef;

/** A single record of a registration or connection. NULL stands for a registration's own TXT record. */
typedef struct _DNSRecordRef_t* DNSRecordRef;

typedef uint32_t DNSServiceFlags;    /**< kDNSServiceFlags…, joined by | */
typedef uint32_t DNSServiceProtocol; /**< kDNSServiceProtocol_…, joined by | */
typedef int32_t DNSServiceErrorType; /**< kDNSServiceErr_… */

struct sockaddr;

/* ---- Flags ---- */

enum
{
    /* In replies */
    kDNSServiceFlagsMoreComing = 0x1, /**< another reply of this handle waits already: redraw later */
    kDNSServiceFlagsAdd = 0x2,        /**< something appeared; without this bit it went away */
    kDNSServiceFlagsDefault = 0x4,    /**< with Add: the domain enumerated is the default one */
    kDNSServiceFlagAnsweredFromCache = 0x40000000, /**< the answer was known already when it was asked for */

    /* In start calls */
    kDNSServiceFlagsNoAutoRename = 0x8,   /**< report a name conflict instead of choosing another name */
    kDNSServiceFlagsShared = 0x10,        /**< a record that several hosts may have */
    kDNSServiceFlagsUnique = 0x20,        /**< a record that belongs to one host alone */
    kDNSServiceFlagsBrowseDomains = 0x40, /**< enumerate domains to browse in */
    kDNSServiceFlagsRegistrationDomains = 0x80, /**< enumerate domains to register in */
    kDNSServiceFlagsLongLivedQuery = 0x100,
    kDNSServiceFlagsAllowRemoteQuery = 0x200,
    kDNSServiceFlagsForceMulticast = 0x400, /**< ask by multicast only */
    kDNSServiceFlagsForce = 0x800,
    kDNSServiceFlagsKnownUnique = 0x800, /**< as Unique, and known to be so without probing */
    kDNSServiceFlagsReturnIntermediates = 0x1000,
    kDNSServiceFlagsShareConnection =
        0x4000, /**< the handle given is a connection, which the operation shares */
    kDNSServiceFlagsSuppressUnusable = 0x8000,
    kDNSServiceFlagsTimeout = 0x10000,
    kDNSServiceFlagsIncludeP2P = 0x20000,
    kDNSServiceFlagsWakeOnResolve = 0x40000,
    kDNSServiceFlagsBackgroundTrafficClass = 0x80000,
    kDNSServiceFlagsIncludeAWDL = 0x100000,
    kDNSServiceFlagsEnableDNSSEC = 0x200000,
    kDNSServiceFlagsValidate = 0x200000,
    kDNSServiceFlagsUnicastResponse = 0x400000,
    kDNSServiceFlagsValidateOptional = 0x800000,
    kDNSServiceFlagsWakeOnlyService = 0x1000000,
    kDNSServiceFlagsThresholdOne = 0x2000000,
    kDNSServiceFlagsThresholdReached = 0x2000000,
    kDNSServiceFlagsThresholdFinder = 0x4000000,
    kDNSServiceFlagsAutoTrigger = 0x1,
    kDNSServiceFlagsQueueRequest = 0x1,
    kDNSServiceFlagsPrivateOne = 0x2000,
    kDNSServiceFlagsPrivateTwo = 0x8000000,
    kDNSServiceFlagsPrivateThree = 0x10000000,
    kDNSServiceFlagsPrivateFour = 0x20000000,
    kDNSServiceFlagsPrivateFive = 0x40000000,
    kDNSServiceFlagsSecure = 0x200010,
    kDNSServiceFlagsInsecure = 0x200020,
    kDNSServiceFlagsBogus = 0x200040,
    kDNSServiceFlagsIndeterminate = 0x200080
};

/* An enumerator of C has to fit an int. */
#define kDNSServiceFlagsAllowExpiredAnswers 0x80000000U /**< of no effect */
#define kDNSServiceFlagsExpiredAnswer 0x80000000U       /**< never set: nothing expired is reported */

/* ---- Interfaces ---- */

#define kDNSServiceInterfaceIndexAny 0U                /**< every interface */
#define kDNSServiceInterfaceIndexLocalOnly 0xFFFFFFFFU /**< this host alone */
#define kDNSServiceInterfaceIndexUnicast 0xFFFFFFFEU   /**< refused: there is no unicast DNS here */
#define kDNSServiceInterfaceIndexP2P 0xFFFFFFFDU       /**< taken, and nothing is there */
#define kDNSServiceInterfaceIndexBLE 0xFFFFFFFCU       /**< as P2P */
#define kDNSServiceInterfaceIndexInfra 0xFFFFFFFBU     /**< as P2P */

/* ---- Protocols ---- */

enum
{
    kDNSServiceProtocol_IPv4 = 0x01,
    kDNSServiceProtocol_IPv6 = 0x02,
    kDNSServiceProtocol_UDP = 0x10,
    kDNSServiceProtocol_TCP = 0x20
};

enum
{
    kDNSServiceAAAAPolicyNone = 0,
    kDNSServiceAAAAPolicyFallback = 1
};

/* ---- Sizes ---- */

#define kDNSServiceMaxServiceName 64  /**< bytes of an instance name with its terminating zero */
#define kDNSServiceMaxDomainName 1009 /**< bytes of an escaped full name with its terminating zero */

/* ---- Record classes and types ---- */

enum
{
    kDNSServiceClass_IN = 1
};

enum
{
    kDNSServiceType_A = 1,
    kDNSServiceType_NS = 2,
    kDNSServiceType_MD = 3,
    kDNSServiceType_MF = 4,
    kDNSServiceType_CNAME = 5,
    kDNSServiceType_SOA = 6,
    kDNSServiceType_MB = 7,
    kDNSServiceType_MG = 8,
    kDNSServiceType_MR = 9,
    kDNSServiceType_NULL = 10,
    kDNSServiceType_WKS = 11,
    kDNSServiceType_PTR = 12,
    kDNSServiceType_HINFO = 13,
    kDNSServiceType_MINFO = 14,
    kDNSServiceType_MX = 15,
    kDNSServiceType_TXT = 16,
    kDNSServiceType_RP = 17,
    kDNSServiceType_AFSDB = 18,
    kDNSServiceType_X25 = 19,
    kDNSServiceType_ISDN = 20,
    kDNSServiceType_RT = 21,
    kDNSServiceType_NSAP = 22,
    kDNSServiceType_NSAP_PTR = 23,
    kDNSServiceType_SIG = 24,
    kDNSServiceType_KEY = 25,
    kDNSServiceType_PX = 26,
    kDNSServiceType_GPOS = 27,
    kDNSServiceType_AAAA = 28,
    kDNSServiceType_LOC = 29,
    kDNSServiceType_NXT = 30,
    kDNSServiceType_EID = 31,
    kDNSServiceType_NIMLOC = 32,
    kDNSServiceType_SRV = 33,
    kDNSServiceType_ATMA = 34,
    kDNSServiceType_NAPTR = 35,
    kDNSServiceType_KX = 36,
    kDNSServiceType_CERT = 37,
    kDNSServiceType_A6 = 38,
    kDNSServiceType_DNAME = 39,
    kDNSServiceType_SINK = 40,
    kDNSServiceType_OPT = 41,
    kDNSServiceType_APL = 42,
    kDNSServiceType_DS = 43,
    kDNSServiceType_SSHFP = 44,
    kDNSServiceType_IPSECKEY = 45,
    kDNSServiceType_RRSIG = 46,
    kDNSServiceType_NSEC = 47,
    kDNSServiceType_DNSKEY = 48,
    kDNSServiceType_DHCID = 49,
    kDNSServiceType_NSEC3 = 50,
    kDNSServiceType_NSEC3PARAM = 51,
    kDNSServiceType_HIP = 55,
    kDNSServiceType_SVCB = 64,
    kDNSServiceType_HTTPS = 65,
    kDNSServiceType_SPF = 99,
    kDNSServiceType_UINFO = 100,
    kDNSServiceType_UID = 101,
    kDNSServiceType_GID = 102,
    kDNSServiceType_UNSPEC = 103,
    kDNSServiceType_TKEY = 249,
    kDNSServiceType_TSIG = 250,
    kDNSServiceType_IXFR = 251,
    kDNSServiceType_AXFR = 252,
    kDNSServiceType_MAILB = 253,
    kDNSServiceType_MAILA = 254,
    kDNSServiceType_ANY = 255
};

/* ---- Errors ---- */

enum
{
    kDNSServiceErr_NoError = 0,
    kDNSServiceErr_Unknown = -65537,
    kDNSServiceErr_NoSuchName = -65538,
    kDNSServiceErr_NoMemory = -65539,
    kDNSServiceErr_BadParam = -65540,
    kDNSServiceErr_BadReference = -65541,
    kDNSServiceErr_BadState = -65542,
    kDNSServiceErr_BadFlags = -65543,
    kDNSServiceErr_Unsupported = -65544,
    kDNSServiceErr_NotInitialized = -65545,
    kDNSServiceErr_AlreadyRegistered = -65547,
    kDNSServiceErr_NameConflict = -65548,
    kDNSServiceErr_Invalid = -65549,
    kDNSServiceErr_Firewall = -65550,
    kDNSServiceErr_Incompatible = -65551,
    kDNSServiceErr_BadInterfaceIndex = -65552,
    kDNSServiceErr_Refused = -65553,
    kDNSServiceErr_NoSuchRecord = -65554,
    kDNSServiceErr_NoAuth = -65555,
    kDNSServiceErr_NoSuchKey = -65556,
    kDNSServiceErr_NATTraversal = -65557,
    kDNSServiceErr_DoubleNAT = -65558,
    kDNSServiceErr_BadTime = -65559,
    kDNSServiceErr_BadSig = -65560,
    kDNSServiceErr_BadKey = -65561,
    kDNSServiceErr_Transient = -65562,
    kDNSServiceErr_ServiceNotRunning = -65563, /**< there is no way to a responder at this moment */
    kDNSServiceErr_NATPortMappingUnsupported = -65564,
    kDNSServiceErr_NATPortMappingDisabled = -65565,
    kDNSServiceErr_NoRouter = -65566,
    kDNSServiceErr_PollingMode = -65567,
    kDNSServiceErr_Timeout = -65568,
    kDNSServiceErr_DefunctConnection = -65569,
    kDNSServiceErr_PolicyDenied = -65570,
    kDNSServiceErr_NotPermitted = -65571,
    kDNSServiceErr_StaleData = -65572
};

/* ---- Handles ---- */

/**
 * The descriptor that is readable exactly while a reply of the handle waits: poll it, never read from it.
 * @return -1 for a null handle.
 */
DNSSD_API int DNSServiceRefSockFD(DNSServiceRef sdRef);

/**
 * Hands over one waiting reply by calling the handle's callback on this thread; without one it blocks until a
 * reply comes or another thread releases the handle.
 * @return BadParam for a null handle, BadReference when the handle was released before a reply came.
 */
DNSSD_API DNSServiceErrorType DNSServiceProcessResult(DNSServiceRef sdRef);

/** Ends the operation: no callback runs after this. A null handle is ignored. */
DNSSD_API void DNSServiceRefDeallocate(DNSServiceRef sdRef);

/** The property to ask for: the API level of what answers, as uint32_t. */
#define kDNSServiceProperty_DaemonVersion "DaemonVersion"

/**
 * Writes a property into `result`; `*size` is the room there in bytes and becomes the size used.
 * @return BadParam for a null argument or too little room, Unsupported for an unknown property,
 * ServiceNotRunning.
 */
DNSSD_API DNSServiceErrorType DNSServiceGetProperty(const char* property, void* result, uint32_t* size);

/* ---- Domains ---- */

/** `replyDomain` came (Add) or went. */
typedef void (*DNSServiceDomainEnumReply)(DNSServiceRef sdRef, DNSServiceFlags flags, uint32_t interfaceIndex,
                                          DNSServiceErrorType errorCode, const char* replyDomain,
                                          void* context);

/** Reports the domains to browse or to register in, which is "local." alone; `flags` is BrowseDomains or
 * RegistrationDomains, else BadParam, as for an interface that does not exist. */
DNSSD_API DNSServiceErrorType DNSServiceEnumerateDomains(DNSServiceRef* sdRef, DNSServiceFlags flags,
                                                         uint32_t interfaceIndex,
                                                         DNSServiceDomainEnumReply callBack, void* context);

/* ---- Registration ---- */

/**
 * The service is registered as `name` (Add), or, without Add, the registration under `name` ended because
 * another host has that name too; a reply with the new name follows. `errorCode` NameConflict: the name is
 * taken, nothing is registered (only with NoAutoRename).
 */
typedef void (*DNSServiceRegisterReply)(DNSServiceRef sdRef, DNSServiceFlags flags,
                                        DNSServiceErrorType errorCode, const char* name, const char* regtype,
                                        const char* domain, void* context);

/**
 * Registers a service; it stays registered until the handle is released or the process ends.
 *
 * @param[out] sdRef The handle, when NoError is returned.
 * @param flags 0 or NoAutoRename.
 * @param interfaceIndex Any, LocalOnly or an interface.
 * @param name Instance name, UTF-8; cut to 63 bytes at a character. NULL or "": the host's name.
 * @param regtype `_type._tcp` or `_type._udp`, subtypes after commas: `_demo._tcp,_colour,_fast`.
 * @param domain NULL, "" or `local`.
 * @param host Host that offers the service; NULL or "": this one.
 * @param port In network byte order; 0 reserves the name without offering anything.
 * @param txtLen,txtRecord TXT record in wire form; an empty one goes out as a single zero byte.
 * @param callBack May be NULL.
 * @param context Handed to the callback.
 * @return BadParam, Invalid for a malformed TXT record, ServiceNotRunning.
 */
DNSSD_API DNSServiceErrorType DNSServiceRegister(DNSServiceRef* sdRef, DNSServiceFlags flags,
                                                 uint32_t interfaceIndex, const char* name,
                                                 const char* regtype, const char* domain, const char* host,
                                                 uint16_t port, uint16_t txtLen, const void* txtRecord,
                                                 DNSServiceRegisterReply callBack, void* context);

/**
 * Replaces the TXT record of a registration (`recordRef` NULL), also before the registration has completed,
 * or the data of a record that was added or registered. Identical data changes nothing. No callback follows.
 *
 * @param sdRef The registration, or the connection that the record was registered on.
 * @param recordRef NULL or the record.
 * @param flags Of no effect.
 * @param rdlen,rdata The data in wire form.
 * @param ttl In seconds, 0 for the usual one; not used for a registration's own TXT record.
 * @return BadParam for a null handle or missing data, BadReference for a handle that is no registration or an
 *         unknown record, Invalid for a malformed TXT record.
 */
DNSSD_API DNSServiceErrorType DNSServiceUpdateRecord(DNSServiceRef sdRef, DNSRecordRef recordRef,
                                                     DNSServiceFlags flags, uint16_t rdlen, const void* rdata,
                                                     uint32_t ttl);

/**
 * Adds a record to a registration that has been answered. It has the service's name, follows it through
 * renames, and is withdrawn with it. No callback follows.
 *
 * @param sdRef The registration.
 * @param[out] recordRef The record, for DNSServiceUpdateRecord and DNSServiceRemoveRecord.
 * @param flags Of no effect.
 * @param rrtype kDNSServiceType_…; several records of one type stand beside each other.
 * @param rdlen,rdata The data in wire form, names uncompressed.
 * @param ttl In seconds; 0 for 120.
 * @return BadParam (also before the registration is answered, and for HINFO), BadReference for a handle that
 *         is no registration, Invalid for a malformed TXT record.
 */
DNSSD_API DNSServiceErrorType DNSServiceAddRecord(DNSServiceRef sdRef, DNSRecordRef* recordRef,
                                                  DNSServiceFlags flags, uint16_t rrtype, uint16_t rdlen,
                                                  const void* rdata, uint32_t ttl);

/**
 * Withdraws a record that was added or registered.
 * @return BadParam for null arguments, BadReference for a record that the handle does not have (any more).
 */
DNSSD_API DNSServiceErrorType DNSServiceRemoveRecord(DNSServiceRef sdRef, DNSRecordRef recordRef,
                                                     DNSServiceFlags flags);

/* ---- Browsing ---- */

/**
 * An instance was found (Add) or went away on an interface: one reply for each name and interface. All three
 * strings can be given to DNSServiceResolve as they are. `serviceName` is not escaped.
 */
typedef void (*DNSServiceBrowseReply)(DNSServiceRef sdRef, DNSServiceFlags flags, uint32_t interfaceIndex,
                                      DNSServiceErrorType errorCode, const char* serviceName,
                                      const char* regtype, const char* replyDomain, void* context);

/**
 * Browses for the instances of a type until the handle is released.
 *
 * @param[out] sdRef The handle, when NoError is returned.
 * @param flags 0; others have no effect.
 * @param interfaceIndex Any, LocalOnly or an interface.
 * @param regtype `_type._tcp` or `_type._udp`; `_type._tcp,_subtype`; `_services._dns-sd._udp` for the types
 * in use.
 * @param domain NULL, "" or `local`.
 * @param callBack Called for every instance that comes or goes; not NULL.
 * @param context Handed to the callback.
 * @return BadParam, ServiceNotRunning.
 */
DNSSD_API DNSServiceErrorType DNSServiceBrowse(DNSServiceRef* sdRef, DNSServiceFlags flags,
                                               uint32_t interfaceIndex, const char* regtype,
                                               const char* domain, DNSServiceBrowseReply callBack,
                                               void* context);

/* ---- Resolving ---- */

/** Host, port and TXT record of an instance; again on every change of them. Nothing is reported when it goes
 * away. */
typedef void (*DNSServiceResolveReply)(DNSServiceRef sdRef, DNSServiceFlags flags, uint32_t interfaceIndex,
                                       DNSServiceErrorType errorCode, const char* fullname,
                                       const char* hosttarget, uint16_t port, uint16_t txtLen,
                                       const unsigned char* txtRecord, void* context);

/**
 * Resolves an instance as reported by a browse. With interface Any it replies for each interface the instance
 * is found on. What is never found is never answered: set a timer.
 * @return BadParam, ServiceNotRunning.
 */
DNSSD_API DNSServiceErrorType DNSServiceResolve(DNSServiceRef* sdRef, DNSServiceFlags flags,
                                                uint32_t interfaceIndex, const char* name,
                                                const char* regtype, const char* domain,
                                                DNSServiceResolveReply callBack, void* context);

/* ---- Addresses ---- */

/**
 * The host has an address (Add) or lost it. `address` is a sockaddr_in or sockaddr_in6 with port 0; a
 * link-local IPv6 address carries the interface as its scope id. `ttl` in seconds, 0 when the address went.
 */
typedef void (*DNSServiceGetAddrInfoReply)(DNSServiceRef sdRef, DNSServiceFlags flags,
                                           uint32_t interfaceIndex, DNSServiceErrorType errorCode,
                                           const char* hostname, const struct sockaddr* address, uint32_t ttl,
                                           void* context);

/**
 * Looks up the addresses of a host and keeps reporting changes until the handle is released.
 *
 * @param[out] sdRef The handle, when NoError is returned.
 * @param flags 0; others have no effect.
 * @param interfaceIndex Any, LocalOnly or an interface.
 * @param protocol kDNSServiceProtocol_IPv4, kDNSServiceProtocol_IPv6, both, or 0 for both.
 * @param hostname Escaped, with or without trailing dot.
 * @param callBack Called for every address that comes or goes; not NULL.
 * @param context Handed to the callback.
 * @return BadParam, ServiceNotRunning.
 */
DNSSD_API DNSServiceErrorType DNSServiceGetAddrInfo(DNSServiceRef* sdRef, DNSServiceFlags flags,
                                                    uint32_t interfaceIndex, DNSServiceProtocol protocol,
                                                    const char* hostname, DNSServiceGetAddrInfoReply callBack,
                                                    void* context);

/* ---- Records ---- */

/** A record came (Add) or went. `rdata` is in wire form and given for both; `ttl` in seconds, 0 when it went.
 */
typedef void (*DNSServiceQueryRecordReply)(DNSServiceRef sdRef, DNSServiceFlags flags,
                                           uint32_t interfaceIndex, DNSServiceErrorType errorCode,
                                           const char* fullname, uint16_t rrtype, uint16_t rrclass,
                                           uint16_t rdlen, const void* rdata, uint32_t ttl, void* context);

/**
 * Asks for the records of a name and type and keeps reporting changes until the handle is released.
 *
 * @param[out] sdRef The handle, when NoError is returned.
 * @param flags 0 or ForceMulticast, which are alike: everything is asked by multicast.
 * @param interfaceIndex Any, LocalOnly or an interface.
 * @param fullname Escaped, with or without trailing dot, such as a resolve reply's.
 * @param rrtype kDNSServiceType_…
 * @param rrclass kDNSServiceClass_IN; there are no records of others.
 * @param callBack Called for every record that comes or goes; not NULL.
 * @param context Handed to the callback.
 * @return BadParam, ServiceNotRunning.
 */
DNSSD_API DNSServiceErrorType DNSServiceQueryRecord(DNSServiceRef* sdRef, DNSServiceFlags flags,
                                                    uint32_t interfaceIndex, const char* fullname,
                                                    uint16_t rrtype, uint16_t rrclass,
                                                    DNSServiceQueryRecordReply callBack, void* context);

/**
 * The record is registered, or, with an error, it is not, or no longer: NameConflict when this host or
 * another one has records of that name and type already.
 */
typedef void (*DNSServiceRegisterRecordReply)(DNSServiceRef sdRef, DNSRecordRef recordRef,
                                              DNSServiceFlags flags, DNSServiceErrorType errorCode,
                                              void* context);

/**
 * Makes a connection: one descriptor for any number of operations. An operation is started on it with the
 * flag ShareConnection and a copy of the connection's handle, which becomes the operation's own:
 *
 *     DNSServiceRef browse = connection;
 *     DNSServiceBrowse(&browse, kDNSServiceFlagsShareConnection, 0, "_demo._tcp", NULL, found, NULL);
 *
 * The descriptor of all of them is the connection's, and DNSServiceProcessResult, given the connection or any
 * operation on it, hands over the oldest reply of all; MoreComing tells that another one waits, whichever
 * operation it is for. To release an operation ends that one alone. To release the connection ends them all;
 * their handles are freed with it and must not be used after that.
 *
 * A connection and all that is on it belong to one thread at a time. A start call with ShareConnection
 * returns BadParam for a null handle and BadReference for one that is no connection.
 * @return BadParam.
 */
DNSSD_API DNSServiceErrorType DNSServiceCreateConnection(DNSServiceRef* sdRef);

/**
 * Registers a single record; it stays registered until it is removed or the connection released.
 *
 * @param sdRef A connection (DNSServiceCreateConnection).
 * @param[out] recordRef The record, for DNSServiceUpdateRecord and DNSServiceRemoveRecord.
 * @param flags Exactly one of Shared, Unique and KnownUnique. A unique record is probed for first, one that
 * is known to be unique is not.
 * @param interfaceIndex Any, LocalOnly or an interface.
 * @param fullname Escaped, with or without trailing dot.
 * @param rrtype kDNSServiceType_…
 * @param rrclass kDNSServiceClass_IN
 * @param rdlen,rdata The data in wire form, names uncompressed.
 * @param ttl In seconds; 0 for 120.
 * @param callBack May be NULL.
 * @param context Handed to the callback.
 * @return BadParam, BadReference for a handle that is no connection, Invalid for a malformed TXT record.
 */
DNSSD_API DNSServiceErrorType DNSServiceRegisterRecord(DNSServiceRef sdRef, DNSRecordRef* recordRef,
                                                       DNSServiceFlags flags, uint32_t interfaceIndex,
                                                       const char* fullname, uint16_t rrtype,
                                                       uint16_t rrclass, uint16_t rdlen, const void* rdata,
                                                       uint32_t ttl, DNSServiceRegisterRecordReply callBack,
                                                       void* context);

/** Not offered: returns Unsupported (BadParam without a name or data, or for an interface that does not
 * exist). */
DNSSD_API DNSServiceErrorType DNSServiceReconfirmRecord(DNSServiceFlags flags, uint32_t interfaceIndex,
                                                        const char* fullname, uint16_t rrtype,
                                                        uint16_t rrclass, uint16_t rdlen, const void* rdata);

/** Never called, as no port can be mapped. */
typedef void (*DNSServiceNATPortMappingReply)(DNSServiceRef sdRef, DNSServiceFlags flags,
                                              uint32_t interfaceIndex, DNSServiceErrorType errorCode,
                                              uint32_t externalAddress, DNSServiceProtocol protocol,
                                              uint16_t internalPort, uint16_t externalPort, uint32_t ttl,
                                              void* context);

/** Not offered: returns NATPortMappingUnsupported and sets `*sdRef` to NULL. */
DNSSD_API DNSServiceErrorType
DNSServiceNATPortMappingCreate(DNSServiceRef* sdRef, DNSServiceFlags flags, uint32_t interfaceIndex,
                               DNSServiceProtocol protocol, uint16_t internalPort, uint16_t externalPort,
                               uint32_t ttl, DNSServiceNATPortMappingReply callBack, void* context);

/* ---- Names ---- */

/**
 * Joins an instance name, a type and a domain to an escaped full name with trailing dot.
 *
 * @param[out] fullName Room for kDNSServiceMaxDomainName bytes.
 * @param service Instance name, not escaped; NULL or "": the full name of the type alone.
 * @param regtype `_type._tcp` or `_type._udp`.
 * @param domain Escaped, such as `local`.
 * @return BadParam when the parts make no valid name.
 */
DNSSD_API DNSServiceErrorType DNSServiceConstructFullName(char* const fullName, const char* const service,
                                                          const char* const regtype,
                                                          const char* const domain);

/* ---- TXT records ---- */

/** A TXT record being built; all zero is an empty one. Its content is private. */
typedef union _TXTRecordRef_t {
    char PrivateData[16];        /**< private */
    char* ForceNaturalAlignment; /**< private */
} TXTRecordRef;

/** Starts an empty record in the caller's buffer; NULL or a full buffer makes the record find its own memory.
 */
DNSSD_API void TXTRecordCreate(TXTRecordRef* txtRecord, uint16_t bufferLen, void* buffer);

/** Frees what the record has allocated; harmless when called again. */
DNSSD_API void TXTRecordDeallocate(TXTRecordRef* txtRecord);

/**
 * Sets a key; one that is there (its case does not count) is replaced and moves to the end.
 *
 * @param txtRecord Made by TXTRecordCreate.
 * @param key Printable ASCII without '=', not empty.
 * @param valueSize,value NULL: the bare key; 0 bytes: `key=`. Key, '=' and value together: at most 254 bytes.
 * @return Invalid (the record is unchanged), NoMemory.
 */
DNSSD_API DNSServiceErrorType TXTRecordSetValue(TXTRecordRef* txtRecord, const char* key, uint8_t valueSize,
                                                const void* value);

/** Removes a key. @return NoSuchKey. */
DNSSD_API DNSServiceErrorType TXTRecordRemoveValue(TXTRecordRef* txtRecord, const char* key);

/** Length of the record in bytes; 0 while it is empty. */
DNSSD_API uint16_t TXTRecordGetLength(const TXTRecordRef* txtRecord);

/** The record in wire form, valid until the next change. */
DNSSD_API const void* TXTRecordGetBytesPtr(const TXTRecordRef* txtRecord);

/** @return 1 when the TXT record in wire form has the key, else 0. */
DNSSD_API int TXTRecordContainsKey(uint16_t txtLen, const void* txtRecord, const char* key);

/** The value of a key, inside the record, not zero-terminated; NULL without the key or without a value. */
DNSSD_API const void* TXTRecordGetValuePtr(uint16_t txtLen, const void* txtRecord, const char* key,
                                           uint8_t* valueLen);

/** Number of items; 0 when the record is malformed. */
DNSSD_API uint16_t TXTRecordGetCount(uint16_t txtLen, const void* txtRecord);

/**
 * One item by position. The value points into the record and is not zero-terminated.
 * @return Invalid past the end or at malformed data (outputs untouched), NoMemory when the key does not fit.
 */
DNSSD_API DNSServiceErrorType TXTRecordGetItemAtIndex(uint16_t txtLen, const void* txtRecord,
                                                      uint16_t itemIndex, uint16_t keyBufLen, char* key,
                                                      uint8_t* valueLen, const void** value);

#if defined(__GNUC__)
#pragma GCC visibility pop
#endif

#ifdef __cplusplus
}
#endif

#endif /* _DNS_SD_H */
