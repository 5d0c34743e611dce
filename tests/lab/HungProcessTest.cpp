// SPDX-License-Identifier: MIT
//
// The daemon of this host or its message bus stands still: no call waits for it.
#include "LabApplication.h"

#include <memory>

using namespace vesk::dnssd::tests;

namespace {

/// `process`: lab-daemon or lab-bus.
bool isStopped(const std::string& process)
{
    return outputOf("ps -o stat= -p $(" + process + " hosta pid)").substr(0, 1) == "T";
}

std::vector<std::unique_ptr<Handle>> startMany()
{
    std::vector<std::unique_ptr<Handle>> many;
    for (int i = 0; i < 100; ++i) {
        const std::string name = "Service " + std::to_string(i);
        many.push_back(std::make_unique<Registration>(name.c_str(), "_more._tcp", uint16_t(9000 + i)));
        many.push_back(std::make_unique<Browse>(("_type" + std::to_string(i) + "._tcp").c_str()));
        many.push_back(std::make_unique<Resolve>(name.c_str(), "_more._tcp", "local"));
        many.push_back(std::make_unique<Addresses>("hostb.local"));
        many.push_back(
            std::make_unique<RecordQuery>((name + "._more._tcp.local").c_str(), kDNSServiceType_TXT));
    }
    return many;
}

/// All calls return although the process that they concern stands still.
void callWhileStopped(const std::string& process)
{
    Application app;
    ASSERT_TRUE(app.wait([&] { return app.isComplete(); }));
    run(process + " hosta stop");
    auto many = startMany();
    for (const auto& handle : many)
        EXPECT_EQ(handle->error(), kDNSServiceErr_NoError);
    app.kitchen.update(item("round=1"));
    many.erase(many.begin() + 5, many.end());
    EXPECT_TRUE(isStopped(process)) << "they returned only when it went on";

    run(process + " hosta cont");
    auto& service = dynamic_cast<Registration&>(*many[0]);
    auto& resolve = dynamic_cast<Resolve&>(*many[2]);
    EXPECT_TRUE(
        waitUntil({&service, &resolve}, [&] { return service.isDone() && !resolve.replies.empty(); }));
    EXPECT_TRUE(app.isSeenWith("round=1"));
}

void callFirstWhileStopped(const std::string& process)
{
    run(process + " hosta stop");
    auto many = startMany(); // more than wait to be let in by a bus
    for (const auto& handle : many)
        EXPECT_EQ(handle->error(), kDNSServiceErr_NoError);
    many.clear();
    EXPECT_TRUE(isStopped(process));
    // It stays so: the process has to end all the same, with a handle that was not released.
    static auto& kept = *new Browse("_other._tcp");
    EXPECT_EQ(kept.error(), kDNSServiceErr_NoError);
}

} // namespace

TEST(HungProcess, CallsReturnWhileTheDaemonIsStopped)
{
    callWhileStopped("lab-daemon");
}

TEST(HungProcess, CallsReturnWhileTheBusIsStopped)
{
    callWhileStopped("lab-bus");
}

TEST(HungProcess, FirstCallOfAProcessReturnsWhileTheDaemonIsStopped)
{
    callFirstWhileStopped("lab-daemon");
}

TEST(HungProcess, FirstCallOfAProcessReturnsWhileTheBusIsStopped)
{
    callFirstWhileStopped("lab-bus");
}
