#include "ProgramSocket.h"

#include "BenchKit/PacketConnection.h"
#include "Knx/HexDigits.h"
#include "System/Descriptor.h"

#include <gtest/gtest.h>

#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <string>
#include <utility>

using namespace OrvelGateway;
using Result = ProgramSocket::Result;

namespace
{

// A program at the other end of the socket.
class ProgramSocketTest : public testing::Test
{
protected:
    ProgramSocketTest()
        : ProgramSocketTest(System::SocketPair(SOCK_SEQPACKET | SOCK_CLOEXEC))
    {
    }

    // The next packet; "not now", "ended" or "failed" if there is none.
    std::string Receive() const
    {
        Knx::Bytes packet(ProgramSocket::MaxPacket);
        std::size_t size = 0;
        switch (socket.Receive(packet.data(), size))
        {
        case Result::NotNow:
            return "not now";
        case Result::Ended:
            return "ended";
        case Result::Failed:
            return "failed";
        default:
            packet.resize(size);
            return Knx::ToHex(packet);
        }
    }

    PacketConnection program;
    ProgramSocket socket;

private:
    explicit ProgramSocketTest(System::SocketPair pair)
        : program(std::move(pair.one))
        , socket(std::move(pair.other))
    {
    }
};

TEST_F(ProgramSocketTest, TellsEmptyPacketsFromTheEnd)
{
    EXPECT_EQ(Receive(), "not now");
    program.SendPacket("");
    program.SendPacket("01 aa");
    program.SendPacket("");
    program.Close();
    EXPECT_EQ(Receive(), "");
    EXPECT_EQ(Receive(), "01 aa");
    EXPECT_EQ(Receive(), "");
    EXPECT_EQ(Receive(), "ended");
    EXPECT_EQ(Receive(), "ended");
}

TEST_F(ProgramSocketTest, GivesWhatAProgramSentThatLeftSomethingUnread)
{
    const uint8_t message = 0;
    EXPECT_EQ(socket.Send(&message, 1), Result::Done);
    program.SendPacket("01 aa");
    program.SendPacket("01 bb");
    program.Close();
    EXPECT_EQ(Receive(), "not now"); // the kernel tells first that something was unread
    EXPECT_EQ(Receive(), "01 aa");
    EXPECT_EQ(Receive(), "01 bb");
    EXPECT_EQ(Receive(), "ended");
}

TEST_F(ProgramSocketTest, GivesOfALongPacketSoMuchThatItIsNoMessage)
{
    program.SendPacket(Knx::ToHex(Knx::Bytes(1000)));
    EXPECT_EQ(Knx::FromHex(Receive()).size(), ProgramSocket::MaxPacket);
    EXPECT_EQ(Receive(), "not now");
}

TEST_F(ProgramSocketTest, DoesNotWaitForAProgramThatReadsNothing)
{
    const uint8_t message = 0;
    int sent = 0;
    while (socket.Send(&message, 1) == Result::Done)
    {
        ++sent;
    }
    EXPECT_GT(sent, 50);
    EXPECT_EQ(socket.Send(&message, 1), Result::NotNow);
    program.Close();
    EXPECT_EQ(socket.Send(&message, 1), Result::Ended);
}

TEST_F(ProgramSocketTest, SaysWhoseItIsAndLetsNoProgramWriteIntoTheLog)
{
    std::array<char, 16> before{};
    prctl(PR_GET_NAME, before.data());
    prctl(PR_SET_NAME, "knx monitor");
    EXPECT_EQ(socket.Who(), std::to_string(getpid()) + " knx monitor");
    prctl(PR_SET_NAME, "a\x1b[31mb\xc3\xa4");
    EXPECT_EQ(socket.Who(), std::to_string(getpid()) + " a?[31mb??");
    prctl(PR_SET_NAME, before.data());
}

} // namespace
