// SPDX-License-Identifier: MIT
#include "DaemonConnections.h"
#include "ManualClock.h"
#include "PlayedLibavahi.h"

#include <gtest/gtest.h>

using namespace vesk::dnssd;
using namespace vesk::dnssd::tests;

namespace {

/// Stands for any object of the daemon's.
struct Thing
{
    AvahiClient* client;
};

class DaemonConnectionsTest : public testing::Test
{
protected:
    DaemonConnectionsTest() { played() = PlayedLibavahi(); }
    ~DaemonConnectionsTest() override
    {
        m_connections.disconnect();
        EXPECT_TRUE(played().clients.empty()) << "each connection is closed";
    }

    static PlayedLibavahi& played() { return PlayedLibavahi::instance(); }
    DaemonConnections& connections() { return m_connections; }
    const std::vector<AvahiClientState>& states() const { return m_states; }
    void settle() { m_loop.runUntilIdle(); }

    /// A daemon that takes `room` objects on each connection.
    DaemonConnections::Made<Thing> make(unsigned room)
    {
        return m_connections.make<Thing>([&](AvahiClient* client) -> Thing* {
            const auto isOnIt = [client](const auto& thing) { return thing->client == client; };
            if (std::count_if(m_things.begin(), m_things.end(), isOnIt) >= room) {
                played().lastError = AVAHI_ERR_TOO_MANY_OBJECTS;
                return nullptr;
            }
            m_things.push_back(std::make_unique<Thing>(Thing{client}));
            return m_things.back().get();
        });
    }

private:
    ManualClock m_clock;
    EventLoop m_loop{m_clock};
    std::vector<AvahiClientState> m_states;
    std::vector<std::unique_ptr<Thing>> m_things;
    DaemonConnections m_connections{m_loop, [this](AvahiClientState state) { m_states.push_back(state); }};
};

} // namespace

TEST_F(DaemonConnectionsTest, ConnectingReportsTheStateFromTheLoopAndNotDuringTheCall)
{
    ASSERT_TRUE(connections().connect());
    EXPECT_TRUE(states().empty());
    settle();
    EXPECT_EQ(states(), std::vector<AvahiClientState>{AVAHI_CLIENT_S_RUNNING});
}

TEST_F(DaemonConnectionsTest, ConnectingWithoutABusFails)
{
    played().isRefusing = true;
    EXPECT_FALSE(connections().connect());
    EXPECT_EQ(connections().main(), nullptr);
    EXPECT_EQ(make(1).error, AVAHI_ERR_NO_DAEMON);
}

TEST_F(DaemonConnectionsTest, ObjectsGoToOneConnectionWhileItHasRoom)
{
    ASSERT_TRUE(connections().connect());
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(make(3).object->client, connections().main());
    EXPECT_EQ(played().clients.size(), 1U);
}

TEST_F(DaemonConnectionsTest, ObjectThatDoesNotFitGoesToAFurtherConnection)
{
    ASSERT_TRUE(connections().connect());
    make(2);
    make(2);
    const auto third = make(2);
    const auto fourth = make(2);
    const auto fifth = make(2);
    ASSERT_EQ(played().clients.size(), 3U);
    EXPECT_EQ(third.object->client, played().clients[1]);
    EXPECT_EQ(fourth.object->client, played().clients[1]);
    EXPECT_EQ(fifth.object->client, played().clients[2]);
}

TEST_F(DaemonConnectionsTest, ConnectionIsTriedAgainOnceAnObjectHasLeftIt)
{
    ASSERT_TRUE(connections().connect());
    const auto first = make(1);
    make(1);
    first.connection->setFull(false);
    EXPECT_EQ(make(2).connection, first.connection);
}

TEST_F(DaemonConnectionsTest, ObjectIsRefusedWhenNoFurtherConnectionIsToBeHad)
{
    ASSERT_TRUE(connections().connect());
    make(1);
    played().isRefusing = true;
    const auto refused = make(1);
    EXPECT_EQ(refused.object, nullptr);
    EXPECT_EQ(refused.error, AVAHI_ERR_TOO_MANY_OBJECTS);
}

TEST_F(DaemonConnectionsTest, OtherErrorsOfTheDaemonsAreHandedOnWithoutAFurtherConnection)
{
    ASSERT_TRUE(connections().connect());
    played().lastError = AVAHI_ERR_INVALID_SERVICE_TYPE;
    const auto failed = connections().make<Thing>([](AvahiClient*) -> Thing* { return nullptr; });
    EXPECT_EQ(failed.error, AVAHI_ERR_INVALID_SERVICE_TYPE);
    EXPECT_EQ(played().clients.size(), 1U);
}

TEST_F(DaemonConnectionsTest, FailureOfAFurtherConnectionIsReported)
{
    ASSERT_TRUE(connections().connect());
    make(1);
    make(1);
    settle();
    PlayedLibavahi::changeState(played().clients.at(1), AVAHI_CLIENT_FAILURE);
    settle();
    EXPECT_EQ(states(), (std::vector<AvahiClientState>{AVAHI_CLIENT_S_RUNNING, AVAHI_CLIENT_FAILURE}));
}

TEST_F(DaemonConnectionsTest, DisconnectingClosesAllAndBreaksTheObjectsConnections)
{
    ASSERT_TRUE(connections().connect());
    const auto first = make(1);
    const auto second = make(1);
    connections().disconnect();
    EXPECT_EQ(played().freed, 2U);
    EXPECT_EQ(first.connection->client(), nullptr);
    EXPECT_EQ(second.connection->client(), nullptr);
    EXPECT_EQ(connections().main(), nullptr);
}

TEST_F(DaemonConnectionsTest, NewsOfAClosedConnectionIsNotReported)
{
    ASSERT_TRUE(connections().connect());
    connections().disconnect();
    settle();
    EXPECT_TRUE(states().empty());
}
