// SPDX-License-Identifier: MIT
#include "ServiceGroup.h"

#include "AvahiEncoding.h"
#include "SrvData.h"
#include "dns_sd.h"

#include <avahi-common/domain.h>
#include <avahi-common/error.h>

#include <tuple>

namespace vesk::dnssd {

namespace {

// In seconds, RFC 6762 section 10.
constexpr uint32_t HostRecordTtl = 120;
constexpr uint32_t OtherRecordTtl = 4500;

} // namespace

ServiceGroup::ServiceGroup(EventLoop& loop, const Service& service)
    : m_isPlaceholder(service.port == 0)
    , m_typeInDomain(service.type + service.domain)
    , m_service{toAvahiInterface(service.interface), service.name, toAvahiText(service.type),
                toAvahiText(service.domain)}
    , m_txt(service.txt)
    , m_isTakenAsService(avahi_is_valid_service_type_strict(m_service.type.c_str()) != 0)
    , m_updates(loop, [this](const std::string& data) { passUpdate(data); })
{
}

int ServiceGroup::start(EntryGroups& groups, const Service& service, PublishListener& listener)
{
    int error = AVAHI_OK;
    std::tie(error, m_group) = groups.makeGroup(listener);
    if (error != AVAHI_OK)
        return error;
    m_group->whenPublished([this] { m_updates.begin(); });
    if (m_isPlaceholder)
        error = addSrv(service);
    else if (m_isTakenAsService)
        error = m_group->addService(m_service, toAvahiText(service.host), service.port,
                                    toAvahiTxt(service.txt).get());
    else
        error = addServiceRecords(service);
    for (const std::string& subtype : service.subtypes) {
        if (error == AVAHI_OK && !m_isPlaceholder)
            error = addSubtype(subtype);
    }
    return error == AVAHI_OK ? m_group->commit() : error;
}

void ServiceGroup::update(const std::string& txt)
{
    m_updates.add(txt);
}

void ServiceGroup::passUpdate(const std::string& txt)
{
    if (!m_group->isThere() || m_isPlaceholder)
        return;
    m_txt = txt;
    if (m_isTakenAsService)
        m_group->updateTxt(m_service, toAvahiTxt(txt).get());
    else
        addTxt(AVAHI_PUBLISH_UPDATE);
}

/// An update that changes nothing but what libavahi takes beside the record.
void ServiceGroup::allowFurtherTxt()
{
    if (m_group->isThere() && !m_isPlaceholder)
        addTxt(AvahiPublishFlags(AVAHI_PUBLISH_UPDATE | AVAHI_PUBLISH_ALLOW_MULTIPLE));
}

/// RFC 6763 sections 4.1, 5, 6 and 9.
int ServiceGroup::addServiceRecords(const Service& service)
{
    int error = addSrv(service);
    if (error == AVAHI_OK)
        error = addTxt(AvahiPublishFlags(0));
    if (error == AVAHI_OK)
        error = addPointer(m_typeInDomain, Labels{m_service.name} + m_typeInDomain);
    if (error == AVAHI_OK)
        error = addPointer(Labels{"_services", "_dns-sd", "_udp"} + service.domain, m_typeInDomain);
    return error;
}

int ServiceGroup::addSubtype(const std::string& subtype)
{
    const std::string text = toAvahiText({subtype, "_sub"}) + '.' + m_service.type;
    if (!m_isTakenAsService || !avahi_is_valid_service_subtype(text.c_str()))
        return addPointer(Labels{subtype, "_sub"} + m_typeInDomain, Labels{m_service.name} + m_typeInDomain);
    return m_group->addSubtype(m_service, text);
}

/// Of port 0, the record keeps the name for a service that offers nothing yet.
int ServiceGroup::addSrv(const Service& service)
{
    const Labels thisHost = parseName(m_group->hostName()).value_or(Labels());
    const SrvData data{service.port, service.host.empty() ? thisHost : service.host};
    return addRecord(Labels{m_service.name} + m_typeInDomain, kDNSServiceType_SRV, AVAHI_PUBLISH_UNIQUE,
                     data.toWire());
}

int ServiceGroup::addTxt(AvahiPublishFlags furtherFlags)
{
    return addRecord(Labels{m_service.name} + m_typeInDomain, kDNSServiceType_TXT,
                     AvahiPublishFlags(AVAHI_PUBLISH_UNIQUE | furtherFlags), m_txt);
}

int ServiceGroup::addPointer(const Labels& name, const Labels& target)
{
    return addRecord(name, kDNSServiceType_PTR, AvahiPublishFlags(0), toWire(target));
}

int ServiceGroup::addRecord(const Labels& name, uint16_t type, AvahiPublishFlags flags,
                            const std::string& data)
{
    return m_group->addRecord({m_service.interface, flags, toAvahiText(name), type,
                               type == kDNSServiceType_SRV ? HostRecordTtl : OtherRecordTtl, data});
}

} // namespace vesk::dnssd
