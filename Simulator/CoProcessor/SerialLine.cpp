#include "SerialLine.h"

#include "System/ThrowErrno.h"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cstdlib>

namespace Simulator
{

SerialLine::SerialLine()
    : coProcessorEnd(open("/dev/ptmx", O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC))
{
    std::array<char, 64> name{};
    if (!coProcessorEnd.IsOpen() || grantpt(coProcessorEnd.Number()) == -1 || unlockpt(coProcessorEnd.Number()) == -1 ||
        ptsname_r(coProcessorEnd.Number(), name.data(), name.size()) != 0)
    {
        System::ThrowErrno("cannot make a pseudo-terminal for the serial line");
    }
    device = name.data();
    linuxEnd = System::Descriptor(open(device.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
    if (!linuxEnd.IsOpen())
    {
        System::ThrowErrno("cannot open " + device);
    }
    // Nothing is echoed or translated, not even before the driver has set the line up.
    termios settings{};
    tcgetattr(linuxEnd.Number(), &settings);
    cfmakeraw(&settings);
    tcsetattr(linuxEnd.Number(), TCSANOW, &settings);
}

SerialLine::SerialLine(const std::string& port)
    : coProcessorEnd(open(port.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC))
{
    termios settings{};
    if (!coProcessorEnd.IsOpen() || tcgetattr(coProcessorEnd.Number(), &settings) == -1)
    {
        System::ThrowErrno("cannot use the serial port " + port);
    }
    // 115200 baud, 8 bits, even parity, 1 stop bit, no handshake.
    cfmakeraw(&settings);
    settings.c_cflag &= ~static_cast<tcflag_t>(CSTOPB | PARODD | CRTSCTS);
    settings.c_cflag |= CREAD | CLOCAL | PARENB;
    cfsetspeed(&settings, B115200);
    tcsetattr(coProcessorEnd.Number(), TCSANOW, &settings);
    tcflush(coProcessorEnd.Number(), TCIOFLUSH); // it had not booted yet
}

Bytes SerialLine::Read()
{
    std::array<uint8_t, 4096> buffer{};
    const ssize_t received = read(coProcessorEnd.Number(), buffer.data(), buffer.size());
    if (received <= 0 || !connected)
    {
        return {};
    }
    return {buffer.begin(), buffer.begin() + received};
}

std::size_t SerialLine::Write(const uint8_t* data, std::size_t size)
{
    if (!connected)
    {
        return size;
    }
    const ssize_t written = write(coProcessorEnd.Number(), data, size);
    return written > 0 ? static_cast<std::size_t>(written) : 0;
}

void SerialLine::SetPlugged(bool plugged)
{
    connected = plugged;
}

} // namespace Simulator
