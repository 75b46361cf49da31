#include "SerialLine.h"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace Simulator
{

SerialLine::SerialLine()
{
    std::array<char, 64> name{};
    coProcessorEnd = open("/dev/ptmx", O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (coProcessorEnd == -1 || grantpt(coProcessorEnd) == -1 || unlockpt(coProcessorEnd) == -1 ||
        ptsname_r(coProcessorEnd, name.data(), name.size()) != 0)
    {
        throw std::runtime_error(std::string("cannot make a pseudo-terminal for the serial line: ") + strerror(errno));
    }
    device = name.data();
    linuxEnd = open(device.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (linuxEnd == -1)
    {
        throw std::runtime_error("cannot open " + device + ": " + strerror(errno));
    }
    // Nothing is echoed or translated, not even before the driver has set the line up.
    termios settings{};
    tcgetattr(linuxEnd, &settings);
    cfmakeraw(&settings);
    tcsetattr(linuxEnd, TCSANOW, &settings);
}

SerialLine::SerialLine(const std::string& port)
    : coProcessorEnd(open(port.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC))
{
    termios settings{};
    if (coProcessorEnd == -1 || tcgetattr(coProcessorEnd, &settings) == -1)
    {
        const int error = errno;
        if (coProcessorEnd != -1)
        {
            close(coProcessorEnd);
        }
        throw std::runtime_error("cannot use the serial port " + port + ": " + strerror(error));
    }
    // 115200 baud, 8 bits, even parity, 1 stop bit, no handshake.
    cfmakeraw(&settings);
    settings.c_cflag &= ~static_cast<tcflag_t>(CSTOPB | PARODD | CRTSCTS);
    settings.c_cflag |= CREAD | CLOCAL | PARENB;
    cfsetspeed(&settings, B115200);
    tcsetattr(coProcessorEnd, TCSANOW, &settings);
    tcflush(coProcessorEnd, TCIOFLUSH); // it had not booted yet
}

SerialLine::~SerialLine()
{
    close(linuxEnd);
    close(coProcessorEnd);
}

Bytes SerialLine::Read()
{
    std::array<uint8_t, 4096> buffer{};
    const ssize_t received = read(coProcessorEnd, buffer.data(), buffer.size());
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
    const ssize_t written = write(coProcessorEnd, data, size);
    return written > 0 ? static_cast<std::size_t>(written) : 0;
}

void SerialLine::SetPlugged(bool plugged)
{
    connected = plugged;
}

} // namespace Simulator
