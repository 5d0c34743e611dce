/* SPDX-License-Identifier: MIT */
/* A DNS-SD library that needs no daemon: every host is 10.1.1.1. OTHER_DNSSD=refuse lets it refuse questions,
 * OTHER_DNSSD=silent lets it answer none. */
#include <arpa/inet.h>
#include <dns_sd.h>
#include <netinet/in.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

struct _DNSServiceRef_t
{
    int ends[2];
    DNSServiceGetAddrInfoReply reply;
    void* context;
};

static int behaves(const char* how)
{
    const char* wanted = getenv("OTHER_DNSSD");
    return wanted && strcmp(wanted, how) == 0;
}

DNSServiceErrorType DNSServiceGetAddrInfo(DNSServiceRef* ref, DNSServiceFlags flags, uint32_t interface,
                                          DNSServiceProtocol protocol, const char* host,
                                          DNSServiceGetAddrInfoReply reply, void* context)
{
    (void)flags, (void)interface, (void)protocol, (void)host;
    *ref = NULL;
    if (behaves("refuse"))
        return kDNSServiceErr_ServiceNotRunning;
    DNSServiceRef made = calloc(1, sizeof *made);
    if (!made || pipe(made->ends) != 0)
        abort();
    made->reply = reply;
    made->context = context;
    if (!behaves("silent") && write(made->ends[1], "", 1) != 1)
        abort();
    *ref = made;
    return kDNSServiceErr_NoError;
}

int DNSServiceRefSockFD(DNSServiceRef ref)
{
    return ref->ends[0];
}

DNSServiceErrorType DNSServiceProcessResult(DNSServiceRef ref)
{
    char byte;
    struct sockaddr_in address = {.sin_family = AF_INET, .sin_addr.s_addr = htonl(0x0a010101)};
    if (read(ref->ends[0], &byte, 1) != 1)
        return kDNSServiceErr_Unknown;
    ref->reply(ref, kDNSServiceFlagsAdd, 1, kDNSServiceErr_NoError, "host.local.", (struct sockaddr*)&address,
               120, ref->context);
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
NOT_CALLED(DNSServiceRegister)
NOT_CALLED(DNSServiceBrowse)
NOT_CALLED(DNSServiceResolve)
NOT_CALLED(DNSServiceQueryRecord)
NOT_CALLED(DNSServiceUpdateRecord)
NOT_CALLED(TXTRecordCreate)
NOT_CALLED(TXTRecordSetValue)
NOT_CALLED(TXTRecordRemoveValue)
NOT_CALLED(TXTRecordGetLength)
NOT_CALLED(TXTRecordGetBytesPtr)
NOT_CALLED(TXTRecordGetItemAtIndex)
NOT_CALLED(TXTRecordDeallocate)
