#include "GpioTrace.h"

#include "System/ThrowErrno.h"

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sched.h>
#include <unistd.h>

#include <array>
#include <fstream>
#include <regex>
#include <utility>

namespace
{

const std::string Directory = "/sys/kernel/tracing/";
constexpr int StopPeriod = 100; // ms; how long the end of the thread may take

void Set(const std::string& name, const std::string& text)
{
    std::ofstream file(Directory + name);
    file << text << std::flush;
    if (!file.good())
    {
        System::ThrowErrno("cannot write " + text + " to " + Directory + name);
    }
}

} // namespace

GpioTrace::GpioTrace(Simulator::PinListener pinListener)
    : listener(std::move(pinListener))
    , pins(Simulator::Gpio::PinCount)
{
    Set("trace_clock", "mono"); // the clock of std::chrono::steady_clock
    Set("buffer_percent", "0"); // poll tells of the first event
    Set("kprobe_events", "p:orvel/tty_open tty_open");
    Set("events/gpio/enable", "1");
    Set("events/orvel/enable", "1");
    pipe = System::Descriptor(open((Directory + "trace_pipe").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (!pipe.IsOpen())
    {
        System::ThrowErrno("cannot read the kernel's trace");
    }
    thread = std::thread(&GpioTrace::ThreadFunction, this);
    // The co-processor must be in reset before the daemon goes on, because a wire has no delay.
    sched_param priority{};
    priority.sched_priority = sched_get_priority_min(SCHED_FIFO);
    pthread_setschedparam(thread.native_handle(), SCHED_FIFO, &priority);
}

GpioTrace::~GpioTrace()
{
    running = false;
    thread.join();
    pipe.Close();
    std::ofstream(Directory + "events/enable") << 0;
    std::ofstream(Directory + "kprobe_events") << "";
    std::ofstream(Directory + "trace") << "";
}

std::vector<Simulator::PinChange> GpioTrace::Changes()
{
    ReadUpToNow();
    const std::lock_guard lock(mutex);
    return changes;
}

std::vector<GpioTrace::Time> GpioTrace::SerialOpenings()
{
    ReadUpToNow();
    const std::lock_guard lock(mutex);
    return serialOpenings;
}

void GpioTrace::Forget()
{
    ReadUpToNow();
    const std::lock_guard lock(mutex);
    changes.clear();
    serialOpenings.clear();
}

void GpioTrace::ThreadFunction()
{
    while (running)
    {
        pollfd entry{pipe.Number(), POLLIN, 0};
        poll(&entry, 1, StopPeriod);
        ReadUpToNow();
    }
}

void GpioTrace::ReadUpToNow()
{
    const std::lock_guard lock(mutex);
    std::array<char, 4096> buffer{};
    for (ssize_t size = read(pipe.Number(), buffer.data(), buffer.size()); size > 0;
         size = read(pipe.Number(), buffer.data(), buffer.size()))
    {
        lines.Take({buffer.data(), static_cast<std::size_t>(size)}, [this](const std::string& line) { TakeIn(line); });
    }
}

void GpioTrace::TakeIn(const std::string& line)
{
    //      orvel-123   [000] .....     1.744300: gpio_value: 3 set 0
    static const std::regex pattern(R"(^ *(.+)-\d+ .* (\d+)\.(\d{6}): (\w+): (?:(\d+) +)?(\S+)(?: (\S+))?.*$)");
    std::smatch part;
    if (!std::regex_match(line, part, pattern))
    {
        return;
    }
    const Time time{std::chrono::seconds(std::stol(part[2])) + std::chrono::microseconds(std::stol(part[3]))};
    const std::string event = part[4];
    if (event == "tty_open" && part[1] == "orvel")
    {
        serialOpenings.push_back(time);
    }
    if (!part[5].matched || std::stoul(part[5]) >= pins.size())
    {
        return;
    }
    const int number = std::stoi(part[5]);
    Pin& pin = pins[static_cast<std::size_t>(number)];
    const Pin before = pin;
    if (event == "gpio_direction" && part[7] == "(0)")
    {
        pin.driven = part[6] == "out";
    }
    else if (event == "gpio_value" && part[6] == "set")
    {
        pin.set = part[7] == "1"; // of an output that begins, the level comes before the direction
    }
    if (pin.driven != before.driven || pin.IsHigh() != before.IsHigh())
    {
        changes.push_back({number, pin.driven, pin.IsHigh(), time});
        listener(number, pin.driven, pin.IsHigh());
    }
}
