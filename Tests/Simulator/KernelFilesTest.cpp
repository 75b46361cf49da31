#include "KernelFiles.h"

#include "MountedFiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <linux/capability.h>
#include <poll.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

using namespace MountedFiles;
using Simulator::KernelFiles;
using Simulator::Operation;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;

namespace
{

class MountedTree : public Mounted
{
};

TEST_F(MountedTree, ListsWhatThereIs)
{
    const Handle led(At("uleds"));
    ASSERT_EQ(led.Register("system"), RecordSize);
    ASSERT_EQ(WriteTo(At("class/gpio/export"), "31"), 0);
    EXPECT_THAT(Names(directory.path), UnorderedElementsAre("uleds", "class", "devices"));
    EXPECT_THAT(Names(At("class/gpio")), UnorderedElementsAre("export", "unexport", "gpiochip0", "gpio31"));
    EXPECT_THAT(Names(At("class/leds")), UnorderedElementsAre("system"));
    EXPECT_THAT(Names(At("devices/virtual/misc/uleds")),
                UnorderedElementsAre("system", "power", "subsystem", "uevent"));
}

TEST_F(MountedTree, ListsADirectoryOfManyEntriesWhole)
{
    for (int pin = 0; pin < 32; ++pin)
    {
        ASSERT_EQ(WriteTo(At("class/gpio/export"), std::to_string(pin)), 0);
    }
    std::vector<std::unique_ptr<Handle>> leds;
    for (int led = 0; led < 200; ++led) // more than fit into one answer
    {
        leds.push_back(std::make_unique<Handle>(At("uleds")));
        ASSERT_EQ(leds.back()->Register(std::string(40, 'x') + std::to_string(led)), RecordSize);
    }
    EXPECT_EQ(Names(At("class/gpio")).size(), 35U);
    EXPECT_EQ(Names(At("class/leds")).size(), 200U);
}

TEST_F(MountedTree, HasTheModesSizesAndOwnerOfTheRealFiles)
{
    const Handle led(At("uleds"));
    ASSERT_EQ(led.Register("system"), RecordSize);
    ASSERT_EQ(WriteTo(At("class/gpio/export"), "3"), 0);
    for (const auto& [path, mode] : {std::pair("uleds", 0100600),
                                     {"class/gpio/export", 0100200},
                                     {"class/gpio/unexport", 0100200},
                                     {"class/gpio/gpio3/direction", 0100644},
                                     {"class/gpio/gpio3/value", 0100644},
                                     {"class/gpio/gpio3/active_low", 0100644},
                                     {"class/gpio/gpio3/edge", 0100644},
                                     {"class/leds/system/brightness", 0100644},
                                     {"class/leds/system/max_brightness", 0100444},
                                     {"class/gpio", 0040755},
                                     {"class/gpio/gpio3", 0040755},
                                     {"class/leds/system", 0040755}})
    {
        struct stat attributes
        {
        };
        ASSERT_EQ(stat(At(path).c_str(), &attributes), 0) << path;
        EXPECT_EQ(attributes.st_mode, static_cast<mode_t>(mode)) << path;
        EXPECT_EQ(attributes.st_uid, geteuid()) << path;
        EXPECT_EQ(attributes.st_size, S_ISDIR(attributes.st_mode) ? 0 : 4096) << path;
    }
}

TEST_F(MountedTree, LetsNobodyCreateAFile)
{
    EXPECT_EQ(File(At("class/gpio/new"), O_WRONLY | O_CREAT | O_TRUNC).error, EACCES);
    EXPECT_EQ(File(At("class/gpio/gpio3/direction"), O_WRONLY | O_CREAT | O_TRUNC).error, ENOENT);
    EXPECT_EQ(File(At("class/leds/none/brightness"), O_WRONLY | O_CREAT | O_TRUNC).error, ENOENT);
    EXPECT_EQ(File(At("class/gpio/new"), O_WRONLY).error, ENOENT);
}

TEST_F(MountedTree, OpensNothingForWhatNobodyMayDo)
{
    const Handle led(At("uleds"));
    ASSERT_EQ(led.Register("system"), RecordSize);
    EXPECT_EQ(File(At("class/gpio/export"), O_RDONLY).error, EACCES);
    EXPECT_EQ(File(At("class/gpio/export"), O_RDWR).error, EACCES);
    EXPECT_EQ(File(At("class/leds/system/max_brightness"), O_WRONLY).error, EACCES);
}

TEST_F(MountedTree, AcceptsATruncationWithoutEffect)
{
    ASSERT_EQ(WriteTo(At("class/gpio/export"), "3"), 0);
    EXPECT_EQ(truncate(At("class/gpio/gpio3/value").c_str(), 0), 0);
    EXPECT_EQ(ReadFrom(At("class/gpio/gpio3/value")), "1\n");
}

TEST_F(MountedTree, LetsAnotherUserInByTheModeAlone)
{
    constexpr uid_t Other = 1;
    const Handle led(At("uleds"));
    ASSERT_EQ(led.Register("system"), RecordSize);
    const auto writeAsOther = [this]
    {
        Child other([this] { return setuid(Other) == -1 ? 255 : SetBrightness("system", "7"); });
        return other.Wait();
    };
    const int before = writeAsOther();
    if (before == 255)
    {
        GTEST_SKIP() << "an ordinary user's board knows one user only";
    }
    EXPECT_EQ(before, EACCES);
    EXPECT_EQ(chmod(At("class/leds/system/brightness").c_str(), 0666), 0);
    EXPECT_EQ(writeAsOther(), 0);
    EXPECT_EQ(chmod(At("class/leds/system/brightness").c_str(), 0644), 0);
    EXPECT_EQ(writeAsOther(), EACCES);
    EXPECT_EQ(chown(At("class/leds/system/brightness").c_str(), Other, static_cast<gid_t>(-1)), 0);
    EXPECT_EQ(writeAsOther(), 0);
}

TEST_F(MountedTree, ALinkIsGoneWithWhatItLedTo)
{
    Handle led(At("uleds"));
    ASSERT_EQ(led.Register("system"), RecordSize);
    const fs::path place = At("class/leds/system");
    EXPECT_EQ(fs::read_symlink(place), "../../devices/virtual/misc/uleds/system");
    led.Close();
    EXPECT_TRUE(Await([&] { return !fs::is_symlink(place); }));
    EXPECT_FALSE(fs::exists(At("devices/virtual/misc/uleds/system")));
}

TEST_F(MountedTree, ReadsAFileInPiecesToItsEnd)
{
    ASSERT_EQ(WriteTo(At("class/gpio/export"), "3"), 0);
    const File file(At("class/gpio/gpio3/direction"), O_RDONLY);
    std::string text(2, ' ');
    EXPECT_EQ(read(file.descriptor.Number(), text.data(), 2), 2);
    EXPECT_EQ(text, "in");
    EXPECT_EQ(read(file.descriptor.Number(), text.data(), 2), 1);
    EXPECT_EQ(read(file.descriptor.Number(), text.data(), 2), 0);
    EXPECT_EQ(pread(file.descriptor.Number(), text.data(), 2, 0), 2);
}

class Mounting : public Mounted
{
};

std::size_t Count(const fs::path& path)
{
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(path), fs::directory_iterator()));
}

