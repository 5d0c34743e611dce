// SPDX-License-Identifier: MIT
#include "LabUnderTest.h"

using namespace std::chrono_literals;

namespace vesk::dnssd::tests {

LabUnderTest::~LabUnderTest()
{
    if (m_defender)
        run("lab-daemon hostb start");
}

bool LabUnderTest::runUntil(EventLoop& loop, const std::function<bool()>& condition)
{
    const auto deadline = std::chrono::steady_clock::now() + 60s;
    while (std::chrono::steady_clock::now() < deadline) {
        loop.runUntilIdle();
        if (condition())
            return true;
        loop.poller().wait(5);
    }
    return false;
}

void LabUnderTest::announce(const std::string& name, const std::string& txtItem)
{
    m_announced[name] = std::make_unique<Beside>("exec lab-on hostb avahi-publish -s '" + name + "' " +
                                                 m_type + "._tcp 8080 " + txtItem + " >/dev/null 2>&1");
}

bool LabUnderTest::isSeen(const std::string& name, const std::string& txtItem)
{
    const std::string seen =
        outputOf("lab-on hostb timeout 5 avahi-browse -ptr " + m_type + "._tcp 2>/dev/null");
    const auto line = seen.find("=;lan1;IPv4;" + name + ';');
    return line != std::string::npos && seen.find('"' + txtItem + '"', line) < seen.find('\n', line);
}

bool LabUnderTest::isAddressSeen(const Labels& name, const std::string& address)
{
    std::string text;
    for (const char part : address)
        text += (text.empty() ? "" : ".") + std::to_string(static_cast<uint8_t>(part));
    const std::string host = name[0] + ".local";
    const std::string seen = outputOf("lab-on hostb timeout 5 avahi-resolve -4 -n " + host + " 2>/dev/null");
    return seen == host + '\t' + text + '\n';
}

/// The defender sends what a daemon would.
void LabUnderTest::takeNameElsewhere(const std::string& name)
{
    run("lab-daemon hostb kill");
    m_defender =
        std::make_unique<Beside>("exec lab-on hostb '" DNSSD_DEFENDER "' 10.99.1.2 '" + name + "' " + m_type);
}

} // namespace vesk::dnssd::tests
