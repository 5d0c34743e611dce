// SPDX-License-Identifier: MIT
//
// Another host announces more than the library can tell in the same time.
#include "DnssdLab.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/resource.h>

#include <cstdlib>
#include <fstream>
#include <map>
#include <memory>
#include <set>
#include <utility>

using namespace vesk::dnssd::tests;
using namespace std::chrono_literals;

namespace {

/// What another program on this host sees come and go of a type.
class Witness
{
public:
    explicit Witness(const std::string& type)
        : m_file(std::string(std::getenv("LAB_DIR")) + "/witness")
        , m_process("exec avahi-browse -p " + type + " >" + m_file)
    {
    }
    bool saw(char event, const std::string& name) const
    {
        std::ifstream lines(m_file);
        for (std::string line; std::getline(lines, line);) {
            if (line.rfind(std::string(1, event) + ";lan1;IPv4;" + name + ';', 0) == 0)
                return true;
        }
        return false;
    }

private:
    std::string m_file;
    Beside m_process;
};

/// Resolves what it finds, and releases each resolve in its first reply.
class Lister
{
public:
    Lister()
    {
        EXPECT_EQ(DNSServiceBrowse(&m_browse, 0, Lan1, "_demo._tcp", nullptr, browsed, this),
                  kDNSServiceErr_NoError);
    }
    ~Lister()
    {
        for (const auto& [name, resolve] : m_resolves)
            DNSServiceRefDeallocate(resolve);
        DNSServiceRefDeallocate(m_browse);
    }
    Lister(const Lister&) = delete;
    Lister& operator=(const Lister&) = delete;

    std::size_t resolved() const { return m_resolved; }
    bool isListed(const std::string& name) const { return m_listed.count(name) > 0; }
    std::size_t listed() const { return m_listed.size(); }

    void process()
    {
        handOver(m_browse);
        const auto resolves = m_resolves; // a reply releases its handle
        for (const auto& [name, resolve] : resolves)
            handOver(resolve);
    }

private:
    static void handOver(DNSServiceRef ref)
    {
        pollfd readable{DNSServiceRefSockFD(ref), POLLIN, 0};
        if (poll(&readable, 1, 0) == 1)
            DNSServiceProcessResult(ref);
    }

    static void browsed(DNSServiceRef, DNSServiceFlags flags, uint32_t interface, DNSServiceErrorType error,
                        const char* name, const char* type, const char* domain, void* context)
    {
        EXPECT_EQ(error, kDNSServiceErr_NoError);
        Lister& self = *static_cast<Lister*>(context);
        if ((flags & kDNSServiceFlagsAdd) == 0) {
            self.m_listed.erase(name);
            return;
        }
        self.m_listed.insert(name);
        DNSServiceRef& resolve = self.m_resolves[name];
        DNSServiceRefDeallocate(std::exchange(resolve, nullptr));
        EXPECT_EQ(DNSServiceResolve(&resolve, 0, interface, name, type, domain, resolvedInstance, context),
                  kDNSServiceErr_NoError);
    }

    static void resolvedInstance(DNSServiceRef ref, DNSServiceFlags, uint32_t, DNSServiceErrorType error,
                                 const char*, const char*, uint16_t, uint16_t, const unsigned char*,
                                 void* context)
    {
        EXPECT_EQ(error, kDNSServiceErr_NoError);
        Lister& self = *static_cast<Lister*>(context);
        ++self.m_resolved;
        for (auto entry = self.m_resolves.begin(); entry != self.m_resolves.end(); ++entry) {
            if (entry->second == ref) {
                self.m_resolves.erase(entry);
                break;
            }
        }
        DNSServiceRefDeallocate(ref);
    }

    DNSServiceRef m_browse = nullptr;
    std::set<std::string> m_listed;
    std::map<std::string, DNSServiceRef> m_resolves;
    std::size_t m_resolved = 0;
};

} // namespace

/// Many handles for one query, which are told of everything one after the other, make the library slower than
/// the daemon: there is always something left that the daemon has said.
TEST(Flood, OfRecordsDoesNotKeepAServiceFromBeingWithdrawn)
{
    rlimit descriptors{};
    getrlimit(RLIMIT_NOFILE, &descriptors);
    descriptors.rlim_cur = std::min<rlim_t>(descriptors.rlim_max, 4096);
    setrlimit(RLIMIT_NOFILE, &descriptors);
    const Witness witness("_other._tcp");
    auto leaving = std::make_unique<Registration>("Leaving", "_other._tcp", uint16_t(80));
    ASSERT_TRUE(waitUntil({leaving.get()}, [&] { return witness.saw('+', "Leaving"); }));

    run("lab-daemon hostb kill");
    const Beside flood(craftOnHostb("pace=20 brief=1500"));
    Browse reader("_demo._tcp", Lan1);
    std::vector<std::unique_ptr<Browse>> unread;
    for (int i = 0; i < 1000; ++i)
        unread.push_back(std::make_unique<Browse>("_demo._tcp", Lan1));
    ASSERT_TRUE(waitUntil({&reader}, [&] { return reader.events.size() > 200; }));
    leaving.reset();
    EXPECT_TRUE(waitUntil(
        {&reader}, [&] { return witness.saw('-', "Leaving"); }, 20s));
    const std::size_t before = reader.events.size();
    EXPECT_TRUE(waitUntil({&reader}, [&] { return reader.events.size() > before + 200; })) << "it had ended";
}

TEST(Flood, OfRecordsAndResolvesSurvivesTheDaemonsDeath)
{
    constexpr std::size_t Size = 600;
    run("lab-daemon hostb kill");
    const Beside peer(craftOnHostb("many=" + std::to_string(Size)));
    Lister lister;
    for (std::size_t round = 1; round <= 2; ++round) {
        const std::size_t before = lister.resolved();
        EXPECT_TRUE(waitUntil({}, [&] {
            lister.process();
            return lister.resolved() >= before + 20 || lister.listed() == Size;
        }));
        run("lab-daemon hosta restart");
    }
    EXPECT_TRUE(waitUntil({}, [&] {
        lister.process();
        return lister.listed() == Size;
    })) << lister.listed();
}
