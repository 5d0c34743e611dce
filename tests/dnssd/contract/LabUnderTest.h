// SPDX-License-Identifier: MIT
#ifndef VESK_TESTS_LABUNDERTEST_H
#define VESK_TESTS_LABUNDERTEST_H

#include "BackendUnderTest.h"
#include "DnssdLab.h"

#include <map>

namespace vesk::dnssd::tests {

/// The second of two hosts of the lab, with its daemon, as the network of a backend on the first.
class LabUnderTest : public BackendUnderTest
{
public:
    ~LabUnderTest() override;

    const Clock& clock() const override { return Clock::steady(); }
    bool runUntil(EventLoop& loop, const std::function<bool()>& condition) override;
    void announce(const std::string& name, const std::string& txtItem) override;
    void withdraw(const std::string& name) override { m_announced.erase(name); }
    bool isSeen(const std::string& name, const std::string& txtItem) override;
    bool isAddressSeen(const Labels& name, const std::string& address) override;
    void takeNameElsewhere(const std::string& name) override;

    Labels type() const override { return {m_type, "_tcp"}; }
    uint32_t interface() const override { return Lan1; }
    std::string hostName() const override { return "hosta"; }

private:
    static inline unsigned made = 0;
    std::string m_type = "_contract" + std::to_string(++made); ///< that no other test has used
    std::map<std::string, std::unique_ptr<Beside>> m_announced;
    std::unique_ptr<Beside> m_defender;
};

} // namespace vesk::dnssd::tests

#endif
