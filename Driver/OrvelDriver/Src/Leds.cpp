#include "Leds.h"

#include "Topics.h"

#include <log4cplus/loggingmacros.h>

#include <fcntl.h>
#include <linux/uleds.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

namespace OrvelDriver
{

namespace
{

constexpr int PollTimeout = 250; // ms; bounds how long stopping the worker takes
constexpr short ReadEvents = POLLIN | POLLPRI | POLLRDBAND;
constexpr short ErrorEvents = POLLERR | POLLNVAL; // a hang-up alone is no error
constexpr int MaxBrightness = 100;
constexpr std::size_t TableSize = 5; // the rows that there can be at the most

enum MessageType : uint8_t
{
    LedState = 0x02,
    Rs485TerminationState = 0x0E
};

// The table's rows in the order of registration. The built-in names are not those of the command line's defaults: they
// stand for a key that the map lacks, which the command line never leaves out.
std::vector<VirtualLedDevice> BuiltInRows(bool enableRs485)
{
    std::vector<VirtualLedDevice> rows{
        {"knx1", -1, VirtualLedType::Led, 3, 0},
        {"knx2", -1, VirtualLedType::Led, 4, 1},
        {"pow", -1, VirtualLedType::Led, 2, 2},
        {"tel", -1, VirtualLedType::Led, 1, 3},
    };
    if (enableRs485)
    {
        rows.push_back({"rs485termination", -1, VirtualLedType::Rs485Termination, 1, 4});
    }
    return rows;
}

std::vector<VirtualLedDevice> EmptyTable()
{
    std::vector<VirtualLedDevice> table;
    table.reserve(TableSize);
    return table;
}

} // namespace

Leds::Leds(Nemt::CommHub* hub, std::map<int, std::string> ledNames, bool enableRs485)
    : Leds(hub, BuiltInRows(enableRs485), std::move(ledNames))
{
}

// The worker starts before the table is filled, and nothing but the time that a new thread takes to be scheduled lets it
// find the rows and their configured names. So all that can be done beforehand is: what is left here are a few moves into
// room reserved already.
Leds::Leds(Nemt::CommHub* hub, std::vector<VirtualLedDevice> rows, std::map<int, std::string> ledNames)
    : commHub(hub)
    , devices(EmptyTable())
    , logger(log4cplus::Logger::getInstance("Leds"))
    , thread(&Leds::ThreadFunction, this)
{
    for (VirtualLedDevice& row : rows)
    {
        devices.push_back(std::move(row));
    }
    for (VirtualLedDevice& device : devices)
    {
        if (const auto configured = ledNames.find(device.nameKey); configured != ledNames.end())
        {
            device.name = std::move(configured->second);
        }
    }
}

Leds::~Leds()
{
    if (thread.joinable())
    {
        running = false;
        thread.join();
    }
}

bool Leds::OpenVirtualLedDevice(VirtualLedDevice& device)
{
    uleds_user_dev record{};
    device.name.copy(record.name, sizeof(record.name) - 1); // byte 63 stays zero: new kernels insist on it
    record.max_brightness = MaxBrightness;

    const int fd = open("/dev/uleds", O_RDWR | O_NONBLOCK);
    if (fd == -1)
    {
        const int error = errno;
        LOG4CPLUS_ERROR_FMT(logger, "Failed to open /dev/uleds: %s", strerror(error));
        return false;
    }
    fcntl(fd, F_SETFD, FD_CLOEXEC); // a child that inherited it would keep the LED alive after the daemon
    if (write(fd, &record, sizeof(record)) == -1)
    {
        const int error = errno;
        LOG4CPLUS_ERROR(logger, "Failed to write to /dev/uleds for virtual led device " << device.name << ": "
                                                                                        << strerror(error));
        close(fd);
        return false;
    }
    LOG4CPLUS_DEBUG_FMT(logger, "Created virtual led device %s", device.name.c_str());
    device.fd = fd;
    return true;
}

void Leds::ThreadFunction()
{
    // By index, because the table may still grow while its first rows are being registered.
    // NOLINTNEXTLINE(modernize-loop-convert): a range would remember the end that it began with
    for (std::size_t index = 0; index < devices.size(); ++index)
    {
        if (!OpenVirtualLedDevice(devices[index]))
        {
            failed = true;
            return;
        }
    }

    // Room for the largest table whatever its size is now: should the table have been empty above, poll finds nothing to
    // do instead of memory that is not ours.
    std::array<pollfd, TableSize> set;
    set.fill({-1, ReadEvents, 0});
    for (std::size_t index = 0; index < devices.size(); ++index)
    {
        set[index].fd = devices[index].fd;
    }

    while (running)
    {
        if (poll(set.data(), devices.size(), PollTimeout) <= 0)
        {
            continue;
        }
        for (std::size_t index = 0; index < devices.size(); ++index)
        {
            const VirtualLedDevice& device = devices[index];
            const short events = set[index].revents;
            if ((events & ReadEvents) == 0)
            {
                if ((events & ErrorEvents) != 0)
                {
                    LOG4CPLUS_ERROR(logger, "Return events in poll signalled virtual led error, aborting.");
                    failed = true; // the worker goes on until the main thread has seen this
                }
                continue;
            }

            int32_t brightness = 0;
            const ssize_t received = read(device.fd, &brightness, sizeof(brightness));
            if (received < 0)
            {
                const int error = errno;
                LOG4CPLUS_ERROR(logger,
                                "Failed to read from /dev/uleds for led " << device.name << ": " << strerror(error));
                if (error == EBADF)
                {
                    // The text names another error than the one tested for; log watchers look for it as it is.
                    LOG4CPLUS_FATAL(logger, "Read reported bad file descriptor (EBADFD)");
                    failed = true;
                }
                continue;
            }
            if (received == 0)
            {
                continue;
            }

            if (!TransmitLedState(device, brightness > 0))
            {
                LOG4CPLUS_ERROR_FMT(logger, "Failed to transmit LED state for led %s", device.name.c_str());
                continue;
            }
            LOG4CPLUS_DEBUG_FMT(logger, "Set brightness of led %s to %d", device.name.c_str(), brightness);
        }
    }
}

bool Leds::TransmitLedState(const VirtualLedDevice& device, bool on)
{
    const MessageType type = device.type == VirtualLedType::Rs485Termination ? Rs485TerminationState : LedState;
    const std::array<uint8_t, 3> message{type, device.number, static_cast<uint8_t>(on ? 1 : 0)};
    return commHub->Transmit(TopicDevice, message.data(), static_cast<uint16_t>(message.size()));
}

} // namespace OrvelDriver
