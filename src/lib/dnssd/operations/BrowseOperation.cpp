// SPDX-License-Identifier: MIT
#include "BrowseOperation.h"

#include "ErrorNumber.h"

namespace vesk::dnssd {

namespace {

/// What a browse reply says of an instance.
struct ListedInstance
{
    uint32_t interface;
    std::string name;
    std::string type;
    std::string domain;

    ListedInstance(const Labels& instance, uint32_t reportedInterface)
        : interface(reportedInterface)
        , name(instance.front().c_str()) // up to a zero byte, as the application reads it
        , type(toText({instance.begin() + 1, instance.begin() + 3}))
        , domain(toText({instance.begin() + 3, instance.end()}))
    {
    }

    std::string subject() const { return std::to_string(interface) + ' ' + name + '\0' + type + domain; }
};

} // namespace

BrowseOperation::BrowseOperation(std::shared_ptr<ReplyQueue> replies, Labels type, InterfaceScope scope,
                                 Callback<DNSServiceBrowseReply> callback)
    : Operation(std::move(replies))
    , m_type(std::move(type))
    , m_scope(scope)
    , m_callback(callback)
{
}

BrowseOperation::~BrowseOperation()
{
    if (!m_admission)
        return;
    m_admission->knownChanged(-static_cast<int>(m_listed.size()));
    m_admission->removeLine(line());
}

/// Types that are browsed are not resolved, nor is a service of this host's alone.
bool BrowseOperation::listsInstances() const
{
    return m_scope.kind == InterfaceScope::Links && m_type.front() != "_services";
}

void BrowseOperation::start(const OperationContext& context)
{
    if (listsInstances()) {
        context.admission.addLine(line());
        m_admission = &context.admission;
    }
    m_subscription = context.queries.subscribe(
        {m_type, kDNSServiceType_PTR, kDNSServiceClass_IN, m_scope.interface, {}}, *this);
}

void BrowseOperation::onRecord(const RecordEvent& event)
{
    std::string_view wire = event.record.data;
    const auto instance = readWireName(wire);
    if (!instance || instance->size() < 3)
        return;
    ListedInstance listed(*instance, m_scope.reported(event.record.interface));
    std::string subject = listed.subject();
    if (!changesTheList(subject, event.isPresent))
        return;
    std::optional<BrowsedInstance> admitted;
    if (m_admission) {
        m_admission->knownChanged(event.isPresent ? 1 : -1);
        if (event.isPresent)
            admitted = {*instance, event.record.interface};
    }
    const DNSServiceFlags flags = event.isPresent ? DNSServiceFlags(kDNSServiceFlagsAdd) : 0;
    reply({event.isPresent ? Reply::Kind::Appeared : Reply::Kind::Vanished, std::move(subject),
           [callback = m_callback, flags, listed = std::move(listed)](DNSServiceFlags moreComing) {
               callback.function(callback.handle, flags | moreComing, listed.interface,
                                 kDNSServiceErr_NoError, listed.name.c_str(), listed.type.c_str(),
                                 listed.domain.c_str(), callback.context);
           },
           std::move(admitted)});
}

/// Whether the first instance of that text has come, or the last one gone.
bool BrowseOperation::changesTheList(const std::string& subject, bool isPresent)
{
    if (isPresent)
        return ++m_listed[subject] == 1;
    const auto count = m_listed.find(subject);
    if (count == m_listed.end() || --count->second > 0)
        return false;
    m_listed.erase(count);
    return true;
}

void BrowseOperation::onQueryFailed(BackendError error)
{
    fail(errorNumber(error));
}

void BrowseOperation::fail(DNSServiceErrorType error)
{
    reply({Reply::Kind::Lasting, {}, [callback = m_callback, error](DNSServiceFlags moreComing) {
               callback.function(callback.handle, moreComing, 0, error, "", "", "", callback.context);
           }});
}

} // namespace vesk::dnssd
