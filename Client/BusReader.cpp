#include "BusReader.h"

#include "Failure.h"

#include <poll.h>

#include <array>
#include <chrono>

namespace OrvelClient
{

namespace
{

// Between two looks at whether the other side is still there, or there again: a queue does not tell.
constexpr std::chrono::milliseconds Glance{250};

} // namespace

BusReader::BusReader(Bus& openedBus, const StopSignals& stopSignals, const Output& watchedOutput)
    : bus(openedBus)
    , stop(stopSignals)
    , output(watchedOutput)
{
    Notice(output, bus.Remark());
}

std::optional<Bytes> BusReader::Next()
{
    for (;;)
    {
        std::array<pollfd, 3> set{
            {{bus.Descriptor(), POLLIN, 0}, {stop.Descriptor(), POLLIN, 0}, {output.Descriptor(), 0, 0}}};
        const int result = poll(set.data(), set.size(), static_cast<int>(Glance.count()));
        if (set[1].revents != 0 || set[2].revents != 0)
        {
            return std::nullopt;
        }
        if (result > 0)
        {
            if (auto message = bus.Receive())
            {
                return message;
            }
        }
        Look();
    }
}

void BusReader::Look()
{
    if (bus.IsOpen() && bus.IsRemoved())
    {
        bus.Close();
        Notice(output, bus.Loss());
    }
    if (bus.IsOpen())
    {
        return;
    }
    try
    {
        bus.Open();
        Notice(output, bus.Name() + " is there again");
    }
    catch (const Failure& failure)
    {
        if (failure.ExitStatus() != Status::NotThere)
        {
            throw;
        }
    }
}

} // namespace OrvelClient
