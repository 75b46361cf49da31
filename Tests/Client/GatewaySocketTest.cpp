#include "GatewaySocket.h"

#include "BenchKit/ScriptedGateway.h"
#include "Rejection.h"

#include "Orvel/Gateway.h"

#include <unistd.h>

#include <memory>

using Knx::Bytes;
using Knx::FromHex;
using Knx::ToHex;
using OrvelClient::GatewayButton;
using OrvelClient::GatewaySocket;
using OrvelClient::Status;

namespace
{

// The next message as digits; "nothing" if there is none.
std::string Received(GatewaySocket& socket)
{
    const auto message = socket.Receive();
    return message ? ToHex(*message) : "nothing";
}

TEST(GatewaySocket, GivesTheMessagesAsTheDaemonsQueueHasThem)
{
    const ScriptedGateway gateway;
    GatewaySocket socket(gateway.Path());
    const auto program = gateway.Greet();
    program.Send("29 00 bc");
    EXPECT_EQ(Received(socket), "03 b9 00 01");
    EXPECT_EQ(Received(socket), "03 29 00 bc");
    EXPECT_EQ(Received(socket), "nothing");
    EXPECT_FALSE(socket.IsRemoved());
}

TEST(GatewaySocket, GivesTheLongestMessageWhole)
{
    const ScriptedGateway gateway;
    GatewaySocket socket(gateway.Path());
    const auto program = gateway.Accept();
    program.Send(ToHex(Bytes(260, 0x55)));
    EXPECT_EQ(socket.Receive().value_or(Bytes{}).size(), 261);
}

TEST(GatewaySocket, SendsEachMessageAsAPacket)
{
    const ScriptedGateway gateway;
    GatewaySocket socket(gateway.Path());
    const auto program = gateway.Greet();
    EXPECT_TRUE(socket.Send(FromHex("02 11 00")));
    EXPECT_TRUE(socket.Send(FromHex("01 f1")));
    EXPECT_EQ(program.Receive(), "02 11 00");
    EXPECT_EQ(program.Receive(), "01 f1");
}

TEST(GatewaySocket, KeepsWhatComesWhileItSends)
{
    const ScriptedGateway gateway;
    GatewaySocket socket(gateway.Path());
    const auto program = gateway.Greet();
    program.Send("29 00 bc");
    EXPECT_TRUE(socket.Send(FromHex("01 f1")));
    program.Send("29 00 bd");
    EXPECT_TRUE(socket.Send(FromHex("01 f1")));
    program.Send("29 00 be");
    for (const char* const message : {"03 b9 00 01", "03 29 00 bc", "03 29 00 bd", "03 29 00 be", "nothing"})
    {
        EXPECT_EQ(Received(socket), message);
    }
}

TEST(GatewaySocket, TellsHowManyMessagesWereTooMuchToKeep)
{
    const ScriptedGateway gateway;
    GatewaySocket socket(gateway.Path());
    const auto program = gateway.Accept();
    for (int sent = 0; sent < ORVEL_GATEWAY_MESSAGES + 6; ++sent)
    {
        program.Send("29 00 bc");
        EXPECT_TRUE(socket.Send(FromHex("01 f1")));
        EXPECT_EQ(program.Receive(), "01 f1");
    }
    EXPECT_EQ(Received(socket), "03 29 00 bc");
    program.Send("29 00 bd"); // lost too: it would come before the message about the others
    EXPECT_TRUE(socket.Send(FromHex("01 f1")));
    program.Send("29 00 be");
    for (int received = 1; received < ORVEL_GATEWAY_MESSAGES; ++received)
    {
        EXPECT_EQ(Received(socket), "03 29 00 bc");
    }
    EXPECT_EQ(Received(socket), "03 bb 00 07");
    EXPECT_EQ(Received(socket), "03 29 00 be");
    EXPECT_EQ(Received(socket), "nothing");
}

TEST(GatewaySocket, SaysWhenThereIsNoRoomAndWhenThereIsAgain)
{
    const ScriptedGateway gateway;
    GatewaySocket socket(gateway.Path());
    const auto program = gateway.Greet();
    int sent = 0;
    while (sent < 100'000 && socket.Send(FromHex("01 f1")))
    {
        ++sent;
    }
    EXPECT_LT(sent, 100'000);
    EXPECT_FALSE(socket.IsRemoved());
    EXPECT_EQ(program.Receive(), "01 f1");
    EXPECT_TRUE(socket.Send(FromHex("01 f1")));
}

TEST(GatewaySocket, NoticesThatTheGatewayHasEndedWhateverItDoes)
{
    auto gateway = std::make_unique<ScriptedGateway>();
    GatewaySocket reader(gateway->Path());
    gateway->Accept().Close();
    GatewaySocket writer(gateway->Path());
    gateway->Accept().Close();
    GatewaySocket both(gateway->Path());
    auto program = gateway->Greet();
    EXPECT_TRUE(both.Send(FromHex("01 f1")));
    program.Close(); // with a packet unread, which the other side is told as an error
    EXPECT_EQ(Received(reader), "nothing");
    EXPECT_TRUE(reader.IsRemoved());
    EXPECT_FALSE(writer.Send(FromHex("01 f1")));
    EXPECT_TRUE(writer.IsRemoved());
    while (both.Receive())
    {
    }
    EXPECT_TRUE(both.IsRemoved());
}

TEST(GatewaySocket, SendsNothingWhileThereIsNoLink)
{
    const ScriptedGateway gateway;
    GatewaySocket socket(gateway.Path());
    const auto program = gateway.Greet("b9 ff ff");
    EXPECT_REJECTED(socket.Send(FromHex("01 f1")), Status::NotThere, "the gateway has no link: does the daemon run?");
    program.Send("b9 00 01");
    EXPECT_TRUE(socket.Send(FromHex("01 f2")));
    program.Send("29 00 bc");
    program.Send("b9 ff ff");
    EXPECT_REJECTED(socket.Send(FromHex("01 f3")), Status::NotThere, "the gateway has no link: does the daemon run?");
    EXPECT_EQ(program.Receive(), "01 f2");
}

TEST(GatewaySocket, TellsWhetherAMessageWaitsAndLeavesIt)
{
    const ScriptedGateway gateway;
    GatewaySocket socket(gateway.Path());
    EXPECT_FALSE(socket.HasMessage());
    auto program = gateway.Greet();
    EXPECT_TRUE(socket.HasMessage());
    EXPECT_EQ(Received(socket), "03 b9 00 01");
    program.Close();
    EXPECT_FALSE(socket.HasMessage());
}

TEST(GatewaySocket, NeedsAGatewayThatListens)
{
    ScriptedGateway gateway;
    gateway.Die();
    for (const std::string& path : {gateway.Path(), std::string("/no/gateway")})
    {
        EXPECT_REJECTED(GatewaySocket(path), Status::NotThere,
                        "no gateway listens at " + path + ": does orvel-gateway run?");
    }
}

TEST(GatewaySocket, OfAnotherTypeIsNoneOfAGateway)
{
    const ScriptedGateway gateway;
    const std::string path = gateway.Path() + "-other";
    const System::Descriptor other = MakeUnixSocket(SOCK_STREAM);
    const sockaddr_un address = UnixAddress(path);
    ASSERT_EQ(bind(other.Number(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    ASSERT_EQ(listen(other.Number(), 1), 0);
    EXPECT_REJECTED(GatewaySocket(path), Status::Failed, path + " is a socket, but not that of a gateway");
    unlink(path.c_str());
}

TEST(GatewayButton, GivesOnlyTheStatesOfTheButton)
{
    const ScriptedGateway gateway;
    GatewayButton button(gateway.Path());
    const auto program = gateway.Greet();
    for (const char* const frame : {"29 00 bc", "ba 00", "bb 00 05", "ba", "ba 01 02", "ba 01"})
    {
        program.Send(frame);
    }
    EXPECT_EQ(Received(button), "00");
    EXPECT_EQ(Received(button), "01");
    EXPECT_EQ(Received(button), "nothing");
}

} // namespace
