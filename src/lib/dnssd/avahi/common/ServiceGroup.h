// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_SERVICEGROUP_H
#define VESK_DNSSD_SERVICEGROUP_H

#include "EntryGroup.h"
#include "PacedUpdates.h"

namespace vesk::dnssd {

/// A published service, as an entry group. A service without a port offers nothing yet: only its name is
/// held. What libavahi does not take as a service, such as one-letter types, is published record by record.
class ServiceGroup final : public Backend::Publication
{
public:
    ServiceGroup(EventLoop& loop, const Service& service);

    /// Returns libavahi's error.
    int start(EntryGroups& groups, const Service& service, PublishListener& listener);
    void update(const std::string& txt) override;
    void allowFurtherTxt() override;

private:
    void passUpdate(const std::string& txt);
    int addSubtype(const std::string& subtype);
    int addServiceRecords(const Service& service);
    int addSrv(const Service& service);
    int addTxt(AvahiPublishFlags furtherFlags);
    int addPointer(const Labels& name, const Labels& target);
    int addRecord(const Labels& name, uint16_t type, AvahiPublishFlags flags, const std::string& data);

    std::unique_ptr<EntryGroup> m_group;
    bool m_isPlaceholder;
    Labels m_typeInDomain;
    ServiceEntry m_service;
    std::string m_txt;
    bool m_isTakenAsService; ///< otherwise it is published record by record
    PacedUpdates m_updates;
};

} // namespace vesk::dnssd

#endif
