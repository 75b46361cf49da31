// A standard output that is not what the daemon needs.

#include "BenchKit/OnBoard.h"
#include "BenchKit/Paths.h"

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
    start.environment = {{"LD_LIBRARY_PATH", Paths::StandInLibrary()}};
    start.standardOutput = standardOutput;
    return start;
}

TEST_F(Output, ThatNobodyReadsStopsTheDaemonAlsoForSigint)
{
    System::Pipe pipe;
    const int capacity = fcntl(pipe.writing.Number(), F_SETPIPE_SZ, 4096);
    System::Process daemon(Command({Daemon::Program()}, pipe.writing.Number()));
    pipe.writing.Close();
    const Queue toLink("/cemiToLL", Queue::For::Writing);
    constexpr int aLine = 160;
    const auto isStuck = [&]
    {
        while (toLink.Send({1})) // no frame: a line each
        {
        }
        int waiting = 0;
        ioctl(pipe.reading.Number(), FIONREAD, &waiting);
        return waiting > capacity - aLine;
    };
    ASSERT_TRUE(Await(isStuck));

    daemon.Signal(SIGINT);
    pollfd end{daemon.Descriptor(), POLLIN, 0};
    EXPECT_EQ(poll(&end, 1, 1000), 0); // ms; two periods are enough for one that is read

    std::array<char, 4096> buffer{};
    while (read(pipe.reading.Number(), buffer.data(), buffer.size()) > 0)
    {
    }
    EXPECT_EQ(daemon.Wait(), 0);
}

TEST_F(Output, ThatNobodyCanReadAnyMoreEndsTheDaemonWithItsNextLineAndStatus141)
{
    System::Pipe pipe;
    pipe.reading.Close();
    System::Process daemon(Command({Daemon::Program()}, pipe.writing.Number()));
    pipe.writing.Close();
    EXPECT_EQ(daemon.Wait(), 141);
}

TEST_F(Output, InAFileThatMayNotGrowEndsTheDaemonWithItsNextLineAndStatus153)
{
    std::string file = (std::filesystem::temp_directory_path() / "orvel-test-XXXXXX").string();
    System::Descriptor descriptor(mkostemp(file.data(), O_CLOEXEC));
    ASSERT_TRUE(descriptor.IsOpen());
    System::Process daemon(
        Command({"/bin/sh", "-c", "ulimit -f 0; exec \"$0\"", Daemon::Program()}, descriptor.Number()));
    descriptor.Close();
    EXPECT_EQ(daemon.Wait(), 153);
    EXPECT_EQ(std::filesystem::file_size(file), 0U);
    std::filesystem::remove(file);
}

} // namespace
