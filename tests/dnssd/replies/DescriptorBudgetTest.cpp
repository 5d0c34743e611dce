// SPDX-License-Identifier: MIT
#include "DescriptorBudget.h"

#include "ChildProcess.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <optional>
#include <vector>

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;

namespace {

class DescriptorBudgetTest : public testing::Test
{
protected:
    DescriptorBudgetTest() { getrlimit(RLIMIT_NOFILE, &m_before); }
    ~DescriptorBudgetTest() override
    {
        setrlimit(RLIMIT_NOFILE, &m_before);
        for (int descriptor : m_opened)
            close(descriptor);
    }

    void setLimit(rlim_t limit)
    {
        const rlimit limits{limit, m_before.rlim_max};
        ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limits), 0);
    }
    void open(int count)
    {
        for (int i = 0; i < count; ++i)
            m_opened.push_back(dup(STDIN_FILENO));
    }
    static int64_t availableNow() { return DescriptorBudget().available(); }

private:
    rlimit m_before{};
    std::vector<int> m_opened;
};

} // namespace

TEST_F(DescriptorBudgetTest, KeepsAnEighthOfALowLimitAndThirtyTwoOfAHighOne)
{
    setLimit(80);
    const int64_t ofEighty = availableNow();
    setLimit(160);
    EXPECT_EQ(availableNow() - ofEighty, 80 - 10);
    setLimit(400);
    const int64_t ofFourHundred = availableNow();
    setLimit(600);
    EXPECT_EQ(availableNow() - ofFourHundred, 200);
    EXPECT_EQ(DescriptorBudget::limit(), 600U);
}

TEST_F(DescriptorBudgetTest, CountsWhatTheApplicationHasOpen)
{
    const int64_t before = availableNow();
    open(10);
    EXPECT_EQ(availableNow(), before - 10);
}

TEST_F(DescriptorBudgetTest, CountsItsOwnUsesAtOnce)
{
    DescriptorBudget budget;
    const int64_t before = budget.available();
    std::optional<DescriptorBudget::Use> use(std::in_place, budget);
    EXPECT_EQ(budget.available(), before - 1);
    use.reset();
    EXPECT_EQ(budget.available(), before);
}

TEST_F(DescriptorBudgetTest, IsNegativeUnderALimitBelowWhatIsOpen)
{
    if (!CanExhaustDescriptors)
        GTEST_SKIP() << WhyNotExhausted;
    open(10);
    setLimit(10);
    EXPECT_LT(availableNow(), 0);
}
