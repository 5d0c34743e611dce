// SPDX-License-Identifier: MIT
#include "RegistrationOperation.h"

#include "ErrorNumber.h"
#include "InstanceName.h"
#include "Utf8.h"

#include <utility>

namespace vesk::dnssd {

RegistrationOperation::RegistrationOperation(std::shared_ptr<ReplyQueue> replies, Service service,
                                             OnConflict onConflict,
                                             Callback<DNSServiceRegisterReply> callback)
    : Operation(std::move(replies))
    , m_service(std::move(service))
    , m_onConflict(onConflict)
    , m_callback(callback)
{
}

/// Withdraws the service: the publication's destructor has a goodbye sent.
RegistrationOperation::~RegistrationOperation()
{
    if (m_registry)
        m_registry->leave(*this);
}

void RegistrationOperation::start(const OperationContext& context)
{
    m_loop = &context.loop;
    m_nextAttempt.emplace(context.loop, [this] { m_registry->publish(*this); });
    m_registry = &context.registrations;
    m_registry->enter(*this);
}

void RegistrationOperation::update(std::string txt)
{
    if (txt == m_service.txt)
        return;
    m_service.txt = std::move(txt);
    if (m_publication)
        m_publication->update(m_service.txt);
}

void RegistrationOperation::attach(Companion& companion)
{
    m_companions.insert(&companion);
    if (m_isPublished)
        introduce(companion);
}

void RegistrationOperation::introduce(Companion& companion) const
{
    companion.onServicePublished(Labels{m_service.name} + m_service.type + m_service.domain, *m_publication);
}

void RegistrationOperation::withdraw()
{
    m_isPublished = false;
    for (Companion* companion : m_companions)
        companion->onServiceWithdrawn();
    m_publication.reset();
}

void RegistrationOperation::publish(Backend& backend)
{
    if (m_hasEnded || m_publication || m_nextAttempt->isActive())
        return;
    if (m_service.name.empty())
        m_service.name = std::string(cutUtf8(backend.hostName(), MaxLabel));
    auto result = backend.publish(m_service, *this);
    while (result.error == BackendError::NameConflict && resolveConflict())
        result = backend.publish(m_service, *this);
    m_publication = std::move(result.started);
    // A backend that has just gone is no error: the registry has this published when it is back.
    if (m_publication || m_hasEnded || result.error == BackendError::Unavailable)
        return;
    end(0, errorNumber(result.error));
}

void RegistrationOperation::onPublished()
{
    m_hasBeenPublished = true;
    if (!std::exchange(m_isPublished, true)) {
        for (Companion* companion : m_companions)
            introduce(*companion);
    }
    if (m_reportedName == m_service.name)
        return;
    m_reportedName = m_service.name;
    report(Reply::Kind::Appeared, kDNSServiceFlagsAdd, kDNSServiceErr_NoError, m_reportedName);
}

void RegistrationOperation::onNameConflict()
{
    withdraw();
    if (resolveConflict())
        m_nextAttempt->start(m_conflictLimiter.pauseAfterConflict(m_loop->now()));
}

void RegistrationOperation::onPublishFailed(BackendError error)
{
    withdraw();
    end(0, errorNumber(error));
}

/// Takes another name if that is allowed.
bool RegistrationOperation::resolveConflict()
{
    if (m_onConflict == OnConflict::Rename) {
        takeBackReportedName();
        m_service.name = nextInstanceName(m_service.name);
        return true;
    }
    end(kDNSServiceFlagsAdd, kDNSServiceErr_NameConflict);
    return false;
}

void RegistrationOperation::takeBackReportedName()
{
    if (!m_reportedName.empty())
        report(Reply::Kind::Vanished, 0, kDNSServiceErr_NoError, std::exchange(m_reportedName, {}));
}

void RegistrationOperation::fail(DNSServiceErrorType error)
{
    end(0, error);
}

void RegistrationOperation::end(DNSServiceFlags flags, DNSServiceErrorType error)
{
    takeBackReportedName();
    m_hasEnded = true;
    report(Reply::Kind::Lasting, flags, error, m_service.name);
}

void RegistrationOperation::report(Reply::Kind kind, DNSServiceFlags flags, DNSServiceErrorType error,
                                   const std::string& name) const
{
    if (!m_callback.function)
        return;
    reply({kind, name,
           [callback = m_callback, flags, error, name, type = toText(m_service.type),
            domain = toText(m_service.domain)](DNSServiceFlags moreComing) {
               callback.function(callback.handle, flags | moreComing, error, name.c_str(), type.c_str(),
                                 domain.c_str(), callback.context);
           }});
}

} // namespace vesk::dnssd
