#include "Connection.h"

#include "ComponentTest.h"
#include "VirtualSlots.h"

#include <array>
#include <cstddef>
#include <memory>
#include <new>
#include <type_traits>

namespace
{

using namespace UnitTests;

static_assert(std::has_virtual_destructor_v<OrvelDriver::Connection>);
static_assert(!std::has_virtual_destructor_v<Nemt::IConnectionListener>, "the library's interface has one slot only");

class Connection : public ComponentTest
{
};

TEST_F(Connection, HasNoVirtualFunctionButTheListenersAndItsDestructor)
{
    EXPECT_EQ(VirtualSlots<OrvelDriver::Connection>(), 3U);
}

TEST_F(Connection, RegistersAndOnlyThenAsksForTheState)
{
    const OrvelDriver::Connection connection(ScriptedHub::Hub());
    EXPECT_EQ(hub.Texts(), (Texts{"RegisterConnectionListener", "IsConnected"}));
    EXPECT_EQ(hub.Calls().at(0).listener, &connection);
}

TEST_F(Connection, StartsWithTheStateOfAnEstablishedLink)
{
    hub.AnswerIsConnected(true);
    const OrvelDriver::Connection connection(ScriptedHub::Hub());
    EXPECT_TRUE(connection.IsConnected());
}

TEST_F(Connection, StartsWithTheStateOfAMissingLink)
{
    hub.AnswerIsConnected(false);
    const OrvelDriver::Connection connection(ScriptedHub::Hub());
    EXPECT_FALSE(connection.IsConnected());
}

TEST_F(Connection, OverwritesAReportThatComesBeforeItHasAsked)
{
    for (const bool state : {true, false})
    {
        hub.AnswerIsConnected(state);
        hub.Observe(
            [this, state](const HubCall& call)
            {
                if (call.text == "IsConnected")
                {
                    hub.Report(!state);
                }
            });
        const OrvelDriver::Connection connection(ScriptedHub::Hub());
        EXPECT_EQ(connection.IsConnected(), state);
    }
}

TEST_F(Connection, KeepsTheLastReportedState)
{
    const OrvelDriver::Connection connection(ScriptedHub::Hub());
    hub.Report(true);
    EXPECT_TRUE(connection.IsConnected());
    hub.Report(false);
    EXPECT_FALSE(connection.IsConnected());
}

TEST_F(Connection, KeepsAStateReportedOnTheLibrarysThread)
{
    const OrvelDriver::Connection connection(ScriptedHub::Hub());
    std::thread([this] { hub.Report(true); }).join();
    EXPECT_TRUE(connection.IsConnected());
}

TEST_F(Connection, PassesOnWhetherReconnectingSucceeded)
{
    OrvelDriver::Connection connection(ScriptedHub::Hub());
    hub.AnswerReconnect(true);
    EXPECT_TRUE(connection.Reconnect());
    hub.AnswerReconnect(false);
    EXPECT_FALSE(connection.Reconnect());
    EXPECT_EQ(hub.Texts(), (Texts{"RegisterConnectionListener", "IsConnected", "Reconnect", "Reconnect"}));
}

TEST_F(Connection, LeavesItToTheLibraryToReportAReconnectedLink)
{
    OrvelDriver::Connection connection(ScriptedHub::Hub());
    ASSERT_TRUE(connection.Reconnect());
    EXPECT_FALSE(connection.IsConnected());
}

TEST_F(Connection, UnregistersItselfAndNothingElseWhenItEnds)
{
    {
        const OrvelDriver::Connection connection(ScriptedHub::Hub());
        EXPECT_EQ(hub.Calls().at(0).listener, &connection);
    }
    EXPECT_EQ(hub.Texts(), (Texts{"RegisterConnectionListener", "IsConnected", "UnregisterConnectionListener"}));
    EXPECT_EQ(hub.Calls().at(2).listener, hub.Calls().at(0).listener);
}

TEST_F(Connection, CallsTheHubThatItWasGiven)
{
    // The memory holds no hub from before.
    alignas(OrvelDriver::Connection) std::array<std::byte, sizeof(OrvelDriver::Connection)> memory;
    memory.fill(std::byte{0x55});
    auto* const connection = new (memory.data()) OrvelDriver::Connection(ScriptedHub::OtherHub());
    connection->Reconnect();
    std::destroy_at(connection);
    EXPECT_EQ(hub.CallsOf(ScriptedHub::OtherHub()), 4U);
}

TEST_F(Connection, LogsNothing)
{
    {
        OrvelDriver::Connection connection(ScriptedHub::Hub());
        hub.Report(true);
        hub.Report(false);
        connection.Reconnect();
    }
    EXPECT_EQ(log->Lines(), Texts{});
}

} // namespace
