#include "ListeningSocket.h"

#include "Failure.h"

#include "BenchKit/PacketConnection.h"
#include "BenchKit/TemporaryDirectory.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <utility>

using namespace OrvelGateway;
using testing::HasSubstr;
using testing::Pair;

namespace
{

class ListeningSocketTest : public testing::Test
{
protected:
    std::string Path(const char* name = "socket") const
    {
        return directory.File(name);
    }

    // Why no socket is made there, and the status.
    static std::pair<Status, std::string> Rejection(const std::string& path)
    {
        try
        {
            const ListeningSocket socket(path);
            return {Status::Done, ""};
        }
        catch (const Failure& failure)
        {
            return {failure.ExitStatus(), failure.what()};
        }
    }

    template<typename Operation>
    static int At(const Operation& operation, const System::Descriptor& descriptor, const std::string& path)
    {
        const sockaddr_un address = UnixAddress(path);
        return operation(descriptor.Number(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 ? 0
                                                                                                                : errno;
    }

    const TemporaryDirectory directory;
};

TEST_F(ListeningSocketTest, AcceptsProgramsWithoutWaitingForThem)
{
    const ListeningSocket listening(Path());
    EXPECT_EQ(listening.Place(), Path());
    EXPECT_FALSE(listening.Accept().IsOpen());
    EXPECT_EQ(errno, EAGAIN);
    const auto program = MakeUnixSocket();
    EXPECT_EQ(At(connect, program, Path()), 0);
    EXPECT_TRUE(listening.Accept().IsOpen());
}

TEST_F(ListeningSocketTest, IsOpenToItsOwnerAndGroupWhateverTheMask)
{
    for (const mode_t mask : {0U, 077U})
    {
        const mode_t before = umask(mask);
        const ListeningSocket listening(Path());
        EXPECT_EQ(umask(before), mask);
        struct stat status = {};
        EXPECT_EQ(stat(Path().c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777U, 0660U);
    }
}

TEST_F(ListeningSocketTest, GoesWithItsOwner)
{
    {
        const ListeningSocket listening(Path());
        EXPECT_TRUE(std::filesystem::exists(Path()));
    }
    EXPECT_FALSE(std::filesystem::exists(Path()));
}

TEST_F(ListeningSocketTest, LeavesTheSocketOfTheNextGatewayInItsPlace)
{
    std::optional<ListeningSocket> first(Path());
    std::filesystem::remove(Path());
    const ListeningSocket next(Path());
    first.reset();
    EXPECT_EQ(At(connect, MakeUnixSocket(SOCK_SEQPACKET), Path()), 0);
}

TEST_F(ListeningSocketTest, DoesNotTakeThePlaceOfOneThatIsServed)
{
    const ListeningSocket listening(Path());
    EXPECT_THAT(Rejection(Path()), Pair(Status::InUse, "another program serves " + Path()));
    const auto stream = MakeUnixSocket(SOCK_STREAM); // of another kind of program
    EXPECT_EQ(At(bind, stream, Path("stream")), 0);
    EXPECT_EQ(listen(stream.Number(), 1), 0);
    EXPECT_THAT(Rejection(Path("stream")), Pair(Status::InUse, "another program serves " + Path("stream")));
}

TEST_F(ListeningSocketTest, TakesThePlaceOfADeadOne)
{
    {
        const auto dead = MakeUnixSocket();
        EXPECT_EQ(At(bind, dead, Path()), 0);
    }
    EXPECT_TRUE(std::filesystem::exists(Path()));
    const ListeningSocket listening(Path());
    EXPECT_EQ(At(connect, MakeUnixSocket(), Path()), 0);
}

TEST_F(ListeningSocketTest, IsMadeAlsoWhereSomebodyHoldsTheLockOfItsDirectory)
{
    const System::Descriptor held(open(directory.Path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    ASSERT_EQ(flock(held.Number(), LOCK_EX), 0);
    const ListeningSocket listening(Path());
    EXPECT_EQ(At(connect, MakeUnixSocket(SOCK_SEQPACKET), Path()), 0);
}

TEST_F(ListeningSocketTest, DoesNotTakeThePlaceOfAFileOrOfALink)
{
    std::ofstream(Path("file")) << "text";
    EXPECT_THAT(Rejection(Path("file")), Pair(Status::Failed, Path("file") + " is there already, and is no socket"));
    std::filesystem::create_symlink("elsewhere", Path("link"));
    EXPECT_THAT(Rejection(Path("link")), Pair(Status::Failed, Path("link") + " is there already, and is no socket"));
}

TEST_F(ListeningSocketTest, NeedsADirectory)
{
    EXPECT_THAT(
        Rejection(Path("nowhere/socket")),
        Pair(Status::NotThere, "cannot make the socket " + Path("nowhere/socket") + ": No such file or directory"));
}

TEST_F(ListeningSocketTest, NeedsAPathThatFits)
{
    EXPECT_EQ(Rejection("").first, Status::WrongOption);
    EXPECT_THAT(Rejection("/" + std::string(107, 'x')),
                Pair(Status::WrongOption, HasSubstr("--socket takes a path of 1 to 107 bytes, not '/xxx")));
}

TEST_F(ListeningSocketTest, IgnoresWhatIsPassedToAnotherProcess)
{
    setenv("LISTEN_PID", "1", 1);
    setenv("LISTEN_FDS", "1", 1);
    EXPECT_EQ(ListeningSocket(Path()).Place(), Path());
    unsetenv("LISTEN_PID");
    unsetenv("LISTEN_FDS");
}

} // namespace
