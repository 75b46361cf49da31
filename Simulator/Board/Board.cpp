#include "Board.h"

#include "Overlay.h"

#include <filesystem>

namespace Simulator
{

namespace
{

// In the covered "/dev", where nobody looks and which goes with the namespace.
constexpr const char* FilesDirectory = "/dev/orvel-board";

} // namespace

Board::Board(EventLog& eventLog, int resetGpio)
    : coProcessor(line, eventLog)
{
    try
    {
        Build(resetGpio);
    }
    catch (...)
    {
        TakeDown();
        throw;
    }
}

Board::~Board()
{
    TakeDown();
}

void Board::Build(int resetGpio)
{
    for (const char* const directory : {"/dev", "/sys/class", "/sys/devices/platform", "/sys/devices/virtual/misc"})
    {
        CoverDirectory(directory);
        mounts.emplace_back(directory);
    }

    std::filesystem::create_directory(FilesDirectory);
    KernelFiles::Listeners listeners;
    listeners.onPin = [this, resetGpio](int pin, bool driven, bool high)
    {
        if (pin == resetGpio)
        {
            coProcessor.SetResetLine(!driven || high); // released, a pull-up holds it high
        }
    };
    files = std::make_unique<KernelFiles>(FilesDirectory, listeners);

    const auto show = [this](const std::filesystem::path& source, const std::filesystem::path& target)
    {
        BindMount(source, target);
        mounts.push_back(target);
    };
    const std::filesystem::path directory = FilesDirectory;
    show(directory / "uleds", "/dev/uleds");
    for (const char* const part :
         {"class/gpio", "class/leds", "devices/platform/simulated-gpio", "devices/virtual/misc/uleds"})
    {
        show(directory / part, std::filesystem::path("/sys") / part);
    }
    show(line.Device(), "/dev/ttymxc2");
}

void Board::TakeDown()
{
    // The files first: whoever still waits in one of them is let go.
    files.reset();
    for (; !mounts.empty(); mounts.pop_back())
    {
        Unmount(mounts.back());
    }
}

} // namespace Simulator
