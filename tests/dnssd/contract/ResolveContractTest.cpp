// SPDX-License-Identifier: MIT
//
// To resolve once is optional: a backend that has no such way says so with every call.
#include "ContractFixture.h"

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;

namespace {

class ResolveContract : public Contract
{
protected:
    void SetUp() override
    {
        Contract::SetUp();
        world().announce("Kitchen", "a=1");
        const auto query = browse(m_log);
        ASSERT_TRUE(runUntil([&] { return m_log.has("Kitchen"); }));
        ResolveLog log;
        const auto resolve = resolveOnce("Kitchen", log);
        if (resolve.error == BackendError::Failed)
            GTEST_SKIP() << "the backend has no such way";
    }

private:
    RecordLog m_log;
};

} // namespace

TEST_F(ResolveContract, TellsHostPortAndTxtRecordOnce)
{
    ResolveLog log;
    const auto resolve = resolveOnce("Kitchen", log);
    ASSERT_EQ(resolve.error, BackendError::None);
    ASSERT_TRUE(runUntil([&] { return log.calls > 0; }));
    ASSERT_TRUE(log.service);
    EXPECT_EQ(log.service->port, 8080);
    EXPECT_EQ(log.service->txt, item("a=1"));
    EXPECT_EQ(log.service->host.back(), "local");
    RecordLog other;
    const auto query = browse(other);
    ASSERT_TRUE(runUntil([&] { return other.exhausted > 0; }));
    EXPECT_EQ(log.calls, 1);
}

TEST_F(ResolveContract, TellsAnAddressIfItIsAskedFor)
{
    ResolveLog without;
    const auto first = resolveOnce("Kitchen", without);
    ResolveLog with;
    const auto second = resolveOnce("Kitchen", with, true);
    ASSERT_TRUE(runUntil([&] { return without.calls > 0 && with.calls > 0; }));
    EXPECT_EQ(without.service->address, "");
    const std::size_t bytes = with.service->address.size();
    EXPECT_TRUE(bytes == 4 || bytes == 16) << bytes;
}

TEST_F(ResolveContract, ListenerEndsItInTheCall)
{
    ResolveLog log;
    auto resolve = resolveOnce("Kitchen", log);
    log.onCall = [&] { resolve.started.reset(); };
    ASSERT_TRUE(runUntil([&] { return !resolve.started; }));
    EXPECT_EQ(log.calls, 1);
}

TEST_F(ResolveContract, EndedOneIsNotCalledBack)
{
    ResolveLog ended;
    auto resolve = resolveOnce("Kitchen", ended);
    end(resolve.started);
    ResolveLog other;
    const auto another = resolveOnce("Kitchen", other);
    ASSERT_TRUE(runUntil([&] { return other.calls > 0; }));
    EXPECT_EQ(ended.calls, 0);
}
