/* SPDX-License-Identifier: MIT */
/**
 * @file
 * The network in memory, for tests of applications: no sockets, no daemon, one process. Everything of
 * dns_sd.h works on it; what other hosts do is up to these calls.
 *
 *     VeskDnssdChooseBackend(kVeskDnssdBackend_Memory); // before the first operation
 *     VeskDnssdMemoryService kitchen = {.name = "Kitchen", .type = "_demo._tcp", .port = htons(8080)};
 *     VeskDnssdMemoryPublish(&kitchen);
 *
 * Each call returns when the change has been made, and the replies that come of it follow without delay. It
 * may be made by any thread, inside callbacks, too. To begin with there is a responder and a network, and
 * there are no other hosts. This host is "testhost.local.", with the addresses 127.0.0.1 and ::1.
 *
 * All return kDNSServiceErr_NoError, or kDNSServiceErr_BadState when the process works on another backend,
 * kDNSServiceErr_NoMemory without memory, thread or descriptor, and kDNSServiceErr_Timeout when the library
 * has not come round to it in ten seconds, besides what each names. Qt applications use MDnsTestNetwork.h.
 */
#ifndef VESK_DNSSD_MEMORY_H
#define VESK_DNSSD_MEMORY_H

#include <dns_sd.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#pragma GCC visibility push(default)
#endif

/** A service of another host. What is left zero has its usual value. */
typedef struct
{
    const char* name;             /**< of the instance: UTF-8, at most 63 bytes, not escaped */
    const char* type;             /**< such as "_demo._tcp", with subtypes after commas */
    const char* host;             /**< NULL: that of the service's name, such as "Kitchen.local." */
    const char* const* addresses; /**< of the host: IPv4 and IPv6 in text; NULL: 192.0.2.1 alone */
    uint32_t addressCount;        /**< may be 0 beside addresses that are not NULL: the host has none */
    uint32_t interfaceIndex; /**< that it is seen on, which need not exist; 0: whichever is asked for, and
                                else loopback */
    uint16_t port;           /**< in network byte order; 0: none, so that only the name is taken */
    uint16_t txtLen;         /**< bytes of the TXT record */
    const void* txtRecord;   /**< as that of DNSServiceRegister; NULL: an empty one */
} VeskDnssdMemoryService;

/**
 * Another host publishes a service, or changes the one that it has under that name, type and interface.
 *
 * A registration of this process with the same name and type gives way, as it would to a host that defends
 * its name: it takes another name, or ends when it must not. One without port takes the name and offers
 * nothing.
 *
 * @return kDNSServiceErr_BadParam for a name, type, host or address that is none, kDNSServiceErr_Invalid for
 *         a malformed TXT record
 */
DNSSD_API DNSServiceErrorType VeskDnssdMemoryPublish(const VeskDnssdMemoryService* service);

/**
 * Another host withdraws a service.
 *
 * @param name of the instance, as it was published
 * @param type as it was published; subtypes are of no meaning
 * @param interfaceIndex that it was published on; 0: whichever they are
 * @return kDNSServiceErr_NoSuchName when no other host has it, kDNSServiceErr_BadParam
 */
DNSSD_API DNSServiceErrorType VeskDnssdMemoryWithdraw(const char* name, const char* type,
                                                      uint32_t interfaceIndex);

/** Takes the network away (0) or gives it back: without it nothing is heard of other hosts, while what this
 * process publishes stays. */
DNSSD_API DNSServiceErrorType VeskDnssdMemorySetConnected(int isConnected);

/** Takes the responder away (0), as when the daemon is stopped, or gives it back: without it nothing is heard
 * and nothing published. What has gone meanwhile is reported gone 0.2 to 0.4 seconds after the responder is
 * back. */
DNSSD_API DNSServiceErrorType VeskDnssdMemorySetResponding(int isResponding);

/** Has the responder refuse everything that is started from now on (not 0), with kDNSServiceErr_Refused, as
 * the daemon does when it has no room for more. */
DNSSD_API DNSServiceErrorType VeskDnssdMemorySetRefusing(int isRefusing);

/** As it was to begin with: no other hosts, a network, and a responder that refuses nothing. */
DNSSD_API DNSServiceErrorType VeskDnssdMemoryReset(void);

#if defined(__GNUC__)
#pragma GCC visibility pop
#endif

#ifdef __cplusplus
}
#endif

#endif