std::size_t Mounts()
{
    std::ifstream mounts("/proc/self/mountinfo");
    return static_cast<std::size_t>(std::count(std::istreambuf_iterator<char>(mounts), {}, '\n'));
}

TEST(MountingOften, LeavesNoThreadNoDescriptorAndNoMount)
{
    const Directory directory;
    static_cast<void>(KernelFiles(directory.path)); // a sanitizer starts a thread of its own with the first one
    const auto descriptors = Count("/proc/self/fd");
    const auto threads = Count("/proc/self/task");
    const auto mounts = Mounts();
    for (int round = 0; round < 100; ++round)
    {
        const KernelFiles files(directory.path);
        if (round % 2 == 0) // every other time it ends before it is used
        {
            const Handle handle(directory.path / "uleds");
            ASSERT_EQ(handle.Register("led"), RecordSize);
        }
        ASSERT_EQ(Mounts(), mounts + 1);
    }
    EXPECT_EQ(Mounts(), mounts);
    EXPECT_EQ(Count("/proc/self/fd"), descriptors);
    // A thread that has been joined can still be on its way out: one of these, and one that was counted at first.
    EXPECT_TRUE(Await([&] { return Count("/proc/self/task") <= threads; }));
    EXPECT_THAT(Names(directory.path), IsEmpty());
}

TEST_F(Mounting, TwoAtOnceHaveNothingInCommon)
{
    const Directory other;
    KernelFiles otherFiles(other.path);
    const Handle handle(other.path / "uleds");
    ASSERT_EQ(handle.Register("led"), RecordSize);
    EXPECT_EQ(WriteTo(other.path / "class/gpio/export", "3"), 0);
    EXPECT_TRUE(fs::exists(other.path / "class/leds/led"));
    EXPECT_FALSE(HasLed("led"));
    EXPECT_FALSE(fs::exists(At("class/gpio/gpio3")));
    EXPECT_EQ(WriteTo(At("class/gpio/export"), "3"), 0);
}

