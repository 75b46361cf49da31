#include "BareBoard.h"

#include "Overlay.h"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

namespace
{

// This end of the terminal stands for the LEDs. It passes on everything unchanged.
System::Descriptor OpenRaw(const std::string& path)
{
    System::Descriptor line(open(path.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));
    termios settings{};
    if (!line.IsOpen() || tcgetattr(line.Number(), &settings) == -1)
    {
        throw std::runtime_error("cannot use the terminal " + path);
    }
    cfmakeraw(&settings);
    tcsetattr(line.Number(), TCSANOW, &settings);
    return line;
}

} // namespace

BareBoard::BareBoard()
    : terminal(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC))
{
    if (!terminal.IsOpen() || unlockpt(terminal.Number()) == -1)
    {
        throw std::runtime_error("cannot open a terminal");
    }
    const std::string path = ptsname(terminal.Number());
    line = OpenRaw(path);

    Simulator::CoverDirectory("/dev");
    Simulator::CoverDirectory("/sys/class");
    Simulator::BindMount(path, "/dev/uleds");
    const std::filesystem::path pins = "/dev/orvel-gpio";
    std::filesystem::create_directories(pins / "gpio3");
    for (const char* const file : {"export", "gpio3/direction", "gpio3/value"})
    {
        std::ofstream{pins / file};
    }
    Simulator::BindMount(pins, "/sys/class/gpio");
    drain = std::thread(&BareBoard::Drain, this);
}

BareBoard::~BareBoard()
{
    line.Close();
    drain.join();
}

// Each daemon's output at its start would fill the terminal after some seventy daemons. Ends when nobody has the line
// open any more.
void BareBoard::Drain() const
{
    std::array<char, 4096> block{};
    while (read(terminal.Number(), block.data(), block.size()) > 0)
    {
    }
}
