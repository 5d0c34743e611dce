// SPDX-License-Identifier: MIT
#include "ProcessEngine.h"

#include "ChildProcess.h"
#include "Engine.h"

#include <gtest/gtest.h>

#include <future>

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;

namespace {

class ProcessEngine : public testing::Test
{
protected:
    ~ProcessEngine() override { setProcessEngine(nullptr); }

    static void settle()
    {
        std::promise<void> done;
        processEngine()->loop().post([&done] { done.set_value(); });
        done.get_future().wait();
    }
};

} // namespace

TEST_F(ProcessEngine, IsMadeOnce)
{
    const auto engine = processEngine();
    EXPECT_EQ(processEngine(), engine);
    settle();
}

TEST_F(ProcessEngine, IsReplacedWhenItHasDied)
{
    const auto engine = processEngine();
    engine->markDead();
    EXPECT_NE(processEngine(), engine);
    settle();
}

TEST_F(ProcessEngine, IsReplacedInAForkedProcess)
{
    const auto engine = processEngine();
    settle();
    const unsigned generation = forkGeneration();
    EXPECT_TRUE(succeedsInChild([&] {
        if (forkGeneration() != generation + 1 || processEngine() == engine)
            return false;
        settle();
        return true;
    }));
    EXPECT_EQ(forkGeneration(), generation);
    EXPECT_EQ(processEngine(), engine);
    settle();
}

TEST_F(ProcessEngine, IsReplacedInAProcessForkedByAForkedOne)
{
    settle();
    const unsigned generation = forkGeneration();
    EXPECT_TRUE(succeedsInChild([&] {
        settle();
        return succeedsInChild([&] {
            settle();
            return forkGeneration() == generation + 2;
        });
    }));
}

TEST_F(ProcessEngine, SurvivesForksInTheMiddleOfItsWork)
{
    for (int round = 0; round < 20; ++round) {
        for (int i = 0; i < 100; ++i)
            processEngine()->loop().post([text = std::string(1000, 'x')] {});
        EXPECT_TRUE(succeedsInChild([] {
            settle();
            return true;
        }));
    }
    settle();
}
