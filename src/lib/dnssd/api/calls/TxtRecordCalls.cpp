// SPDX-License-Identifier: MIT
#include "Ascii.h"
#include "TxtParser.h"
#include "dns_sd.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <limits>

using namespace vesk::dnssd;

namespace {

// Applications of other libraries have learnt not to send longer strings.
constexpr std::size_t MaxItem = 254;

/// What TXTRecordRef's private bytes hold.
struct Record
{
    uint8_t* bytes;
    uint16_t capacity;
    uint16_t length;
    uint16_t allocated; ///< whether `bytes` is ours to free
};
static_assert(sizeof(Record) <= sizeof(TXTRecordRef));

Record load(const TXTRecordRef* ref)
{
    Record record;
    std::memcpy(&record, ref, sizeof record);
    return record;
}

void store(TXTRecordRef* ref, const Record& record)
{
    std::memcpy(ref, &record, sizeof record);
}

bool isValidKey(std::string_view key)
{
    return !key.empty() &&
           std::all_of(key.begin(), key.end(), [](char c) { return c >= 0x20 && c <= 0x7E && c != '='; });
}

std::optional<TxtItem> find(const void* data, std::size_t size, std::string_view key)
{
    TxtParser items(data, size);
    while (auto item = items.next()) {
        if (equalIgnoringCase(item->key, key))
            return item;
    }
    return std::nullopt;
}

void cut(Record& record, const TxtItem& item)
{
    uint8_t* begin = record.bytes + (reinterpret_cast<const uint8_t*>(item.whole.data()) - record.bytes) - 1;
    uint8_t* end = begin + 1 + item.whole.size();
    std::memmove(begin, end, static_cast<std::size_t>(record.bytes + record.length - end));
    record.length = static_cast<uint16_t>(record.length - (end - begin));
}

bool reserve(Record& record, std::size_t size)
{
    if (size <= record.capacity)
        return true;
    const std::size_t capacity = std::min<std::size_t>(std::max(size, std::size_t(record.capacity) * 2),
                                                       std::numeric_limits<uint16_t>::max());
    auto* bytes = static_cast<uint8_t*>(std::malloc(capacity));
    if (!bytes)
        return false;
    if (record.length > 0)
        std::memcpy(bytes, record.bytes, record.length);
    if (record.allocated)
        std::free(record.bytes);
    record.bytes = bytes;
    record.capacity = static_cast<uint16_t>(capacity);
    record.allocated = 1;
    return true;
}

} // namespace

void TXTRecordCreate(TXTRecordRef* txtRecord, uint16_t bufferLen, void* buffer)
{
    if (!txtRecord)
        return;
    store(txtRecord, {static_cast<uint8_t*>(buffer), buffer ? bufferLen : uint16_t(0), 0, 0});
}

void TXTRecordDeallocate(TXTRecordRef* txtRecord)
{
    if (!txtRecord)
        return;
    const Record record = load(txtRecord);
    if (record.allocated)
        std::free(record.bytes);
    store(txtRecord, {});
}

DNSServiceErrorType TXTRecordSetValue(TXTRecordRef* txtRecord, const char* key, uint8_t valueSize,
                                      const void* value)
{
    if (!txtRecord || !key)
        return kDNSServiceErr_BadParam;
    const std::string_view name(key);
    const std::size_t itemSize = name.size() + (value ? 1 + std::size_t(valueSize) : 0);
    if (!isValidKey(name) || itemSize > MaxItem)
        return kDNSServiceErr_Invalid;

    // Copied before anything moves: the value may lie in this very record.
    std::array<uint8_t, 1 + MaxItem> item;
    item[0] = static_cast<uint8_t>(itemSize);
    std::memcpy(&item[1], name.data(), name.size());
    if (value) {
        item[1 + name.size()] = '=';
        std::memcpy(&item[1 + name.size() + 1], value, valueSize);
    }

    Record record = load(txtRecord);
    const auto replaced = find(record.bytes, record.length, name);
    const std::size_t newLength = record.length - (replaced ? 1 + replaced->whole.size() : 0) + 1 + itemSize;
    if (newLength > std::numeric_limits<uint16_t>::max())
        return kDNSServiceErr_Invalid;
    if (!reserve(record, std::max<std::size_t>(newLength, record.length)))
        return kDNSServiceErr_NoMemory;
    if (replaced)
        cut(record, *find(record.bytes, record.length, name));
    std::memcpy(record.bytes + record.length, item.data(), 1 + itemSize);
    record.length = static_cast<uint16_t>(newLength);
    store(txtRecord, record);
    return kDNSServiceErr_NoError;
}

DNSServiceErrorType TXTRecordRemoveValue(TXTRecordRef* txtRecord, const char* key)
{
    if (!txtRecord || !key)
        return kDNSServiceErr_BadParam;
    Record record = load(txtRecord);
    const auto item = find(record.bytes, record.length, key);
    if (!item || item->key.empty())
        return kDNSServiceErr_NoSuchKey;
    cut(record, *item);
    store(txtRecord, record);
    return kDNSServiceErr_NoError;
}

uint16_t TXTRecordGetLength(const TXTRecordRef* txtRecord)
{
    return txtRecord ? load(txtRecord).length : uint16_t(0);
}

const void* TXTRecordGetBytesPtr(const TXTRecordRef* txtRecord)
{
    return txtRecord ? load(txtRecord).bytes : nullptr;
}

int TXTRecordContainsKey(uint16_t txtLen, const void* txtRecord, const char* key)
{
    return key && find(txtRecord, txtLen, key) ? 1 : 0;
}

const void* TXTRecordGetValuePtr(uint16_t txtLen, const void* txtRecord, const char* key, uint8_t* valueLen)
{
    const auto item = key ? find(txtRecord, txtLen, key) : std::nullopt;
    if (!item || !item->value)
        return nullptr;
    if (valueLen)
        *valueLen = static_cast<uint8_t>(item->value->size());
    return item->value->data();
}

uint16_t TXTRecordGetCount(uint16_t txtLen, const void* txtRecord)
{
    TxtParser items(txtRecord, txtLen);
    uint16_t count = 0;
    while (items.next())
        ++count;
    return items.malformed() ? uint16_t(0) : count;
}

DNSServiceErrorType TXTRecordGetItemAtIndex(uint16_t txtLen, const void* txtRecord, uint16_t itemIndex,
                                            uint16_t keyBufLen, char* key, uint8_t* valueLen,
                                            const void** value)
{
    TxtParser items(txtRecord, txtLen);
    auto item = items.next();
    for (uint16_t index = 0; item && index < itemIndex; ++index)
        item = items.next();
    if (!item)
        return kDNSServiceErr_Invalid;
    if (!key || keyBufLen <= item->key.size())
        return kDNSServiceErr_NoMemory;

    std::memcpy(key, item->key.data(), item->key.size());
    key[item->key.size()] = '\0';
    if (valueLen)
        *valueLen = item->value ? static_cast<uint8_t>(item->value->size()) : uint8_t(0);
    if (value)
        *value = item->value ? item->value->data() : nullptr;
    return kDNSServiceErr_NoError;
}
