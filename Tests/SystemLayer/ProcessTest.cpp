#include "System/Process.h"

#include "BenchKit/Await.h"

#include <gmock/gmock.h>

#include <poll.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>

using System::Process;
using testing::ThrowsMessage;
using namespace std::chrono_literals;

namespace
{

Process::Start Shell(const std::string& script)
{
    Process::Start start;
    start.command = {"sh", "-c", script};
    return start;
}

std::string ReadToEnd(const System::Descriptor& descriptor)
{
    std::string text;
    std::array<char, 4096> buffer{};
    for (ssize_t size = 0; (size = read(descriptor.Number(), buffer.data(), buffer.size())) > 0;)
    {
        text.append(buffer.data(), static_cast<std::size_t>(size));
    }
    return text;
}

bool AwaitReadable(int descriptor)
{
    pollfd entry{descriptor, POLLIN, 0};
    return poll(&entry, 1, PatienceMilliseconds) == 1;
}

TEST(Process, EndsWithItsExitStatusOrWithTheSignalThatKilledIt)
{
    EXPECT_EQ(Process(Shell("exit 3")).Wait(), 3);
    EXPECT_EQ(Process(Shell("kill -KILL $$")).Wait(), 128 + SIGKILL);
}

TEST(Process, GetsArgumentsEnvironmentInputAndOutput)
{
    System::Pipe input;
    System::Pipe output;
    Process::Start start;
    start.command = {"sh", "-c", "cat; echo \"$1 $NAME\" >&2", "sh", "an argument"};
    start.environment = {{"NAME", "with an environment"}};
    start.standardInput = input.reading.Number();
    start.standardOutput = output.writing.Number();
    Process process(start);
    output.writing.Close();
    EXPECT_EQ(write(input.writing.Number(), "input, ", 7), 7);
    input.writing.Close();
    EXPECT_EQ(ReadToEnd(output.reading), "input, an argument with an environment\n");
    EXPECT_EQ(process.Wait(), 0);
}

TEST(Process, CanBeAwaitedInPollAndStopped)
{
    Process process(Shell("exec sleep 600"));
    pollfd entry{process.Descriptor(), POLLIN, 0};
    EXPECT_EQ(poll(&entry, 1, 0), 0);
    process.Signal(SIGTERM);
    EXPECT_TRUE(AwaitReadable(process.Descriptor()));
    EXPECT_EQ(process.Wait(), 128 + SIGTERM);
    EXPECT_EQ(process.Wait(), 128 + SIGTERM);
    process.Signal(SIGTERM); // to nobody
}

TEST(Process, IsKilledWithItsOwner)
{
    pid_t id = -1;
    {
        const Process process(Shell("exec sleep 600"));
        id = process.Id();
        EXPECT_EQ(kill(id, 0), 0);
    }
    EXPECT_EQ(kill(id, 0), -1);
}

TEST(Process, RunsNoLongerThanTheProgramThatStartedIt)
{
    System::Pipe pipe;
    const pid_t parent = fork();
    if (parent == 0)
    {
        const Process process(Shell("exec sleep 600"));
        const pid_t id = process.Id();
        static_cast<void>(write(pipe.writing.Number(), &id, sizeof(id)) == -1);
        pause();
    }
    pid_t id = -1;
    ASSERT_EQ(read(pipe.reading.Number(), &id, sizeof(id)), sizeof(id));
    const System::Descriptor orphan(static_cast<int>(syscall(SYS_pidfd_open, id, 0)));
    ASSERT_TRUE(orphan.IsOpen());
    kill(parent, SIGKILL);
    waitpid(parent, nullptr, 0);
    EXPECT_TRUE(AwaitReadable(orphan.Number()));
}

TEST(Process, TakesSignalsAsUsualAndNoneOfTheTerminal)
{
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    sigprocmask(SIG_SETMASK, &all, &before);
    const auto handler = std::signal(SIGINT, SIG_IGN);
    Process blocked(Shell("kill -TERM $$; exec sleep 600"));
    Process ignored(Shell("kill -INT $$; exec sleep 600"));
    std::signal(SIGINT, handler);
    sigprocmask(SIG_SETMASK, &before, nullptr);
    EXPECT_EQ(getpgid(ignored.Id()), ignored.Id()); // Ctrl-C is for the group of the terminal
    EXPECT_EQ(blocked.Wait(), 128 + SIGTERM);
    EXPECT_EQ(ignored.Wait(), 128 + SIGINT);
}

TEST(Process, RunsOnlyOnceEverythingIsDoneForIt)
{
    const auto program = [](pid_t id)
    {
        std::error_code ignored;
        return std::filesystem::read_symlink("/proc/" + std::to_string(id) + "/exe", ignored);
    };
    const auto own = program(getpid());
    bool waits = false;
    Process::Start start = Shell("exit 0");
    start.beforeExec = [&](pid_t id)
    {
        const auto limit = std::chrono::steady_clock::now() + 250ms; // for a program that does not wait
        do
        {
            waits = program(id) == own;
        } while (waits && std::chrono::steady_clock::now() < limit);
    };
    EXPECT_EQ(Process(start).Wait(), 0);
    EXPECT_TRUE(waits);
}

TEST(Process, SaysWhyItCannotBeStarted)
{
    Process::Start start;
    start.command = {"/nowhere"};
    EXPECT_THAT([&] { const Process process(start); },
                ThrowsMessage<std::runtime_error>("cannot start /nowhere: No such file or directory"));
}

TEST(Process, IsReplacedByAProgramUnderAnyName)
{
    const pid_t child = fork();
    if (child == 0)
    {
        System::Execute("sh", {"a name", "-c", "exit 7"});
        _exit(127);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(WEXITSTATUS(status), 7);
}

TEST(Process, IsNotReplacedByAProgramThatIsNotThere)
{
    errno = 0;
    System::Execute("/nowhere", {"nowhere"});
    EXPECT_EQ(errno, ENOENT);
}

} // namespace
