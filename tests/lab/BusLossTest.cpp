// SPDX-License-Identifier: MIT
//
// The message bus of this host dies, comes back and comes late.
#include "LabApplication.h"

using namespace vesk::dnssd::tests;

TEST(BusLoss, OperationsGoOnWhenTheBusIsBack)
{
    Application app;
    ASSERT_TRUE(app.wait([&] { return app.isComplete(); }));
    run("lab-bus hosta kill");
    app.kitchen.update(item("round=1"));
    expectQuiet(app.handles());
    run("lab-bus hosta start && lab-daemon hosta start");
    EXPECT_TRUE(app.isSeenWith("round=1"));
    Beside comes(publishOnHostb("Comes"));
    ASSERT_TRUE(app.wait([&] { return app.browse.has("Comes"); }));
    expectQuiet(app.handles());
    app.expectNoFalseNews();
}

TEST(BusLoss, OperationsStartedWithoutABusBeginWithIt)
{
    run("lab-bus hosta kill");
    Application app;
    for (const Handle* handle : app.handles())
        EXPECT_EQ(handle->error(), kDNSServiceErr_NoError);
    app.kitchen.update(item("round=1"));
    uint32_t version = 0;
    uint32_t size = sizeof version;
    EXPECT_EQ(DNSServiceGetProperty(kDNSServiceProperty_DaemonVersion, &version, &size),
              kDNSServiceErr_ServiceNotRunning);
    expectQuiet(app.handles());
    run("lab-bus hosta start && lab-daemon hosta start");
    ASSERT_TRUE(app.wait([&] { return app.isComplete(); }));
    EXPECT_TRUE(app.isSeenWith("round=1"));
    EXPECT_EQ(DNSServiceGetProperty(kDNSServiceProperty_DaemonVersion, &version, &size),
              kDNSServiceErr_NoError);
    app.expectNoFalseNews();
}
