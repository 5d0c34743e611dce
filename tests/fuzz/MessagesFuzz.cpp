// SPDX-License-Identifier: MIT
//
// Responses from the network, of any bytes.
#include "DnsMessage.h"
#include "Require.h"

using namespace vesk::dnssd;

namespace {

constexpr std::size_t SmallestRecord = 11; ///< the root's name, type, class, TTL and no data

void checkRecord(const ResponseRecord& record, std::size_t messageSize)
{
    require(fitsWire(record.name));
    for (const std::string& label : record.name)
        require(!label.empty() && label.size() <= MaxLabel);
    // One name at most can be longer than it was in the message.
    require(record.data.size() <= messageSize + MaxName);
    require((record.recordClass & 0x8000U) == 0);
    require(isSameData(record.type, record.data, record.data));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string_view message(reinterpret_cast<const char*>(data), size);
    const auto response = parseResponse(message);
    if (!response)
        return 0;
    require(response->records.size() * SmallestRecord <= size);
    for (const ResponseRecord& record : response->records) {
        checkRecord(record, size);
        require(!parseResponse(questionMessage(response->id, record.name, record.type, record.recordClass)));
    }
    return 0;
}
