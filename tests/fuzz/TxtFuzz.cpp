// SPDX-License-Identifier: MIT
//
// TXT records of any bytes are read within their bounds; records that are built hold what was put in.
#include "Ascii.h"
#include "Require.h"
#include "dns_sd.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

using namespace vesk::dnssd;

namespace {

/// On the heap and of exactly that size, so that a byte read beyond is noticed.
std::unique_ptr<char[]> copyOf(const std::string& bytes)
{
    std::unique_ptr<char[]> copy(new char[bytes.size()]);
    std::copy(bytes.begin(), bytes.end(), copy.get());
    return copy;
}

bool liesIn(const void* value, uint8_t length, const std::string& record, const char* copy)
{
    const char* begin = static_cast<const char*>(value);
    return begin >= copy && begin + length <= copy + record.size();
}

void read(const std::string& record, const std::string& wanted, uint16_t keySize)
{
    const auto copy = copyOf(record);
    const auto size = static_cast<uint16_t>(record.size());
    const uint16_t count = TXTRecordGetCount(size, copy.get());

    uint8_t length = 0;
    const void* found = TXTRecordGetValuePtr(size, copy.get(), wanted.c_str(), &length);
    require(!found || liesIn(found, length, record, copy.get()));
    require(!found || TXTRecordContainsKey(size, copy.get(), wanted.c_str()));

    // A walk by index is quadratic: the longest records are sampled.
    const uint16_t step = static_cast<uint16_t>(1 + record.size() / 64);
    uint16_t items = 0;
    for (uint32_t index = 0; index < 65535; index += step) {
        const std::unique_ptr<char[]> key(new char[keySize]);
        const void* value = &value;
        const auto error = TXTRecordGetItemAtIndex(size, copy.get(), static_cast<uint16_t>(index), keySize,
                                                   key.get(), &length, &value);
        if (error == kDNSServiceErr_Invalid) {
            require(value == &value);
            break;
        }
        ++items;
        if (error == kDNSServiceErr_NoMemory)
            continue;
        require(error == kDNSServiceErr_NoError);
        require(std::string(key.get()).size() < keySize);
        require(value ? liesIn(value, length, record, copy.get()) : length == 0);
    }
    if (step == 1)
        require(count == 0 || count == items);
}

/// What a record has to hold, in order.
class Model
{
public:
    void set(const std::string& key, std::optional<std::string> value)
    {
        remove(key);
        m_items.emplace_back(key, std::move(value));
    }
    bool remove(const std::string& key)
    {
        const auto same = [&](const auto& item) { return equalIgnoringCase(item.first, key); };
        const auto found = std::find_if(m_items.begin(), m_items.end(), same);
        if (found == m_items.end())
            return false;
        m_items.erase(found);
        return true;
    }
    std::string wire() const
    {
        std::string bytes;
        for (const auto& [key, value] : m_items) {
            const std::string item = key + (value ? '=' + *value : std::string());
            (bytes += static_cast<char>(item.size())) += item;
        }
        return bytes;
    }

private:
    std::vector<std::pair<std::string, std::optional<std::string>>> m_items;
};

void build(FuzzedDataProvider& input)
{
    const auto bufferSize = input.ConsumeIntegralInRange<uint16_t>(0, 300);
    const std::unique_ptr<char[]> buffer(new char[bufferSize]);
    TXTRecordRef record;
    TXTRecordCreate(&record, bufferSize, input.ConsumeBool() ? buffer.get() : nullptr);
    Model model;
    while (input.remaining_bytes() > 0) {
        const std::string key = input.ConsumeRandomLengthString(300);
        if (input.ConsumeBool()) {
            const auto error = TXTRecordRemoveValue(&record, key.c_str());
            require((error == kDNSServiceErr_NoError) == model.remove(key.c_str()));
            continue;
        }
        const bool bare = input.ConsumeBool();
        std::string value = input.ConsumeRandomLengthString(255);
        value.resize(std::min<std::size_t>(value.size(), 255));
        const auto copy = copyOf(value);
        const auto error = TXTRecordSetValue(&record, key.c_str(), static_cast<uint8_t>(value.size()),
                                             bare ? nullptr : copy.get());
        if (error == kDNSServiceErr_NoError)
            model.set(key.c_str(), bare ? std::nullopt : std::optional(value));
        else
            require(error == kDNSServiceErr_Invalid);
        const uint16_t length = TXTRecordGetLength(&record);
        const std::string wire = model.wire();
        require(length == wire.size());
        require(length == 0 ||
                wire.compare(0, length, static_cast<const char*>(TXTRecordGetBytesPtr(&record)), length) ==
                    0);
    }
    TXTRecordDeallocate(&record);
    TXTRecordDeallocate(&record);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzedDataProvider input(data, size);
    if (input.ConsumeBool()) {
        build(input);
    } else {
        const auto keySize = input.ConsumeIntegralInRange<uint16_t>(0, 300);
        const std::string wanted = input.ConsumeRandomLengthString(20);
        read(input.ConsumeRemainingBytesAsString(), wanted, keySize);
    }
    return 0;
}
