// SPDX-License-Identifier: MIT
#include "DnsMessage.h"

#include "Ascii.h"

namespace vesk::dnssd {

namespace {

constexpr std::size_t HeaderSize = 12;
constexpr unsigned ResponseFlag = 0x8000;
constexpr unsigned OpcodeAndError = 0x780F; ///< both zero in what matters here
constexpr uint16_t CacheFlush = 0x8000;

/// Where names stand in a record's data (RFC 1035 section 3.3, RFC 2782).
enum Type : uint16_t
{
    Ns = 2,
    Cname = 5,
    Ptr = 12,
    Mx = 15,
    Srv = 33,
    Dname = 39,
    Nsec = 47
};

void append16(std::string& message, unsigned value)
{
    message += static_cast<char>(value >> 8U);
    message += static_cast<char>(value & 0xFFU);
}

/// Reads a message from its beginning to its end. Once something is not there, nothing more is.
class Reader
{
public:
    explicit Reader(std::string_view message)
        : m_message(message)
    {
    }

    bool isWhole() const { return m_isWhole; }
    std::size_t position() const { return m_position; }

    unsigned read8() { return need(1) ? byteAt(m_position++) : 0; }
    unsigned read16()
    {
        const unsigned high = read8();
        return high << 8U | read8();
    }
    uint32_t read32()
    {
        const uint32_t high = read16();
        return high << 16U | read16();
    }
    std::string_view take(std::size_t size)
    {
        if (!need(size))
            return {};
        m_position += size;
        return m_message.substr(m_position - size, size);
    }

    /// Follows pointers, each of which leads further back than all before it, so that there is an end.
    Labels readName()
    {
        Labels name;
        std::size_t place = m_position;
        std::size_t limit = place;
        bool hasJumped = false;
        while (place < m_message.size()) {
            const unsigned head = byteAt(place);
            if (head == 0) {
                if (!hasJumped)
                    m_position = place + 1;
                m_isWhole = m_isWhole && fitsWire(name);
                return m_isWhole ? name : Labels();
            }
            if (head >= 0xC0U && place + 1 < m_message.size()) {
                const std::size_t target = (head & 0x3FU) << 8U | byteAt(place + 1);
                if (!hasJumped)
                    m_position = place + 2;
                hasJumped = true;
                if (target >= limit)
                    break;
                limit = place = target;
                continue;
            }
            if (head > MaxLabel || place + 1 + head > m_message.size() || name.size() > MaxName / 2)
                break;
            name.emplace_back(m_message.substr(place + 1, head));
            place += 1 + head;
        }
        m_isWhole = false;
        return {};
    }

    /// Passes a name without a look at what its pointer leads to.
    void skipName()
    {
        for (unsigned head = read8(); head != 0; head = read8()) {
            const bool isPointer = head >= 0xC0U;
            take(isPointer ? 1 : head);
            if (isPointer)
                return;
        }
    }

private:
    unsigned byteAt(std::size_t place) const { return static_cast<uint8_t>(m_message[place]); }
    bool need(std::size_t size)
    {
        m_isWhole = m_isWhole && size <= m_message.size() - m_position;
        return m_isWhole;
    }

    std::string_view m_message;
    std::size_t m_position = 0;
    bool m_isWhole = true;
};

/// How many bytes there are before the name in the data of that type; nothing for types without a name.
std::optional<std::size_t> bytesBeforeName(uint16_t type)
{
    switch (type) {
    case Ns:
    case Cname:
    case Ptr:
    case Dname:
    case Nsec:
        return 0;
    case Mx:
        return 2;
    case Srv:
        return 6;
    default:
        return std::nullopt;
    }
}

std::string readData(Reader& reader, uint16_t type, std::size_t size)
{
    const std::size_t end = reader.position() + size;
    const auto before = bytesBeforeName(type);
    if (!before || *before > size)
        return std::string(reader.take(size));
    std::string data(reader.take(*before));
    data += toWire(reader.readName());
    // A name that ends beyond the data leaves more than there can be.
    return data += reader.take(end - reader.position());
}

std::optional<ResponseRecord> readRecord(Reader& reader)
{
    ResponseRecord record;
    record.name = reader.readName();
    record.type = static_cast<uint16_t>(reader.read16());
    record.recordClass = static_cast<uint16_t>(reader.read16() & ~unsigned{CacheFlush});
    record.ttl = reader.read32();
    record.data = readData(reader, record.type, reader.read16());
    return reader.isWhole() ? std::optional(std::move(record)) : std::nullopt;
}

} // namespace

std::string questionMessage(uint16_t id, const Labels& name, uint16_t type, uint16_t recordClass)
{
    std::string message;
    for (const unsigned field : {unsigned{id}, 0U, 1U, 0U, 0U, 0U})
        append16(message, field);
    message += toWire(name);
    append16(message, type);
    append16(message, recordClass);
    return message;
}

bool isSameData(uint16_t type, std::string_view a, std::string_view b)
{
    return bytesBeforeName(type) ? lowered(a) == lowered(b) : a == b;
}

bool holdsRecordOf(uint16_t type, std::string_view message)
{
    Reader reader(message);
    reader.read32(); // identifier and flags
    const unsigned questions = reader.read16();
    unsigned records = reader.read16();
    records += reader.read16();
    records += reader.read16();
    for (unsigned i = 0; i < questions && reader.isWhole(); ++i) {
        reader.skipName();
        reader.take(4); // type and class
    }
    for (unsigned i = 0; i < records && reader.isWhole(); ++i) {
        reader.skipName();
        if (reader.read16() == type && reader.isWhole())
            return true;
        reader.take(6); // class and TTL
        reader.take(reader.read16());
    }
    return false;
}

std::optional<ResponseMessage> parseResponse(std::string_view message)
{
    if (message.size() < HeaderSize)
        return std::nullopt;
    Reader reader(message);
    ResponseMessage response;
    response.id = static_cast<uint16_t>(reader.read16());
    const unsigned flags = reader.read16();
    if (!(flags & ResponseFlag) || (flags & OpcodeAndError))
        return std::nullopt;
    const unsigned questions = reader.read16();
    unsigned records = reader.read16();
    records += reader.read16();
    records += reader.read16();
    for (unsigned i = 0; i < questions && reader.isWhole(); ++i) {
        reader.readName();
        reader.take(4); // type and class
    }
    for (unsigned i = 0; i < records; ++i) {
        auto record = readRecord(reader);
        if (!record)
            break;
        response.records.push_back(std::move(*record));
    }
    return response;
}

} // namespace vesk::dnssd
