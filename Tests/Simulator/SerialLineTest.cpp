// The co-processor's end of a serial port; a pseudo-terminal stands for the port.

#include "SerialLine.h"

#include "System/Descriptor.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <stdexcept>

using Knx::Bytes;
using Simulator::SerialLine;

namespace
{

// What a terminal would translate, echo, swallow or take for a signal.
const Bytes Difficult{0x03, 0x0A, 0x0D, 0x11, 0x13, 0x1A, 0x7F, 0xFF, 0x00};

class SerialPort : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(otherEnd.IsOpen());
        ASSERT_EQ(grantpt(otherEnd.Number()), 0);
        ASSERT_EQ(unlockpt(otherEnd.Number()), 0);
        std::array<char, 64> text{};
        ASSERT_EQ(ptsname_r(otherEnd.Number(), text.data(), text.size()), 0);
        name = text.data();
    }

    static void AwaitInput(int descriptor)
    {
        constexpr int patience = 10'000; // ms
        pollfd entry{descriptor, POLLIN, 0};
        ASSERT_EQ(poll(&entry, 1, patience), 1);
    }

    const System::Descriptor otherEnd{posix_openpt(O_RDWR | O_NOCTTY)};
    std::string name;
};

TEST_F(SerialPort, CarriesEveryByteUnchangedToTheOtherEnd)
{
    SerialLine line(name);
    ASSERT_EQ(line.Write(Difficult.data(), Difficult.size()), Difficult.size());
    AwaitInput(otherEnd.Number());
    Bytes received(100);
    received.resize(static_cast<std::size_t>(read(otherEnd.Number(), received.data(), received.size())));
    EXPECT_EQ(received, Difficult);
}

TEST_F(SerialPort, CarriesEveryByteUnchangedFromTheOtherEnd)
{
    SerialLine line(name);
    ASSERT_EQ(write(otherEnd.Number(), Difficult.data(), Difficult.size()), static_cast<ssize_t>(Difficult.size()));
    AwaitInput(line.Descriptor());
    EXPECT_EQ(line.Read(), Difficult);
}

TEST_F(SerialPort, ReadsNothingWithoutWaitingWhenNothingHasArrived)
{
    SerialLine line(name);
    EXPECT_EQ(line.Read(), Bytes{});
}

TEST_F(SerialPort, LosesWhatCameBeforeTheCoProcessorWasThere)
{
    // Held open, as a cable keeps the port: what arrives waits there.
    const System::Descriptor held(open(name.c_str(), O_RDWR | O_NOCTTY));
    termios settings{};
    tcgetattr(held.Number(), &settings);
    cfmakeraw(&settings);
    tcsetattr(held.Number(), TCSANOW, &settings);
    ASSERT_EQ(write(otherEnd.Number(), "old", 3), 3);
    AwaitInput(held.Number());
    SerialLine line(name);
    EXPECT_EQ(line.Read(), Bytes{});
}

TEST_F(SerialPort, IsRefusedWhenItIsNoTerminal)
{
    EXPECT_THROW(SerialLine("/dev/null"), std::runtime_error);
    EXPECT_THROW(SerialLine("/dev/nothing"), std::runtime_error);
}

} // namespace
