// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_HANDLE_H
#define VESK_DNSSD_HANDLE_H

#include "ProcessEngine.h"
#include "RunningOperation.h"

#include <unordered_map>

/// What an application holds for a record that it publishes.
struct _DNSRecordRef_t
{
    vesk::dnssd::RunningOperation running;

    explicit _DNSRecordRef_t(const vesk::dnssd::RunningOperation& owner)
        : running(owner.engine(), owner.replies()->line())
    {
    }
};

/// What an application holds for an operation, or for a connection that operations share.
struct _DNSServiceRef_t
{
    enum class Kind
    {
        Operation,
        Connection
    };

    Kind kind = Kind::Operation;
    DNSServiceRef connection = nullptr; ///< that the operation shares; it owns this handle
    unsigned generation = vesk::dnssd::forkGeneration();
    vesk::dnssd::RunningOperation running;

    /// A connection's operations, and a connection's or a registration's records. They end first.
    std::unordered_map<DNSServiceRef, std::unique_ptr<_DNSServiceRef_t>> operations;
    std::unordered_map<DNSRecordRef, std::unique_ptr<_DNSRecordRef_t>> records;

    _DNSServiceRef_t()
        : running(vesk::dnssd::processEngine())
    {
    }
    explicit _DNSServiceRef_t(_DNSServiceRef_t& sharedConnection)
        : connection(&sharedConnection)
        , running(sharedConnection.running.engine(), sharedConnection.running.replies()->line())
    {
    }

    /// Whether it was made before the process was forked: its operation goes on in the parent alone.
    bool isInherited() const { return generation != vesk::dnssd::forkGeneration(); }
};

#endif
