// SPDX-License-Identifier: MIT
#include "TaskQueue.h"

#include "LoopTest.h"

#include <memory>

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;

namespace {

class TaskQueueTest : public LoopTest
{
protected:
    TaskQueue<std::string> queue{loop, [this](const std::string& item) { order += item; }};
};

} // namespace

TEST_F(TaskQueueTest, WorksOnTheItemsInTheirOrder)
{
    for (const char* item : {"a", "b", "c"})
        queue.add(item);
    EXPECT_EQ(order, "");
    settle();
    EXPECT_EQ(order, "abc");
}

TEST_F(TaskQueueTest, LetsOtherTasksRunBetweenItems)
{
    queue.add("a");
    queue.add("b");
    queue.add("c");
    loop.post(noting("1"));
    loop.post(noting("2"));
    settle();
    EXPECT_EQ(order, "a12bc") << "an item is scheduled when the one before it is done";
}

TEST_F(TaskQueueTest, ForgetsItsItemsWhenItIsCleared)
{
    queue.add("a");
    queue.add("b");
    queue.clear();
    settle();
    EXPECT_EQ(order, "");
    queue.add("c");
    settle();
    EXPECT_EQ(order, "c");
}

TEST_F(TaskQueueTest, TakesItemsThatTheWorkAdds)
{
    TaskQueue<int>* itself = nullptr;
    TaskQueue<int> counting(loop, [&](const int& item) {
        order += std::to_string(item);
        if (item > 0)
            itself->add(item - 1);
    });
    itself = &counting;
    counting.add(3);
    settle();
    EXPECT_EQ(order, "3210");
}

TEST_F(TaskQueueTest, MayEndInItsWork)
{
    std::unique_ptr<TaskQueue<std::string>> dying;
    dying = std::make_unique<TaskQueue<std::string>>(loop, [&](const std::string& item) {
        order += item;
        dying.reset();
    });
    dying->add("a");
    dying->add("b");
    settle();
    EXPECT_EQ(order, "a");
}
