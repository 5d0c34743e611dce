// SPDX-License-Identifier: MIT
#include "Registration.h"

#include "Ascii.h"

namespace vesk::dnssd {

Registration::Registration(std::shared_ptr<Mailbox> mailbox, Service service, OnConflict onConflict,
                           Callback<DNSServiceRegisterReply> callback)
    : Operation(std::move(mailbox))
    , m_service(std::move(service))
    , m_onConflict(onConflict)
    , m_callback(callback)
{
}

Registration::~Registration()
{
    if (m_registrations)
        m_registrations->leave(*this);
}

void Registration::start(const Rooms& rooms)
{
    m_registrations = &rooms.registrations;
    m_registrations->enter(*this);
}

void Registration::update(std::string txt)
{
    if (txt == m_service.txt)
        return;
    m_service.txt = std::move(txt);
    if (m_publication)
        m_publication->update(m_service.txt);
}

void Registration::publish()
{
    if (m_failed || m_publication)
        return;
    Backend& backend = m_registrations->backend();
    if (m_service.name.empty())
        m_service.name = std::string(cutUtf8(backend.hostName(), MaxLabel));
    auto result = backend.publish(m_service, *this);
    while (result.error == kDNSServiceErr_NameConflict && resolveConflict())
        result = backend.publish(m_service, *this);
    m_publication = std::move(result.publication);
    // A daemon that has just gone is no error: the registration is tried again when it is back.
    if (result.error == kDNSServiceErr_NoError || m_failed || backend.state() != Backend::State::Running)
        return;
    m_failed = true;
    report(0, result.error, m_service.name);
}

void Registration::published()
{
    if (m_announced == m_service.name)
        return;
    m_announced = m_service.name;
    report(kDNSServiceFlagsAdd, kDNSServiceErr_NoError, m_announced);
}

void Registration::collided()
{
    m_publication.reset();
    if (!m_announced.empty()) {
        report(0, kDNSServiceErr_NoError, m_announced);
        m_announced.clear();
    }
    if (resolveConflict())
        publish();
}

/// Takes another name if that is allowed.
bool Registration::resolveConflict()
{
    if (m_onConflict == OnConflict::Rename) {
        m_service.name = nextInstanceName(m_service.name);
        return true;
    }
    m_failed = true;
    report(kDNSServiceFlagsAdd, kDNSServiceErr_NameConflict, m_service.name);
    return false;
}

void Registration::report(DNSServiceFlags flags, DNSServiceErrorType error, const std::string& name) const
{
    if (!m_callback.function)
        return;
    reply([callback = m_callback, flags, error, name, type = toText(m_service.type),
           domain = toText(m_service.domain)](DNSServiceFlags moreComing) {
        callback.function(callback.handle, flags | moreComing, error, name.c_str(), type.c_str(),
                          domain.c_str(), callback.context);
    });
}

} // namespace vesk::dnssd
