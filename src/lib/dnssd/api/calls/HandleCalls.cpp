// SPDX-License-Identifier: MIT
//
// What is done with a handle once its operation has started.
#include "Handle.h"

using namespace vesk::dnssd;

namespace {

/// As many replies as one call hands over: a round of the application's event loop serves many, and still
/// comes to an end.
constexpr int LargestBatch = 64;

} // namespace

int DNSServiceRefSockFD(DNSServiceRef sdRef)
{
    return sdRef && !sdRef->isInherited() ? sdRef->running.replies()->descriptor() : -1;
}

/// An exception that the application's own callback throws goes on to its caller.
DNSServiceErrorType DNSServiceProcessResult(DNSServiceRef sdRef)
{
    if (!sdRef)
        return kDNSServiceErr_BadParam;
    if (sdRef->isInherited())
        return kDNSServiceErr_BadReference;
    const std::shared_ptr<ReplyQueue> replies =
        sdRef->running.replies(); // the callback may release the handle
    auto delivery = replies->take();
    if (!delivery)
        return kDNSServiceErr_BadReference;
    for (int left = LargestBatch; delivery; --left) {
        delivery->reply.call(delivery->moreComing);
        delivery.reset(); // the next instance's admission may depend on it
        if (left > 1)
            delivery = replies->takeWaiting();
    }
    return kDNSServiceErr_NoError;
}

/// Allocates nothing. An inherited handle's operation is the parent's, and may be in the middle of a change
/// that this process has no thread to finish: it is left alone.
void DNSServiceRefDeallocate(DNSServiceRef sdRef)
{
    if (!sdRef)
        return;
    if (!sdRef->isInherited() && sdRef->connection)
        sdRef->connection->operations.erase(sdRef);
    else if (!sdRef->isInherited())
        delete sdRef;
    else if (!sdRef->connection)
        sdRef->running.replies()->line()->closeInherited();
}
