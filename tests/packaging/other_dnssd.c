/* SPDX-License-Identifier: MIT */
/* A DNS-SD library that needs no daemon: every host is 10.1.1.1, and every service is found once.
 * OTHER_DNSSD=refuse lets it refuse what is asked, OTHER_DNSSD=silent lets it answer nothing,
 * OTHER_DNSSD=addressless lets it know no address. */
#include <arpa/inet.h>
#include <dns_sd.h>
#include <netinet/in.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

struct _DNSServiceRef_t
{
    int ends[2]; /* a byte in the pipe is a reply that waits */
    void (*hand_over)(DNSServiceRef ref);
    void (*reply)(void);
    void* context;
};

/* Of the service that was registered last. */
static char name[kDNSServiceMaxServiceName];
static char type[kDNSServiceMaxDomainName];
static uint16_t port;

static int behaves(const char* how)
{
    const char* wanted = getenv("OTHER_DNSSD");
    return wanted && strcmp(wanted, how) == 0;
}

static DNSServiceErrorType start(DNSServiceRef* ref, void (*hand_over)(DNSServiceRef), void (*reply)(void),
                                 void* context, int answers)
{
    *ref = NULL;
    if (behaves("refuse"))
        return kDNSServiceErr_ServiceNotRunning;
    DNSServiceRef made = calloc(1, sizeof *made);
    if (!made || pipe(made->ends) != 0)
        abort();
    made->hand_over = hand_over;
    made->reply = reply;
    made->context = context;
    if (answers && !behaves("silent") && write(made->ends[1], "", 1) != 1)
        abort();
    *ref = made;
    return kDNSServiceErr_NoError;
}

static void hand_over_address(DNSServiceRef ref)
{
    struct sockaddr_in address = {.sin_family = AF_INET, .sin_addr.s_addr = htonl(0x0a010101)};
    ((DNSServiceGetAddrInfoReply)ref->reply)(ref, kDNSServiceFlagsAdd, 1, kDNSServiceErr_NoError,
                                             "host.local.", (struct sockaddr*)&address, 120, ref->context);
}

static void hand_over_registration(DNSServiceRef ref)
{
    ((DNSServiceRegisterReply)ref->reply)(ref, kDNSServiceFlagsAdd, kDNSServiceErr_NoError, name, type,
                                          "local.", ref->context);
}

static void hand_over_instance(DNSServiceRef ref)
{
    ((DNSServiceBrowseReply)ref->reply)(ref, kDNSServiceFlagsAdd, 1, kDNSServiceErr_NoError, name, type,
                                        "local.", ref->context);
}

static void hand_over_host(DNSServiceRef ref)
{
    ((DNSServiceResolveReply)ref->reply)(ref, 0, 1, kDNSServiceErr_NoError, name, "host.local.", port, 1,
                                         (const unsigned char*)"", ref->context);
}

DNSServiceErrorType DNSServiceGetAddrInfo(DNSServiceRef* ref, DNSServiceFlags flags, uint32_t interface,
                                          DNSServiceProtocol protocol, const char* host,
                                          DNSServiceGetAddrInfoReply reply, void* context)
{
    (void)flags, (void)interface, (void)protocol, (void)host;
    return start(ref, hand_over_address, (void (*)(void))reply, context, !behaves("addressless"));
}

DNSServiceErrorType DNSServiceRegister(DNSServiceRef* ref, DNSServiceFlags flags, uint32_t interface,
                                       const char* wanted, const char* regtype, const char* domain,
                                       const char* host, uint16_t at, uint16_t length, const void* txt,
                                       DNSServiceRegisterReply reply, void* context)
{
    (void)flags, (void)interface, (void)domain, (void)host, (void)length, (void)txt;
    snprintf(name, sizeof name, "%s", wanted);
    snprintf(type, sizeof type, "%s.", regtype);
    port = at;
    return start(ref, hand_over_registration, (void (*)(void))reply, context, 1);
}

DNSServiceErrorType DNSServiceBrowse(DNSServiceRef* ref, DNSServiceFlags flags, uint32_t interface,
                                     const char* regtype, const char* domain, DNSServiceBrowseReply reply,
                                     void* context)
{
    (void)flags, (void)interface, (void)regtype, (void)domain;
    return start(ref, hand_over_instance, (void (*)(void))reply, context, name[0] != '\0');
}

DNSServiceErrorType DNSServiceResolve(DNSServiceRef* ref, DNSServiceFlags flags, uint32_t interface,
                                      const char* wanted, const char* regtype, const char* domain,
                                      DNSServiceResolveReply reply, void* context)
{
    (void)flags, (void)interface, (void)regtype, (void)domain;
    return start(ref, hand_over_host, (void (*)(void))reply, context, strcmp(wanted, name) == 0);
}

int DNSServiceRefSockFD(DNSServiceRef ref)
{
    return ref->ends[0];
}

DNSServiceErrorType DNSServiceProcessResult(DNSServiceRef ref)
{
    char byte;
    if (read(ref->ends[0], &byte, 1) != 1)
        return kDNSServiceErr_Unknown;
    ref->hand_over(ref);
    return kDNSServiceErr_NoError;
}

void DNSServiceRefDeallocate(DNSServiceRef ref)
{
    if (!ref)
        return;
    close(ref->ends[0]);
    close(ref->ends[1]);
    free(ref);
}

/* What the doctor does not call. */
#define NOT_CALLED(name)                                                                                     \
    DNSSD_API void name##_not_called(void) __asm__(#name);                                                   \
    void name##_not_called(void)                                                                             \
    {                                                                                                        \
        abort();                                                                                             \
    }
NOT_CALLED(DNSServiceQueryRecord)
NOT_CALLED(DNSServiceUpdateRecord)
NOT_CALLED(TXTRecordCreate)
NOT_CALLED(TXTRecordSetValue)
NOT_CALLED(TXTRecordRemoveValue)
NOT_CALLED(TXTRecordGetLength)
NOT_CALLED(TXTRecordGetBytesPtr)
NOT_CALLED(TXTRecordGetItemAtIndex)
NOT_CALLED(TXTRecordDeallocate)
