#include "RealBoard.h"

#include "Overlay.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace
{

constexpr const char* SerialDevice = "/dev/ttymxc2";

// A killed process leaves its queues behind.
void RemoveQueues()
{
    for (const auto& queue : std::filesystem::directory_iterator("/dev/mqueue"))
    {
        std::filesystem::remove(queue);
    }
}

void UnexportPins()
{
    for (int pin = 0; pin < Simulator::Gpio::PinCount; ++pin)
    {
        const std::filesystem::path directory = "/sys/class/gpio/gpio" + std::to_string(pin);
        if (std::filesystem::exists(directory))
        {
            std::ofstream(directory / "direction") << "in"; // an output would stay one
            std::ofstream("/sys/class/gpio/unexport") << pin;
        }
    }
}

} // namespace

RealBoard::RealBoard(Simulator::EventLog& eventLog, int resetGpio)
    : coProcessor(line, eventLog, resetGpio)
{
    for (const char* const needed : {"/dev/uleds", "/sys/class/gpio/export", "/dev/mqueue"})
    {
        if (!std::filesystem::exists(needed))
        {
            throw std::runtime_error(std::string("this kernel has no ") + needed);
        }
    }
    Simulator::BindMount(line.Device(), SerialDevice);
    UnexportPins();
    RemoveQueues();
}

RealBoard::~RealBoard()
{
    UnexportPins();
    RemoveQueues();
    Simulator::Unmount(SerialDevice);
}

Simulator::CoProcessor& RealBoard::TheCoProcessor()
{
    return coProcessor.TheCoProcessor();
}

std::vector<Simulator::PinChange> RealBoard::PinChanges()
{
    return Trace().Changes();
}

void RealBoard::StartPinsAnew()
{
    UnexportPins();
    Trace().Forget();
}

std::vector<std::string> RealBoard::GpioWrites()
{
    return {};
}

Simulator::FaultPlan* RealBoard::Faults()
{
    return nullptr;
}

GpioTrace& RealBoard::Trace()
{
    return coProcessor.Trace();
}

std::unique_ptr<TestBoard> TestBoard::Make(Simulator::EventLog& events, int resetGpio)
{
    return std::make_unique<RealBoard>(events, resetGpio);
}
