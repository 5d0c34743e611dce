// SPDX-License-Identifier: MIT
//
// Names and types of every form, published by this host and seen by it and by another one.
#include "DnssdLab.h"

#include <gtest/gtest.h>

#include <memory>

using namespace vesk::dnssd::tests;
using namespace std::chrono_literals;

namespace {

template <typename Operation>
std::vector<Handle*> all(const std::vector<std::unique_ptr<Operation>>& operations)
{
    std::vector<Handle*> handles;
    for (const auto& operation : operations)
        handles.push_back(operation.get());
    return handles;
}

} // namespace

TEST(NetworkNames, OfEveryByteAndOfTheLongestEscapedFormAreBrowsedAndResolved)
{
    std::vector<std::string> names;
    for (int byte = 1; byte < 128; ++byte) {
        char number[8];
        std::snprintf(number, sizeof number, "%02x ", static_cast<unsigned>(byte));
        names.push_back(number + std::string(1, static_cast<char>(byte)) + " x");
    }
    for (const char* longest : {"\1", "\xC3\xA9", "\xF0\x9F\x98\x80", ".", "\\", "\x7F"}) {
        std::string name;
        while (name.size() + std::string(longest).size() <= 63)
            name += longest;
        names.push_back(name);
    }
    std::vector<std::unique_ptr<Registration>> registrations;
    for (const std::string& name : names)
        registrations.push_back(std::make_unique<Registration>(name.c_str(), "_demo._tcp", uint16_t(80)));
    Browse browse("_demo._tcp", Lan1);
    std::vector<Handle*> handles = all(registrations);
    handles.push_back(&browse);
    EXPECT_TRUE(waitUntil(
        handles, [&] { return browse.present().size() == names.size(); }, 60s));

    std::vector<std::unique_ptr<Resolve>> resolves;
    for (const std::string& name : names) {
        EXPECT_TRUE(browse.has(name)) << name;
        resolves.push_back(std::make_unique<Resolve>(name.c_str(), "_demo._tcp.", "local.", Lan1));
    }
    EXPECT_TRUE(waitUntil(
        all(resolves),
        [&] {
            for (const auto& resolve : resolves) {
                if (resolve->replies.empty())
                    return false;
            }
            return true;
        },
        60s));
    for (std::size_t i = 0; i < names.size(); ++i) {
        ASSERT_FALSE(resolves[i]->replies.empty()) << names[i];
        char fullname[kDNSServiceMaxDomainName];
        ASSERT_EQ(DNSServiceConstructFullName(fullname, names[i].c_str(), "_demo._tcp", "local"), 0);
        EXPECT_EQ(resolves[i]->replies[0].fullname, fullname);
        // What is reported can be asked for as it is.
        RecordQuery query(resolves[i]->replies[0].fullname.c_str(), kDNSServiceType_TXT);
        EXPECT_TRUE(waitUntil({&query}, [&] { return !query.replies.empty(); }));
    }
}

TEST(NetworkNames, TypesOfUnusualFormAreBrowsed)
{
    for (const char* type : {"_abcdefghijklmnop._tcp", "_de_mo._tcp", "_123._tcp", "_Demo._UDP", "_p._tcp"}) {
        Registration registration("Kitchen", type, 80);
        Browse browse(type);
        ASSERT_TRUE(waitUntil({&registration, &browse}, [&] {
            return registration.isDone() && browse.has("Kitchen");
        })) << type;
        EXPECT_EQ(registration.replies[0].error, kDNSServiceErr_NoError) << type;
    }
}

/// The daemon takes none of these as a service.
TEST(NetworkNames, OneLetterTypeAndSubtypeWithoutUnderscoreAreResolvedAndUpdated)
{
    for (const std::string type : {"_p._tcp", "_demo._tcp"}) {
        Registration registration("Kitchen", (type + ",printer").c_str(), 8080, "\3a=1");
        Browse asSubtype((type + ",printer").c_str());
        RecordQuery text(("Kitchen." + type + ".local").c_str(), kDNSServiceType_TXT);
        Resolve resolve("Kitchen", type.c_str(), "local", Lan1);
        ASSERT_TRUE(waitUntil({&registration, &asSubtype, &text, &resolve}, [&] {
            return asSubtype.has("Kitchen") && !text.replies.empty() && !resolve.replies.empty();
        })) << type;
        EXPECT_EQ(resolve.replies[0].port, 8080);
        EXPECT_EQ(resolve.replies[0].txt, "\3a=1");
        EXPECT_EQ(registration.update("\3a=2"), kDNSServiceErr_NoError);
        EXPECT_TRUE(waitUntil({&text}, [&] { return text.present(Lan1).count("\3a=2") == 1; })) << type;
    }
}

TEST(NetworkNames, SubtypesAreBrowsedHereAndByAnotherHost)
{
    Registration registration("Kitchen", "_demo._tcp,_printer,_colour", 80);
    Browse asSubtype("_demo._tcp,_colour");
    Browse types("_services._dns-sd._udp");
    EXPECT_TRUE(waitUntil({&registration, &asSubtype, &types},
                          [&] { return asSubtype.has("Kitchen") && types.has("_demo"); }));
    for (const char* type : {"_demo._tcp", "_printer._sub._demo._tcp", "_colour._sub._demo._tcp"})
        EXPECT_TRUE(isSeenFrom("hostb", type, "Kitchen")) << type;
}
