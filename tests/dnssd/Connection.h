// SPDX-License-Identifier: MIT
#ifndef VESK_TESTS_CONNECTION_H
#define VESK_TESTS_CONNECTION_H

#include "Handles.h"

#include <gtest/gtest.h>

namespace vesk::dnssd::tests {

/// A connection that operations share. It owns their references.
class Connection : public Handle
{
public:
    Connection() { started(DNSServiceCreateConnection(&m_ref)); }
};

/// A query on a connection; its reference is the connection's to free.
class ConnectedQuery
{
public:
    ConnectedQuery(DNSServiceRef connection, const std::string& name, uint16_t type = kDNSServiceType_TXT)
        : m_ref(connection)
    {
        m_error = DNSServiceQueryRecord(
            &m_ref, kDNSServiceFlagsShareConnection, 0, name.c_str(), type, kDNSServiceClass_IN,
            [](DNSServiceRef ref, DNSServiceFlags replyFlags, uint32_t, DNSServiceErrorType, const char*,
               uint16_t, uint16_t, uint16_t size, const void* rdata, uint32_t, void* self) {
                auto& query = *static_cast<ConnectedQuery*>(self);
                EXPECT_EQ(ref, query.m_ref);
                query.flags.push_back(replyFlags);
                query.data.emplace_back(static_cast<const char*>(rdata), size);
                if (query.onReply)
                    query.onReply();
            },
            this);
    }
    ConnectedQuery(const ConnectedQuery&) = delete;
    ConnectedQuery& operator=(const ConnectedQuery&) = delete;

    DNSServiceRef ref() const { return m_ref; }
    DNSServiceErrorType error() const { return m_error; }
    void release() { DNSServiceRefDeallocate(std::exchange(m_ref, nullptr)); }

    std::vector<DNSServiceFlags> flags;
    std::vector<std::string> data;
    std::function<void()> onReply;

private:
    DNSServiceRef m_ref;
    DNSServiceErrorType m_error;
};

/// A record that is registered on a connection, with all its replies.
class RegisteredRecord
{
public:
    RegisteredRecord(DNSServiceRef connection, const char* name, uint16_t type, const std::string& data,
                     DNSServiceFlags claim, uint32_t interface = 0, uint32_t ttl = 0)
        : m_connection(connection)
    {
        m_error = DNSServiceRegisterRecord(
            connection, &m_ref, claim, interface, name, type, kDNSServiceClass_IN,
            static_cast<uint16_t>(data.size()), data.data(), ttl,
            [](DNSServiceRef handle, DNSRecordRef record, DNSServiceFlags replyFlags,
               DNSServiceErrorType error, void* self) {
                auto& registered = *static_cast<RegisteredRecord*>(self);
                EXPECT_EQ(handle, registered.m_connection);
                EXPECT_EQ(record, registered.m_ref);
                registered.flags.push_back(replyFlags);
                registered.errors.push_back(error);
            },
            this);
    }
    RegisteredRecord(const RegisteredRecord&) = delete;
    RegisteredRecord& operator=(const RegisteredRecord&) = delete;

    DNSRecordRef ref() const { return m_ref; }
    DNSServiceErrorType error() const { return m_error; }
    bool isDone() const { return !errors.empty(); }
    DNSServiceErrorType update(const std::string& data) const
    {
        return DNSServiceUpdateRecord(m_connection, m_ref, 0, static_cast<uint16_t>(data.size()), data.data(),
                                      0);
    }
    DNSServiceErrorType remove() const { return DNSServiceRemoveRecord(m_connection, m_ref, 0); }

    std::vector<DNSServiceFlags> flags;
    std::vector<DNSServiceErrorType> errors;

private:
    DNSServiceRef m_connection;
    DNSRecordRef m_ref = nullptr;
    DNSServiceErrorType m_error;
};

} // namespace vesk::dnssd::tests

#endif
