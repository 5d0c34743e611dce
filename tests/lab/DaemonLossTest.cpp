// SPDX-License-Identifier: MIT
//
// The daemon of this host dies, comes back and comes late.
#include "LabApplication.h"

#include <memory>

using namespace vesk::dnssd::tests;

TEST(DaemonLoss, KilledAHundredTimesTheDaemonBringsNoFalseNews)
{
    Application app;
    ASSERT_TRUE(app.wait([&] { return app.isComplete(); }));
    for (int round = 1; round <= 100; ++round) {
        run("lab-daemon hosta kill");
        EXPECT_EQ(app.kitchen.update(item("round=" + std::to_string(round))), kDNSServiceErr_NoError);
        run("lab-daemon hosta start");
        for (Handle* handle : app.handles())
            handle->process();
        if (round % 20 == 0) {
            ASSERT_TRUE(app.isSeenWith("round=" + std::to_string(round))) << round;
        }
        ASSERT_FALSE(HasFailure()) << round;
    }

    // What really changes is still reported: by then all that was missed would have been, too.
    Beside comes(publishOnHostb("Comes"));
    ASSERT_TRUE(app.wait([&] { return app.browse.has("Comes"); }));
    expectQuiet(app.handles());
    app.expectNoFalseNews();
    comes.end();
    ASSERT_TRUE(app.wait([&] { return !app.browse.has("Comes"); }));
    app.expectNoFalseNews();
}

TEST(DaemonLoss, ChangesDuringTheAbsenceAreReportedAfterwards)
{
    Application app;
    auto leaves = std::make_unique<Beside>(publishOnHostb("Leaves"));
    ASSERT_TRUE(app.wait([&] { return app.isComplete() && app.browse.has("Leaves"); }));
    run("lab-daemon hosta kill");
    expectQuiet(app.handles());
    leaves.reset();
    app.stays.end();
    Beside changed(publishOnHostb("Stays", "stays=2"));
    Beside comes(publishOnHostb("Comes"));
    run("lab-daemon hosta start");
    ASSERT_TRUE(app.wait([&] {
        return app.browse.has("Comes") && !app.browse.has("Leaves") &&
               app.monitor.present(Lan1) == std::multiset<std::string>{item("stays=2")};
    }));
    EXPECT_EQ(app.browse.count("Stays", false), 0U);
    EXPECT_EQ(app.browse.count("Leaves", false), 1U);
    EXPECT_EQ(app.browse.count("Comes", true), 1U);
    EXPECT_TRUE(app.wait([&] { return app.resolve.replies.back().txt == item("stays=2"); }));
    EXPECT_TRUE(app.isSeenWith("round=0"));
}

TEST(DaemonLoss, OperationsStartedWithoutADaemonBeginWithIt)
{
    run("lab-daemon hosta kill");
    Application app;
    for (Handle* handle : app.handles())
        EXPECT_EQ(handle->error(), kDNSServiceErr_NoError);
    app.kitchen.update(item("round=1"));
    expectQuiet(app.handles());
    run("lab-daemon hosta start");
    ASSERT_TRUE(app.wait([&] { return app.isComplete(); }));
    EXPECT_TRUE(app.isSeenWith("round=1"));
    app.expectNoFalseNews();
}
