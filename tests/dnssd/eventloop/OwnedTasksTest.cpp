// SPDX-License-Identifier: MIT
#include "OwnedTasks.h"

#include "LoopTest.h"

#include <memory>

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;

namespace {

using OwnedTasksTest = LoopTest;

} // namespace

TEST_F(OwnedTasksTest, RunWhileTheirOwnerLives)
{
    auto tasks = std::make_unique<OwnedTasks>(loop);
    tasks->post(noting("a"));
    settle();
    tasks->post(noting("b"));
    loop.post(noting("c"));
    tasks.reset();
    settle();
    EXPECT_EQ(order, "ac");
}

TEST_F(OwnedTasksTest, MayEndTheirOwner)
{
    auto tasks = std::make_unique<OwnedTasks>(loop);
    tasks->post([&] {
        order += "a";
        tasks.reset();
    });
    tasks->post(noting("b"));
    settle();
    EXPECT_EQ(order, "a");
}
