#pragma once

#include "CoProcessor.h"
#include "EventLog.h"
#include "KernelFiles.h"
#include "SerialLine.h"

#include <filesystem>
#include <string>
#include <vector>

namespace Simulator
{

/// The simulated board: what the daemon finds in "/dev" and "/sys/class", and the co-processor behind it.
///
/// Lives in the namespaces of the calling process, which must be its own (EnterNamespaces). While it exists, every program
/// in them sees "/dev/uleds", "/dev/ttymxc2", "/sys/class/gpio", "/sys/class/leds" and what the links in these lead to in
/// "/sys/devices". One board at a time in a process.
class Board
{
public:
    /// `resetGpio` is the pin that the co-processor's reset is wired to.
    /// Throws std::runtime_error with one line that says what the machine lacks.
    Board(EventLog& eventLog, int resetGpio);
    ~Board();

    Board(const Board&) = delete;
    Board& operator=(const Board&) = delete;

    CoProcessor& TheCoProcessor()
    {
        return coProcessor;
    }

    KernelFiles& Files()
    {
        return *files;
    }

private:
    void Build(int resetGpio);
    void TakeDown();

    SerialLine line;
    CoProcessor coProcessor;
    std::unique_ptr<KernelFiles> files;
    std::vector<std::filesystem::path> mounts; // in the order in which they were made
};

} // namespace Simulator
