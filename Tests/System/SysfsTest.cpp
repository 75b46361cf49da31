// The kernel's files as programs see them, the same on the simulated board and on a real kernel.

#include "BenchKit/OnBoard.h"
#include "MountedFiles.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>

using MountedFiles::Names;
using MountedFiles::ReadFrom;
using MountedFiles::WriteTo;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsSupersetOf;
using testing::StartsWith;
using testing::UnorderedElementsAre;

namespace fs = std::filesystem;

namespace
{

/// A board with an LED "light", and with pin 7 exported as an input.
class Sysfs : public OnBoard
{
protected:
    static constexpr mode_t Permissions = 07777;

    Sysfs()
    {
        EXPECT_EQ(light.Register("light"), MountedFiles::RecordSize);
        EXPECT_EQ(WriteTo("/sys/class/gpio/export", "7"), 0);
    }

    ~Sysfs() override
    {
        WriteTo(pin / "direction", "in"); // a real one is there for the next test too
        WriteTo("/sys/class/gpio/unexport", "7");
    }

    int ExportAnew() const
    {
        return WriteTo("/sys/class/gpio/unexport", "7") + WriteTo("/sys/class/gpio/export", "7");
    }

    static struct stat Status(const fs::path& path)
    {
        struct stat status
        {
        };
        EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
        return status;
    }

