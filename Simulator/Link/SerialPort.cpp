#include "SerialPort.h"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>

namespace Simulator
{

bool SerialPort::Open(const std::string& name)
{
    descriptor = System::Descriptor(open(name.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
    if (!descriptor.IsOpen())
    {
        return false;
    }
    if (!Configure())
    {
        Close();
        return false;
    }
    Flush();
    return true;
}

bool SerialPort::Configure()
{
    termios settings{};
    if (tcgetattr(descriptor.Number(), &settings) == -1)
    {
        return false;
    }
    cfmakeraw(&settings); // includes 8 data bits
    settings.c_iflag &= ~static_cast<tcflag_t>(IXOFF);
    settings.c_cflag &= ~static_cast<tcflag_t>(CSTOPB | PARODD | CRTSCTS);
    settings.c_cflag |= CREAD | CLOCAL | PARENB;
    settings.c_cc[VMIN] = 0;
    settings.c_cc[VTIME] = 0;
    cfsetspeed(&settings, B115200);
    if (tcsetattr(descriptor.Number(), TCSANOW, &settings) == 0)
    {
        return true;
    }
    // A pseudo-terminal has no parity bit and drops that setting. Where nothing else had to change, the C library
    // reports this as a failure.
    settings.c_cflag &= ~static_cast<tcflag_t>(PARENB);
    return errno == EINVAL && tcsetattr(descriptor.Number(), TCSANOW, &settings) == 0;
}

void SerialPort::Close()
{
    descriptor.Close();
}

void SerialPort::Flush()
{
    tcflush(descriptor.Number(), TCIOFLUSH);
}

ssize_t SerialPort::Read(uint8_t* data, std::size_t size)
{
    return read(descriptor.Number(), data, size);
}

ssize_t SerialPort::Write(const uint8_t* data, std::size_t size)
{
    return write(descriptor.Number(), data, size);
}

} // namespace Simulator
