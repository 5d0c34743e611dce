// SPDX-License-Identifier: MIT
#ifndef VESK_DNSSD_OWNRECORDS_H
#define VESK_DNSSD_OWNRECORDS_H

#include "Backend.h"
#include "MemoryNetwork.h"
#include "OwnedTasks.h"

namespace vesk::dnssd {

/// One life of the responder: what was started in it holds this weakly, and stands for nothing once it is
/// over.
using ResponderLife = std::shared_ptr<const char>;

/// Records that this host publishes together until they collide with another host's.
class OwnRecords final : private MemoryNetwork::Holder
{
public:
    OwnRecords(EventLoop& loop, MemoryNetwork& network, const ResponderLife& life, PublishListener& listener,
               const std::vector<PublishedRecord>& records);
    ~OwnRecords() override;
    OwnRecords(const OwnRecords&) = delete;
    OwnRecords& operator=(const OwnRecords&) = delete;

    void replace(uint16_t type, const std::string& data, uint32_t ttl);
    void allowFurther(uint16_t type);

private:
    void onNameConflict() override;
    void announce();
    void later(Task task);

    MemoryNetwork& m_network;
    std::weak_ptr<const char> m_life;
    PublishListener& m_listener;
    OwnedTasks m_tasks;
};

/// A service that this host publishes.
class OwnService final : public Backend::Publication
{
public:
    template <typename... Arguments>
    explicit OwnService(Arguments&&... arguments)
        : m_records(std::forward<Arguments>(arguments)...)
    {
    }
    void update(const std::string& txt) override;
    void allowFurtherTxt() override;

private:
    OwnRecords m_records;
};

/// A single record that this host publishes.
class OwnRecord final : public Backend::RecordPublication
{
public:
    template <typename... Arguments>
    explicit OwnRecord(uint16_t type, Arguments&&... arguments)
        : m_type(type)
        , m_records(std::forward<Arguments>(arguments)...)
    {
    }
    void update(const std::string& data, uint32_t ttl) override;

private:
    uint16_t m_type;
    OwnRecords m_records;
};

} // namespace vesk::dnssd

#endif