    const fs::path led = "/sys/class/leds/light";
    const fs::path pin = "/sys/class/gpio/gpio7";
    const fs::path chip = "/sys/class/gpio/gpiochip0";
    const MountedFiles::Handle light{"/dev/uleds"};
};

TEST_F(Sysfs, LinksOfTheClassesLeadIntoTheTreeOfDevices)
{
    EXPECT_TRUE(fs::is_symlink(led));
    EXPECT_EQ(fs::canonical(led), "/sys/devices/virtual/misc/uleds/light");
    EXPECT_EQ(fs::read_symlink(led), "../../devices/virtual/misc/uleds/light");
    for (const fs::path& link : {pin, chip})
    {
        EXPECT_TRUE(fs::is_symlink(link));
        EXPECT_THAT(fs::read_symlink(link).string(), StartsWith("../../devices/platform/"));
        EXPECT_THAT(fs::canonical(link).string(), StartsWith("/sys/devices/platform/"));
        EXPECT_THAT(fs::canonical(link).string(), EndsWith("/gpio/" + link.filename().string()));
    }
}

TEST_F(Sysfs, AnLedHasTheFilesOfItsClass)
{
    EXPECT_THAT(Names(led), UnorderedElementsAre("brightness", "device", "max_brightness", "power", "subsystem",
                                                 "trigger", "uevent"));
    EXPECT_EQ(fs::canonical(led / "subsystem"), "/sys/class/leds");
    EXPECT_EQ(fs::canonical(led / "device"), "/sys/devices/virtual/misc/uleds");
}

TEST_F(Sysfs, APinHasTheFilesOfItsClass)
{
    EXPECT_THAT(Names(pin), UnorderedElementsAre("active_low", "device", "direction", "edge", "power", "subsystem",
                                                 "uevent", "value"));
    EXPECT_EQ(fs::canonical(pin / "subsystem"), "/sys/class/gpio");
    EXPECT_THAT(fs::canonical(pin / "device").string(), EndsWith("/gpiochip0"));
}

TEST_F(Sysfs, TheChipTellsItsNumbers)
{
    EXPECT_THAT(Names(chip), UnorderedElementsAre("base", "device", "label", "ngpio", "power", "subsystem", "uevent"));
    EXPECT_EQ(ReadFrom(chip / "base"), "0\n");
    EXPECT_EQ(ReadFrom(chip / "ngpio"), "32\n");
    EXPECT_THAT(ReadFrom(chip / "label"), HasSubstr("gpio"));
    EXPECT_EQ(fs::canonical(chip / "subsystem"), "/sys/class/gpio");
}

TEST_F(Sysfs, EachDeviceTakesTheEventsThatThereAre)
{
    for (const fs::path& device : {led, pin, chip})
    {
        EXPECT_EQ(WriteTo(device / "uevent", "change\n"), 0) << device;
        EXPECT_EQ(WriteTo(device / "uevent", "nonsense"), EINVAL) << device;
    }
}

TEST_F(Sysfs, AnLedHasNoTriggerAndTakesNone)
{
    EXPECT_EQ(WriteTo(led / "brightness", "5"), 0);
    EXPECT_THAT(ReadFrom(led / "trigger"), StartsWith("[none]"));
    EXPECT_EQ(WriteTo(led / "trigger", "none\n"), 0);
    EXPECT_EQ(WriteTo(led / "trigger", "nonsense"), EINVAL);
    EXPECT_THAT(ReadFrom(led / "trigger"), StartsWith("[none]"));
    EXPECT_EQ(ReadFrom(led / "brightness"), "5\n");
}

TEST_F(Sysfs, TheModeOfAFileCanBeChangedAndIsShown)
{
    for (const fs::path& file :
         {pin / "value", pin / "direction", led / "brightness", led / "trigger", fs::path("/sys/class/gpio/export")})
    {
        const mode_t before = Status(file).st_mode & Permissions;
        EXPECT_EQ(chmod(file.c_str(), before | S_IWGRP), 0) << file;
        EXPECT_EQ(Status(file).st_mode, S_IFREG | before | S_IWGRP) << file;
        EXPECT_EQ(chmod(file.c_str(), before), 0) << file;
    }
}

TEST_F(Sysfs, TheGroupOfAFileCanBeChangedAndIsShown)
{
    constexpr gid_t Group = 1;
    const fs::path file = pin / "value";
    const int error = chown(file.c_str(), static_cast<uid_t>(-1), Group) == -1 ? errno : 0;
    if (error == EINVAL)
    {
        GTEST_SKIP() << "an ordinary user's board knows one group only";
    }
    EXPECT_EQ(error, 0);
    EXPECT_EQ(Status(file).st_gid, Group);
    EXPECT_EQ(Status(file).st_uid, 0U);
    EXPECT_EQ(Status(file).st_mode, S_IFREG | 0644U);
}

TEST_F(Sysfs, NotEvenRootOpensAFileForWhatItsModeForbids)
{
    EXPECT_EQ(chmod((led / "brightness").c_str(), 0444), 0);
    EXPECT_EQ(WriteTo(led / "brightness", "1"), EACCES);
}

TEST_F(Sysfs, AFileTakesNothingByItsModeAlone)
{
    EXPECT_EQ(WriteTo(led / "max_brightness", "1"), EACCES);
    EXPECT_EQ(chmod((led / "max_brightness").c_str(), 0666), 0);
    EXPECT_EQ(WriteTo(led / "max_brightness", "1"), EIO);
}

TEST_F(Sysfs, NothingIsMadeOrRemovedButByTheKernel)
{
    EXPECT_EQ(MountedFiles::File(led / "new", O_WRONLY | O_CREAT).error, EACCES);
    EXPECT_EQ(mkdir((led / "new").c_str(), 0755) == -1 ? errno : 0, EPERM);
    EXPECT_EQ(symlink("brightness", (led / "new").c_str()) == -1 ? errno : 0, EPERM);
    EXPECT_EQ(unlink((led / "brightness").c_str()) == -1 ? errno : 0, EPERM);
    EXPECT_EQ(rmdir((led / "power").c_str()) == -1 ? errno : 0, EPERM);
}

TEST_F(Sysfs, EachDeviceTellsThatItsPowerIsNotManaged)
{
    for (const fs::path& device : {led, pin, chip})
    {
        EXPECT_THAT(Names(device / "power"), IsSupersetOf({"autosuspend_delay_ms", "control", "runtime_active_time",
                                                           "runtime_status", "runtime_suspended_time"}));
        EXPECT_EQ(ReadFrom(device / "power/control"), "auto\n");
        EXPECT_EQ(ReadFrom(device / "power/runtime_status"), "unsupported\n");
        EXPECT_EQ(MountedFiles::Handle(device / "power/autosuspend_delay_ms").ReadBytes(1), -EIO);
    }
}

TEST_F(Sysfs, AChangedModeGoesWithTheFile)
{
    EXPECT_EQ(chmod((pin / "value").c_str(), 0660), 0);
    EXPECT_EQ(ExportAnew(), 0);
    EXPECT_EQ(Status(pin / "value").st_mode, S_IFREG | 0644U);
}

TEST_F(Sysfs, AnOutputHasNoEdge)
{
    EXPECT_EQ(WriteTo(pin / "direction", "out"), 0);
    for (const char* const edge : {"rising", "falling", "both"})
    {
        EXPECT_EQ(WriteTo(pin / "edge", edge), EIO) << edge;
    }
    EXPECT_EQ(WriteTo(pin / "edge", "none"), 0);
    EXPECT_EQ(ReadFrom(pin / "edge"), "none\n");
    EXPECT_EQ(WriteTo(pin / "direction", "in"), 0);
    EXPECT_EQ(WriteTo(pin / "edge", "both"), 0);
    EXPECT_EQ(ReadFrom(pin / "edge"), "both\n");
}

TEST_F(Sysfs, AnEdgeStaysWhenThePinBecomesAnOutputUntilAnotherIsRefused)
{
    EXPECT_EQ(WriteTo(pin / "edge", "rising"), 0);
    EXPECT_EQ(WriteTo(pin / "direction", "out"), 0);
    EXPECT_EQ(ReadFrom(pin / "edge"), "rising\n");
    EXPECT_EQ(WriteTo(pin / "edge", "both"), EIO);
    EXPECT_EQ(ReadFrom(pin / "edge"), "none\n");
}

TEST_F(Sysfs, AnOutputIsStillOneWhenItIsExportedAgainAndLow)
{
    for (const char* const direction : {"high", "low"})
    {
        EXPECT_EQ(WriteTo(pin / "direction", direction), 0);
        EXPECT_EQ(ExportAnew(), 0);
        EXPECT_EQ(ReadFrom(pin / "direction"), "out\n") << direction;
        EXPECT_EQ(ReadFrom(pin / "value"), "0\n") << direction;
    }
    EXPECT_EQ(WriteTo(pin / "direction", "in"), 0);
    EXPECT_EQ(ExportAnew(), 0);
    EXPECT_EQ(ReadFrom(pin / "direction"), "in\n");
}

TEST_F(Sysfs, APinThatIsExportedAgainIsNotActiveLowAndHasNoEdge)
{
    EXPECT_EQ(WriteTo(pin / "active_low", "1"), 0);
    EXPECT_EQ(WriteTo(pin / "edge", "both"), 0);
    EXPECT_EQ(ExportAnew(), 0);
    EXPECT_EQ(ReadFrom(pin / "active_low"), "0\n");
    EXPECT_EQ(ReadFrom(pin / "edge"), "none\n");
}

TEST_F(Sysfs, PseudoTerminalsCanBeMade)
{
    const System::Descriptor terminal(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
    ASSERT_TRUE(terminal.IsOpen());
    EXPECT_EQ(unlockpt(terminal.Number()), 0);
    const char* const name = ptsname(terminal.Number());
    ASSERT_NE(name, nullptr);
    EXPECT_EQ(MountedFiles::File(name, O_RDWR | O_NOCTTY).error, 0) << name;
}

TEST_F(Sysfs, TheQueuesAreListed)
{
    const System::OwnMessageQueue queue("/listed", Queue::For::Reading, 1, 1);
    EXPECT_THAT(Names("/dev/mqueue"), IsSupersetOf({"listed"}));
}

} // namespace
