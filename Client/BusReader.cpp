#include "BusReader.h"

#include <poll.h>

#include <array>
#include <chrono>
#include <utility>

namespace OrvelClient
{

namespace
{

// Between two looks at whether the other side is still there, or there again: a queue does not tell.
constexpr std::chrono::milliseconds Glance{250};

} // namespace

BusReader::BusReader(Bus& openedBus, const StopSignals& stopSignals, const Output& watchedOutput, Tell tellPerson)
    : bus(openedBus)
    , stop(stopSignals)
    , output(watchedOutput)
    , tell(std::move(tellPerson))
{
    tell(bus.Remark());
}

std::optional<Bytes> BusReader::Next()
{
    for (;;)
    {
        const int watched = needsReader ? output.Descriptor() : -1; // poll looks at none below 0
        std::array<pollfd, 3> set{{{bus.Descriptor(), POLLIN, 0}, {stop.Descriptor(), POLLIN, 0}, {watched, 0, 0}}};
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
        tell(bus.Loss() + "; " + bus.Wait());
    }
    if (bus.IsOpen())
    {
        return;
    }
    try
    {
        bus.Open();
        tell(bus.Name() + " is there again");
    }
    catch (const NotServed&)
    {
        // The service manager's socket is there before the next gateway. As long as it takes.
    }
    catch (const Failure& failure)
    {
        // A signal is still there for the next wait.
        if (failure.ExitStatus() != Status::NotThere && failure.ExitStatus() != Status::Interrupted)
        {
            throw;
        }
    }
}

} // namespace OrvelClient
