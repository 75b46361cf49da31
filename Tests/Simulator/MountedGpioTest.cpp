#include "MountedFiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>

#include <cerrno>
#include <fstream>
#include <string>
#include <tuple>
#include <vector>

using namespace MountedFiles;
using testing::ElementsAre;

namespace
{

/// The pin 3, exported.
class MountedGpio : public Mounted
{
protected:
    MountedGpio()
    {
        EXPECT_EQ(WriteTo(At("class/gpio/export"), "3"), 0);
    }

    int Write(const std::string& file, const std::string& text) const
    {
        return WriteTo(At("class/gpio/gpio3/" + file), text);
    }

    std::string Read(const std::string& file) const
    {
        return ReadFrom(At("class/gpio/gpio3/" + file));
    }
};

TEST_F(MountedGpio, AnExportedPinHasItsFilesAtOnceAndIsAnInput)
{
    EXPECT_EQ(Read("direction"), "in\n");
    EXPECT_EQ(Read("value"), "1\n");
    EXPECT_EQ(Read("active_low"), "0\n");
    EXPECT_EQ(Read("edge"), "none\n");
}

TEST_F(MountedGpio, ExportingAgainIsBusyAndAStreamFailsAtClose)
{
    EXPECT_EQ(WriteTo(At("class/gpio/export"), "3"), EBUSY);
    std::ofstream stream(At("class/gpio/export"));
    stream << 3;
    EXPECT_TRUE(stream.good());
    stream.close();
    EXPECT_TRUE(stream.fail());
}

TEST_F(MountedGpio, ExportRefusesWhatIsNoPin)
{
    for (const std::string text : {"32", "abc", "-1"})
    {
        EXPECT_EQ(WriteTo(At("class/gpio/export"), text), EINVAL) << text;
    }
}

TEST_F(MountedGpio, APinThatIsNotExportedHasNoDirectory)
{
    EXPECT_EQ(WriteTo(At("class/gpio/gpio4/direction"), "in"), ENOENT);
    EXPECT_EQ(WriteTo(At("class/gpio/gpio99/value"), "1"), ENOENT);
    EXPECT_FALSE(std::ofstream(At("class/gpio/gpio4/direction")).is_open());
}

TEST_F(MountedGpio, APinStaysExportedWhenTheExportingProcessExits)
{
    Child exporter([this] { return WriteTo(At("class/gpio/export"), "5"); });
    EXPECT_EQ(exporter.Wait(), 0);
    EXPECT_TRUE(fs::exists(At("class/gpio/gpio5/direction")));
}

TEST_F(MountedGpio, AnUnexportedPinIsGoneAndCanBeExportedAnew)
{
    Write("direction", "high");
    EXPECT_EQ(WriteTo(At("class/gpio/unexport"), "3\n"), 0);
    EXPECT_FALSE(fs::exists(At("class/gpio/gpio3")));
    EXPECT_EQ(WriteTo(At("class/gpio/unexport"), "3"), EINVAL);
    EXPECT_EQ(WriteTo(At("class/gpio/export"), "3"), 0);
    EXPECT_EQ(Read("direction"), "out\n");
}

TEST_F(MountedGpio, AFileThatIsStillOpenDoesNotReachThePinExportedAnew)
{
    const File old(At("class/gpio/gpio3/direction"), O_WRONLY);
    WriteTo(At("class/gpio/unexport"), "3");
    EXPECT_EQ(old.Write("out"), -ENODEV);
    WriteTo(At("class/gpio/export"), "3");
    EXPECT_EQ(old.Write("out"), -ENODEV);
    EXPECT_EQ(Read("direction"), "in\n");
}

TEST_F(MountedGpio, OutIsAnOutputThatIsLowAlsoWhenItWasHigh)
{
    EXPECT_EQ(Write("direction", "high"), 0);
    EXPECT_EQ(Read("value"), "1\n");
    EXPECT_EQ(Write("direction", "out"), 0);
    EXPECT_EQ(Read("direction"), "out\n");
    EXPECT_EQ(Read("value"), "0\n");
}

TEST_F(MountedGpio, TakesTheWordsForDirectionsAndNoOthers)
{
    EXPECT_EQ(Write("direction", "out\n"), 0);
    EXPECT_EQ(Write("direction", "low"), 0);
    EXPECT_EQ(Write("direction", "OUT"), EINVAL);
    EXPECT_EQ(Write("direction", "out "), EINVAL);
    EXPECT_EQ(Read("direction"), "out\n");
    EXPECT_EQ(Write("direction", "in"), 0);
    EXPECT_EQ(Read("direction"), "in\n");
}

TEST_F(MountedGpio, TheValueOfAnInputCannotBeWritten)
{
    EXPECT_EQ(Write("value", "1"), EPERM);
}

TEST_F(MountedGpio, RefusesValuesThatAreNoNumberAndKeepsTheLevel)
{
    Write("direction", "out");
    for (const std::string text : {"08", " 1", "1 "})
    {
        EXPECT_EQ(Write("value", text), EINVAL) << '"' << text << '"';
    }
    EXPECT_EQ(Read("value"), "0\n");
}

TEST_F(MountedGpio, TheDigitsOfAStreamArriveAsOneWriteWhenItCloses)
{
    std::ofstream(At("class/gpio/gpio3/direction")) << "out";
    std::ofstream stream(At("class/gpio/gpio3/value"));
    stream << 0;
    stream << 1;
    EXPECT_EQ(files->TheGpio().Writes().size(), 2U);
    stream.close();
    EXPECT_FALSE(stream.fail());
    std::ofstream(At("class/gpio/gpio3/direction")) << "in";

    std::vector<std::string> writes;
    for (const auto& write : files->TheGpio().Writes())
    {
        writes.push_back(write.path + " " + write.text);
    }
    EXPECT_THAT(writes, ElementsAre("export 3", "gpio3/direction out", "gpio3/value 01", "gpio3/direction in"));
    EXPECT_THAT(PinChanges(),
                ElementsAre(std::tuple(3, true, false), std::tuple(3, true, true), std::tuple(3, false, true)));
}

TEST_F(MountedGpio, TheListenerHasBeenToldWhenAWriteReturns)
{
    Write("direction", "out");
    EXPECT_THAT(PinChanges(), ElementsAre(std::tuple(3, true, false)));
    Write("value", "1");
    EXPECT_EQ(PinChanges().size(), 2U);
}

TEST_F(MountedGpio, ActiveLowAndEdgeCanBeWritten)
{
    EXPECT_EQ(Write("active_low", "1\n"), 0);
    EXPECT_EQ(Read("value"), "0\n");
    EXPECT_EQ(Write("edge", "rising\n"), 0);
    EXPECT_EQ(Read("edge"), "rising\n");
    EXPECT_EQ(Write("edge", "up"), EINVAL);
}

TEST_F(MountedGpio, TheWritesToOneFileFromOneHandleAreSeparate)
{
    const File file(At("class/gpio/gpio3/direction"), O_WRONLY);
    EXPECT_EQ(file.Write("high"), 4);
    EXPECT_EQ(file.Write("low\n"), 4); // whatever the offset is
    EXPECT_EQ(Read("value"), "0\n");
}

TEST_F(MountedGpio, APollOfAFileDoesNotWait)
{
    const File file(At("class/gpio/gpio3/value"), O_RDONLY);
    pollfd set{file.descriptor.Number(), POLLIN, 0};
    EXPECT_EQ(poll(&set, 1, -1), 1);
    EXPECT_EQ(set.revents, POLLIN);
}

} // namespace
