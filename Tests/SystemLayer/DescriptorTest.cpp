#include "System/Descriptor.h"

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <utility>

using System::Descriptor;

namespace
{

bool IsOpen(int number)
{
    return fcntl(number, F_GETFD) != -1;
}

Descriptor Open()
{
    return Descriptor(open("/dev/null", O_RDONLY | O_CLOEXEC));
}

TEST(Descriptor, IsClosedWithItsOwner)
{
    int number = -1;
    {
        const Descriptor descriptor = Open();
        number = descriptor.Number();
        EXPECT_TRUE(descriptor.IsOpen());
        EXPECT_TRUE(IsOpen(number));
    }
    EXPECT_FALSE(IsOpen(number));
}

TEST(Descriptor, IsNoneWhenTheSystemCallFailed)
{
    EXPECT_FALSE(Descriptor().IsOpen());
    EXPECT_EQ(Descriptor().Number(), -1);
    EXPECT_FALSE(Descriptor(open("/nowhere", O_RDONLY | O_CLOEXEC)).IsOpen());
}

TEST(Descriptor, CanBeMovedAndHasOneOwner)
{
    Descriptor first = Open();
    const int number = first.Number();
    Descriptor second = std::move(first);
    EXPECT_FALSE(first.IsOpen()); // NOLINT(bugprone-use-after-move): that is what is tested
    EXPECT_EQ(second.Number(), number);

    Descriptor third = Open();
    const int replaced = third.Number();
    third = std::move(second);
    EXPECT_EQ(third.Number(), number);
    EXPECT_TRUE(IsOpen(number));
    EXPECT_FALSE(IsOpen(replaced));
}

TEST(Descriptor, IsClosedOnceAndLeavesTheErrorToBeTold)
{
    Descriptor descriptor = Open();
    const int number = descriptor.Number();
    descriptor.Close();
    descriptor.Close();
    EXPECT_FALSE(descriptor.IsOpen());
    EXPECT_FALSE(IsOpen(number));

    Descriptor stale(number);
    errno = EXDEV;
    stale.Close(); // fails
    EXPECT_EQ(errno, EXDEV);
}

TEST(Descriptor, IsNotClosedWhenSomebodyElseHasTakenIt)
{
    Descriptor descriptor = Open();
    const int number = descriptor.Release();
    EXPECT_FALSE(descriptor.IsOpen());
    EXPECT_TRUE(IsOpen(number));
    close(number);
}

TEST(Descriptor, OfAPipeAndOfASocketPairGoToNoOtherProgram)
{
    const System::Pipe pipe;
    const System::SocketPair sockets;
    char byte = 0;
    EXPECT_EQ(write(pipe.writing.Number(), "p", 1), 1);
    EXPECT_EQ(read(pipe.reading.Number(), &byte, 1), 1);
    EXPECT_EQ(byte, 'p');
    EXPECT_EQ(send(sockets.one.Number(), "s", 1, 0), 1);
    EXPECT_EQ(recv(sockets.other.Number(), &byte, 1, 0), 1);
    EXPECT_EQ(byte, 's');
    for (const Descriptor* const end : {&pipe.reading, &pipe.writing, &sockets.one, &sockets.other})
    {
        EXPECT_EQ(fcntl(end->Number(), F_GETFD), FD_CLOEXEC);
    }
}

TEST(Descriptor, OfASocketPairKeepsMessagesApartIfItsTypeDoes)
{
    const System::SocketPair sockets(SOCK_SEQPACKET | SOCK_CLOEXEC);
    for (const char* const message : {"a", "b"})
    {
        EXPECT_EQ(send(sockets.one.Number(), message, 1, 0), 1);
    }
    std::array<char, 4> buffer{};
    EXPECT_EQ(recv(sockets.other.Number(), buffer.data(), buffer.size(), 0), 1);
}

} // namespace
