// A standard output that is not what the daemon needs.

#include "OnBoard.h"

#include "System/Process.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <filesystem>

namespace
{

using Output = OnBoard;

System::Process::Start Command(std::vector<std::string> command, int standardOutput)
{
    System::Process::Start start;
    start.command = std::move(command);
    start.environment = {{"LD_LIBRARY_PATH", STAND_IN_LIBRARY}};
    start.standardOutput = standardOutput;
    return start;
}

TEST_F(Output, ThatNobodyReadsStopsTheDaemonAlsoForSigint)
{
    std::array<int, 2> pipe{};
    ASSERT_EQ(pipe2(pipe.data(), O_CLOEXEC), 0);
    const int capacity = fcntl(pipe[1], F_SETPIPE_SZ, 4096);
    System::Process daemon(Command({Daemon::Program()}, pipe[1]));
    close(pipe[1]);
    const Queue toLink("/cemiToLL", Queue::For::Writing);
    constexpr int aLine = 160;
    const auto isStuck = [&]
    {
        while (toLink.Send({1})) // no frame: a line each
        {
        }
        int waiting = 0;
        ioctl(pipe[0], FIONREAD, &waiting);
        return waiting > capacity - aLine;
    };
    ASSERT_TRUE(Await(isStuck));

    daemon.Signal(SIGINT);
    pollfd end{daemon.Descriptor(), POLLIN, 0};
    EXPECT_EQ(poll(&end, 1, 1000), 0); // ms; two periods are enough for one that is read

    std::array<char, 4096> buffer{};
    while (read(pipe[0], buffer.data(), buffer.size()) > 0)
    {
    }
    close(pipe[0]);
    EXPECT_EQ(daemon.Wait(), 0);
}

TEST_F(Output, ThatNobodyCanReadAnyMoreEndsTheDaemonWithItsNextLineAndStatus141)
{
    std::array<int, 2> pipe{};
    ASSERT_EQ(pipe2(pipe.data(), O_CLOEXEC), 0);
    close(pipe[0]);
    System::Process daemon(Command({Daemon::Program()}, pipe[1]));
    close(pipe[1]);
    EXPECT_EQ(daemon.Wait(), 141);
}

TEST_F(Output, InAFileThatMayNotGrowEndsTheDaemonWithItsNextLineAndStatus153)
{
    std::string file = (std::filesystem::temp_directory_path() / "orvel-test-XXXXXX").string();
    const int descriptor = mkostemp(file.data(), O_CLOEXEC);
    ASSERT_NE(descriptor, -1);
    System::Process daemon(Command({"/bin/sh", "-c", "ulimit -f 0; exec \"$0\"", Daemon::Program()}, descriptor));
    close(descriptor);
    EXPECT_EQ(daemon.Wait(), 153);
    EXPECT_EQ(std::filesystem::file_size(file), 0U);
    std::filesystem::remove(file);
}

} // namespace
