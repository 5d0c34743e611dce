// SPDX-License-Identifier: MIT
#include "BrowseOperation.h"

namespace vesk::dnssd {

BrowseOperation::BrowseOperation(std::shared_ptr<Mailbox> mailbox, Labels type, Scope scope,
                                 Callback<DNSServiceBrowseReply> callback)
    : Operation(std::move(mailbox))
    , m_type(std::move(type))
    , m_scope(scope)
    , m_callback(callback)
{
}

void BrowseOperation::start(const Rooms& rooms)
{
    m_seat =
        rooms.questions.ask({m_type, kDNSServiceType_PTR, kDNSServiceClass_IN, m_scope.interface, {}}, *this);
}

void BrowseOperation::answered(const Record& record, bool present, bool)
{
    std::string_view wire = record.data;
    const auto target = readWireName(wire);
    if (!target || target->size() < 3)
        return;
    const auto type = target->begin() + 1;
    reply([callback = m_callback, flags = present ? DNSServiceFlags(kDNSServiceFlagsAdd) : 0,
           interface = m_scope.reported(record.interface), name = target->front(),
           regtype = toText({type, type + 2}),
           domain = toText({type + 2, target->end()})](DNSServiceFlags moreComing) {
        callback.function(callback.handle, flags | moreComing, interface, kDNSServiceErr_NoError,
                          name.c_str(), regtype.c_str(), domain.c_str(), callback.context);
    });
}

void BrowseOperation::refused()
{
    reply([callback = m_callback](DNSServiceFlags moreComing) {
        callback.function(callback.handle, moreComing, 0, kDNSServiceErr_Refused, "", "", "",
                          callback.context);
    });
}

} // namespace vesk::dnssd
