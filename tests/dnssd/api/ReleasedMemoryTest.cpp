// SPDX-License-Identifier: MIT
//
// What is released gives its memory back.
#include "PlayedNetwork.h"

#include <malloc.h>

#include <memory>

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;

/// What a sanitizer's own heap holds; absent in a plain program.
extern "C" std::size_t __sanitizer_get_current_allocated_bytes() __attribute__((weak));

namespace {

constexpr int Instances = 250; // a thousand operations

std::size_t bytesInUse()
{
    return __sanitizer_get_current_allocated_bytes ? __sanitizer_get_current_allocated_bytes()
                                                   : mallinfo2().uordblks;
}

std::string nameOf(int number)
{
    return "Service " + std::to_string(number);
}

class ReleasedMemory : public PlayedNetwork
{
protected:
    void announce(int number)
    {
        backend().come(instancePointer(nameOf(number)));
        backend().come(service(nameOf(number), {"hostb", "local"}, 8080));
        backend().come(txtOf(nameOf(number), "\3a=1"));
    }

    /// One of each for every instance. Some have replies that are not taken.
    std::vector<std::unique_ptr<Handle>> startAll()
    {
        std::vector<std::unique_ptr<Handle>> handles;
        handles.push_back(std::make_unique<Browse>("_demo._tcp"));
        for (int number = 0; number < Instances; ++number) {
            const std::string name = nameOf(number);
            handles.push_back(std::make_unique<Resolve>(name.c_str(), "_demo._tcp", "local", Lan1));
            handles.push_back(
                std::make_unique<RecordQuery>((name + "._demo._tcp.local.").c_str(), kDNSServiceType_TXT));
            handles.push_back(std::make_unique<Addresses>((name + ".local").c_str()));
            handles.push_back(std::make_unique<Registration>(name.c_str(), "_demo._tcp", uint16_t(80)));
        }
        for (std::size_t i = 0; i < handles.size(); i += 3)
            settle(*handles[i]);
        return handles;
    }

    bool isEverythingReleased()
    {
        backend().forgetAsked(); // the fake backend notes what it is asked
        backend().forgetPublished();
        return backend().queries() == 0;
    }
};

} // namespace

TEST_F(ReleasedMemory, ComesBackWithinSecondsOfARelease)
{
    for (int number = 0; number < Instances; ++number)
        announce(number);
    startAll(); // makes what is made once and for all
    ASSERT_TRUE(eventually({}, [&] { return isEverythingReleased(); }));
    const std::size_t before = bytesInUse();
    const std::size_t slack = 64 * 1024;

    auto handles = startAll();
    EXPECT_GT(bytesInUse(), before + slack) << "the measure shows nothing";
    handles.clear();
    handles.shrink_to_fit();
    advance(std::chrono::seconds(3));
    EXPECT_TRUE(isEverythingReleased());
    EXPECT_LT(bytesInUse(), before + slack);
}
