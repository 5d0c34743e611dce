/* SPDX-License-Identifier: MIT */
/**
 * @file
 * What this client library offers beside the DNS-SD C API of dns_sd.h.
 */
#ifndef VESK_DNSSD_H
#define VESK_DNSSD_H

#include "dns_sd.h"

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#pragma GCC visibility push(default)
#endif

/**
 * Property of DNSServiceGetProperty: how many instances the process's browses have handed on, as a
 * VeskDnssdListing.
 *
 *     VeskDnssdListing listing;
 *     uint32_t size = sizeof listing;
 *     if (DNSServiceGetProperty(kVeskDnssdProperty_Listing, &listing, &size) == kDNSServiceErr_NoError &&
 *         listing.listed < listing.known)
 *         printf("listing %u of %u\n", listing.listed, listing.known);
 *
 * An instance that the application could not follow up waits: each resolve and each look-up takes a
 * descriptor. It is handed on when others end, without anything to be done about it. It may be asked for at
 * any time, without a daemon, too. Fewer bytes than the structure has are kDNSServiceErr_BadParam; a later
 * version may add to its end.
 */
#define kVeskDnssdProperty_Listing "VeskDnssdListing"

/** An instance counts once for each browse and interface that it is found by. */
typedef struct
{
    uint32_t listed; /**< instances that the application's callbacks were told of and that are there */
    uint32_t known;  /**< these, and those that wait */
    uint32_t silent; /**< of those that wait: they were resolved, and nothing answered */
    uint32_t descriptorLimit; /**< the process's soft limit (RLIMIT_NOFILE) */
} VeskDnssdListing;

/** What does the library's multicast DNS: one of the values below. */
typedef uint32_t VeskDnssdBackend;

enum
{
    kVeskDnssdBackend_Auto = 0,    /**< whichever is there: at present, the daemon */
    kVeskDnssdBackend_Daemon = 1,  /**< the Avahi daemon of the host */
    kVeskDnssdBackend_Process = 2, /**< a responder inside the process, which needs no daemon */
    kVeskDnssdBackend_Memory = 3   /**< a network in memory, for tests: see vesk_dnssd_memory.h */
};

/**
 * Chooses the backend for the life of the process, instead of the environment variable VESK_DNSSD_BACKEND
 * ("auto", "daemon", "process" or "memory"). Forked processes have the same. It may be called again until the
 * first operation has been started, or DNSServiceGetProperty asked for another property than
 * kVeskDnssdProperty_Backend.
 *
 * @return BadState after that, BadParam for a value that is none of those above, Unsupported for a
 * backend that is not offered. What was chosen before stands then.
 */
DNSSD_API DNSServiceErrorType VeskDnssdChooseBackend(VeskDnssdBackend backend);

/** Whether the backend is there: one of the values below. */
typedef uint32_t VeskDnssdBackendState;

enum
{
    kVeskDnssdBackendState_Absent =
        0, /**< nothing is asked or published; so, too, before the first operation */
    kVeskDnssdBackendState_Answering = 1, /**< answers, and does not publish yet */
    kVeskDnssdBackendState_Running = 2    /**< answers and publishes */
};

/**
 * Property of DNSServiceGetProperty: which backend the process has, as a VeskDnssdBackendInfo. It may be
 * asked for at any time. Fewer bytes than the structure has are kDNSServiceErr_BadParam; a later version may
 * add to its end.
 */
#define kVeskDnssdProperty_Backend "VeskDnssdBackend"

/** The value of kVeskDnssdProperty_Backend. */
typedef struct
{
    VeskDnssdBackend chosen;     /**< by the call, or the environment, or Auto */
    VeskDnssdBackend inUse;      /**< the one that Auto stands for at present, otherwise the chosen one */
    VeskDnssdBackendState state; /**< of the one in use */
} VeskDnssdBackendInfo;

#if defined(__GNUC__)
#pragma GCC visibility pop
#endif

#ifdef __cplusplus
}
#endif

#endif
