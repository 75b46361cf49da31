// How a daemon whose LEDs did not come is told from one that only takes its time; a process of the test stands for it.

#include "LedWatch.h"

#include "BenchKit/Await.h"
#include "BenchKit/ProcessFiles.h"
#include "System/Descriptor.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <mqueue.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <string>

using Simulator::LedWatch;

namespace
{

constexpr int Looks = 12; // more than it takes

// Has the bridge's queue, and then waits in the opening of a file until the test opens it too.
class Opener
{
public:
    Opener()
    {
        EXPECT_NE(mkdtemp(directory.data()), nullptr);
        EXPECT_EQ(mkfifo(File().c_str(), S_IRUSR | S_IWUSR), 0);
        id = fork();
        if (id == 0)
        {
            mq_open("/cemiFromLL", O_RDWR | O_CREAT, S_IRUSR | S_IWUSR, nullptr);
            [[maybe_unused]] const int reading = open(File().c_str(), O_RDONLY);
            for (;;)
            {
                pause();
            }
        }
    }

    ~Opener()
    {
        kill(id, SIGKILL);
        waitpid(id, nullptr, 0);
        mq_unlink("/cemiFromLL");
        unlink(File().c_str());
        rmdir(directory.c_str());
    }

    Opener(const Opener&) = delete;
    Opener& operator=(const Opener&) = delete;

    pid_t Id() const
    {
        return id;
    }

    bool IsOpening() const
    {
        std::ifstream file(DirectoryOf(id) / "syscall");
        std::string number;
        file >> number;
        return number == std::to_string(SYS_openat);
    }

    void LetGo()
    {
        end = System::Descriptor(open(File().c_str(), O_WRONLY));
    }

private:
    std::string File() const
    {
        return directory + "/file";
    }

    std::string directory = testing::TempDir() + "led-watch-test-XXXXXX";
    pid_t id = -1;
    System::Descriptor end;
};

TEST(LedWatch, DoesNotGiveUpADaemonThatIsOpeningAFile)
{
    Opener daemon;
    ASSERT_TRUE(Await([&] { return daemon.IsOpening(); }));
    LedWatch watch(daemon.Id());
    for (int look = 0; look < Looks; ++look)
    {
        EXPECT_EQ(watch.Look(), LedWatch::Finding::NotYet);
    }
    daemon.LetGo();
    EXPECT_TRUE(Await([&] { return watch.Look() == LedWatch::Finding::TheyDoNot; }));
}

} // namespace