TEST_F(Mounting, AProcessThatWaitsInAPollIsLetGoWithAnError)
{
    Child poller(
        [this]
        {
            const Handle handle(At("uleds"));
            handle.Register("led");
            handle.Read();
            return static_cast<int>(handle.Poll(-1, AllEvents));
        });
    ASSERT_TRUE(AwaitCalls(Operation::UledsPoll, 1));
    files.reset();
    EXPECT_NE(poller.Wait() & POLLERR, 0);
}

TEST_F(Mounting, FilesThatAreStillOpenFailWhenTheEndHasCome)
{
    Handle handle(At("uleds"));
    ASSERT_EQ(handle.Register("led"), RecordSize);
    const File pin(At("class/gpio/export"), O_WRONLY);
    files.reset();
    EXPECT_LT(handle.Read(), 0);
    EXPECT_LT(pin.Write("3"), 0);
    EXPECT_NE(handle.Poll(0, AllEvents) & POLLERR, 0);
    handle.Close();
    EXPECT_THAT(LedChanges(), ElementsAre(Pair("led", true), Pair("led", false)));
}

TEST_F(Mounting, AForkedProcessThatKeepsTheConnectionDoesNotHoldUpTheEnd)
{
    const Child holder([] { return pause(); }, Child::Inherits::Everything);
    files.reset();
    EXPECT_THAT(Names(directory.path), IsEmpty());
}

TEST_F(Mounting, EndsAlsoWhenSomebodyElseHasUnmounted)
{
    ASSERT_EQ(umount2(directory.path.c_str(), MNT_DETACH), 0);
    files.reset();
    EXPECT_THAT(Names(directory.path), IsEmpty());
}

TEST_F(Mounting, TheSignalsOfTheProcessAreForItsOtherThreads)
{
    ASSERT_TRUE(fs::exists(At("uleds"))); // the thread answers: it is past its start, when it takes no signals anyway
    int blocking = 0;
    for (const auto& task : fs::directory_iterator("/proc/self/task"))
    {
        blocking += ReadFrom(task.path() / "status").find("SigBlk:\tfffffff") != std::string::npos ? 1 : 0;
    }
    EXPECT_GE(blocking, 1);
}

std::string FailureText(const fs::path& mountPoint)
{
    try
    {
        const KernelFiles files(mountPoint);
        return "no failure";
    }
    catch (const std::runtime_error& failure)
    {
        return failure.what();
    }
}

/// A test that changes what the system looks like has mounts of its own.
class MountingFailure : public testing::Test
{
protected:
    MountingFailure()
    {
        EXPECT_EQ(unshare(CLONE_NEWNS), 0);
    }

    Directory directory;
};

TEST_F(MountingFailure, NamesTheDirectoryThatIsMissing)
{
    const auto descriptors = Count("/proc/self/fd");
    EXPECT_EQ(FailureText(directory.path / "none"),
              "cannot mount a file system at " + (directory.path / "none").string() + ": No such file or directory");
    EXPECT_EQ(Count("/proc/self/fd"), descriptors);
}

TEST_F(MountingFailure, SaysThatTheDeviceIsAbsent)
{
    ASSERT_EQ(mount("tmpfs", "/dev", "tmpfs", 0, nullptr), 0);
    const std::string text = FailureText(directory.path);
    EXPECT_EQ(umount2("/dev", MNT_DETACH), 0);
    EXPECT_THAT(text, HasSubstr("/dev/fuse is absent"));
}

TEST_F(MountingFailure, SaysThatTheDeviceIsNotForYou)
{
    ASSERT_EQ(mount("/dev/fuse", "/dev/fuse", nullptr, MS_BIND, nullptr), 0);
    ASSERT_EQ(mount(nullptr, "/dev/fuse", nullptr, MS_REMOUNT | MS_BIND | MS_NODEV | MS_NOSUID | MS_NOEXEC, nullptr),
              0);
    const std::string text = FailureText(directory.path);
    EXPECT_EQ(umount2("/dev/fuse", MNT_DETACH), 0);
    EXPECT_THAT(text, HasSubstr("/dev/fuse is not readable and writable for you"));
}

TEST_F(MountingFailure, SaysThatMountingNeedsRoot)
{
    Child powerless(
        [this]
        {
            __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
            __user_cap_data_struct capabilities[_LINUX_CAPABILITY_U32S_3]{};
            capabilities[0].effective = 1U << CAP_DAC_OVERRIDE; // opens the device, whose ever it is
            capabilities[0].permitted = capabilities[0].effective;
            syscall(SYS_capset, &header, capabilities);
            return FailureText(directory.path).find("needs root") != std::string::npos ? 0 : 1;
        });
    EXPECT_EQ(powerless.Wait(), 0);
}

} // namespace
