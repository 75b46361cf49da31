#include "ListeningSocket.h"

#include "Failure.h"

#include <gmock/gmock.h>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
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
    ListeningSocketTest()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "gateway-XXXXXX").string();
        directory = mkdtemp(pattern.data());
    }

    ~ListeningSocketTest() override
    {
        std::filesystem::remove_all(directory);
    }

    std::string Path(const char* name = "socket") const
    {
        return directory / name;
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

    static System::Descriptor MakeSocket(int type)
    {
        return System::Descriptor(socket(AF_UNIX, type | SOCK_CLOEXEC, 0));
    }

    template<typename Operation>
    static int At(const Operation& operation, const System::Descriptor& descriptor, const std::string& path)
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::copy(path.begin(), path.end(), address.sun_path);
        return operation(descriptor.Number(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 ? 0
                                                                                                                : errno;
    }

    std::filesystem::path directory;
};

TEST_F(ListeningSocketTest, AcceptsProgramsWithoutWaitingForThem)
{
    const ListeningSocket listening(Path());
    EXPECT_EQ(listening.Place(), Path());
    EXPECT_FALSE(listening.Accept().IsOpen());
    EXPECT_EQ(errno, EAGAIN);
    const auto program = MakeSocket(SOCK_SEQPACKET);
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

TEST_F(ListeningSocketTest, DoesNotTakeThePlaceOfOneThatIsServed)
{
    const ListeningSocket listening(Path());
    EXPECT_THAT(Rejection(Path()), Pair(Status::InUse, "another program serves " + Path()));
    const auto stream = MakeSocket(SOCK_STREAM); // of another kind of program
    EXPECT_EQ(At(bind, stream, Path("stream")), 0);
    EXPECT_EQ(listen(stream.Number(), 1), 0);
    EXPECT_THAT(Rejection(Path("stream")), Pair(Status::InUse, "another program serves " + Path("stream")));
}

TEST_F(ListeningSocketTest, TakesThePlaceOfADeadOne)
{
    {
        const auto dead = MakeSocket(SOCK_SEQPACKET);
        EXPECT_EQ(At(bind, dead, Path()), 0);
    }
    EXPECT_TRUE(std::filesystem::exists(Path()));
    const ListeningSocket listening(Path());
    EXPECT_EQ(At(connect, MakeSocket(SOCK_SEQPACKET), Path()), 0);
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
