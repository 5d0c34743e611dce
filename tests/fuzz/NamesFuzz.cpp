// SPDX-License-Identifier: MIT
//
// Names read from text and from the wire, written, and read again.
#include "AvahiEncoding.h"
#include "InstanceName.h"
#include "NameArguments.h"
#include "Require.h"
#include "ServiceType.h"
#include "Utf8.h"
#include "dns_sd.h"

#include <algorithm>
#include <memory>

using namespace vesk::dnssd;

namespace {

void checkName(const Labels& name)
{
    require(fitsWire(name));
    for (const std::string& label : name)
        require(!label.empty() && label.size() <= MaxLabel);

    require(parseName(toText(name)) == name);
    const std::string text = toAvahiText(name);
    require(parseName(text) == name);
    require(std::all_of(text.begin(), text.end(), [](char c) { return c > ' ' && c < 0x7F; }));
    require(text.size() < kDNSServiceMaxDomainName);

    const std::string wire = toWire(name);
    std::string_view rest = wire;
    require(readWireName(rest) == name && rest.empty());
    require(canonical(name).size() == wire.size());
}

void checkLabel(std::string_view text)
{
    const std::string_view cut = cutUtf8(text, MaxLabel);
    require(cut.size() <= MaxLabel && text.substr(0, cut.size()) == cut);
    const std::string next = nextInstanceName(cut);
    require(!next.empty() && next.size() <= MaxLabel && next != cut);
    if (isUtf8(text)) {
        require(isUtf8(cut) && isUtf8(next));
        require(cut.size() == text.size() || cut.size() + 4 > MaxLabel);
    }
    const std::string label(text.substr(0, MaxLabel));
    if (!label.empty())
        require(parseName(escapeLabel(label)) == Labels{label});
}

/// The parts of the text between zero bytes, as C strings.
std::vector<std::string> strings(std::string_view text)
{
    std::vector<std::string> parts(1);
    for (const char c : text) {
        if (c == '\0')
            parts.emplace_back();
        else
            parts.back() += c;
    }
    parts.resize(std::max<std::size_t>(parts.size(), 3));
    return parts;
}

void checkFullName(const std::string& instance, const std::string& type, const std::string& domain)
{
    // Of exactly the published size, so that one byte more is noticed.
    const std::unique_ptr<char[]> buffer(new char[kDNSServiceMaxDomainName]);
    if (DNSServiceConstructFullName(buffer.get(), instance.c_str(), type.c_str(), domain.c_str()) != 0)
        return;
    const auto name = parseName(buffer.get());
    require(name.has_value());
    require(instance.empty() || name->front() == instance);
    checkName(*name);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    if (const auto name = parseName(text))
        checkName(*name);
    std::string_view wire = text;
    if (const auto name = readWireName(wire)) {
        checkName(*name);
        require(text.substr(0, text.size() - wire.size()) == toWire(*name));
    }
    checkLabel(text);

    const auto parts = strings(text);
    if (const auto type = ServiceType::parse(parts[0])) {
        checkName(type->type);
        require(isText(type->type));
        require(!type->isPublishable() || isUtf8(toText(type->type)));
    }
    if (const auto domain = parseDomain(parts[0].c_str()))
        checkName(*domain);
    checkFullName(parts[0], parts[1], parts[2]);
    checkFullName(parts[0], "_demo._tcp", parts[1]);
    return 0;
}
