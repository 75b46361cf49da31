// Sends telegrams to orvelctl's monitor at a steady pace, as the daemon would, and checks what it shows of them.
//   monitor-flood ORVELCTL NAMES TELEGRAMS RATE
// RATE is telegrams a second. Prints how many telegrams the monitor has lost, how many ms the last of them was late, the
// seconds of the processor that the monitor took, and how many telegrams found the queue full, where the daemon would have
// dropped them. Here they wait: at 10,000 a second the queue is full after a millisecond, and a busy machine takes the
// processor from the monitor for longer than that. How late the last telegram is tells whether the monitor keeps up. Fails
// when the monitor has not shown each telegram, with the name of its group, in its order.

#include "BenchKit/Sandboxed.h"
#include "Knx/GroupAddress.h"
#include "Knx/HexDigits.h"
#include "System/MessageQueue.h"
#include "System/Process.h"

#include <poll.h>
#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <thread>

namespace
{

using namespace std::chrono;

constexpr unsigned Groups = 20'000; // those of NAMES, from the first on

struct Job
{
    std::string client;
    std::string names;
    unsigned long telegrams;
    unsigned long rate;
};

uint16_t GroupOf(unsigned long number)
{
    return static_cast<uint16_t>(1 + number % Groups);
}

Knx::Bytes Number(unsigned long number)
{
    Knx::Bytes bytes;
    for (unsigned shift = 32; shift > 0; shift -= 8)
    {
        bytes.push_back(static_cast<uint8_t>(number >> (shift - 8)));
    }
    return bytes;
}

// With its size byte.
Knx::Bytes Telegram(unsigned long number)
{
    const uint16_t group = GroupOf(number);
    Knx::Bytes message{
        15,   0x29, 0x00, 0xBC, 0xE0, 0x11, 0x01, static_cast<uint8_t>(group >> 8U), static_cast<uint8_t>(group),
        0x05, 0x00, 0x80};
    const Knx::Bytes value = Number(number);
    message.insert(message.end(), value.begin(), value.end());
    return message;
}

// Between two attempts.
void Pause(const System::Process& monitor)
{
    constexpr microseconds glance{50};
    pollfd end{monitor.Descriptor(), POLLIN, 0};
    if (poll(&end, 1, 0) > 0)
    {
        throw std::runtime_error("the monitor has ended");
    }
    std::this_thread::sleep_for(glance);
}

struct Sent
{
    milliseconds late{};      // the last one
    unsigned long waited = 0; // so many, for room
};

Sent Send(const Job& job, const System::MessageQueue& queue, const System::Process& monitor)
{
    const auto begin = steady_clock::now();
    const auto due = [&](unsigned long number) { return begin + nanoseconds(seconds(number)) / job.rate; };
    Sent sent;
    for (unsigned long number = 0; number < job.telegrams; ++number)
    {
        std::this_thread::sleep_until(due(number));
        const Knx::Bytes telegram = Telegram(number);
        bool hasRoom = queue.Send(telegram);
        sent.waited += hasRoom ? 0 : 1;
        while (!hasRoom)
        {
            Pause(monitor);
            hasRoom = queue.Send(telegram);
        }
    }
    sent.late = duration_cast<milliseconds>(steady_clock::now() - due(job.telegrams - 1));
    return sent;
}

// How many telegrams the file shows before the first that is not as it was sent.
unsigned long CountShown(const std::string& file)
{
    std::ifstream shown(file);
    unsigned long number = 0;
    for (std::string line; std::getline(shown, line); ++number)
    {
        const uint16_t group = GroupOf(number);
        const std::string end = " -> " + Knx::GroupAddress(group) +
                                " low hops=6 T_Data_Group A_GroupValue_Write data=" + Knx::ToHex(Number(number), "") +
                                " = " + std::to_string(number) + " counter pulses  Lamp " + std::to_string(group);
        if (line.size() < end.size() || line.compare(line.size() - end.size(), end.size(), end) != 0)
        {
            std::fprintf(stderr, "%s:%lu: %s\n", file.c_str(), number + 1, line.c_str());
            break;
        }
    }
    return number;
}

double SecondsOfChildren()
{
    constexpr double million = 1e6;
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / million;
}

int Run(const Job& job)
{
    std::string directory = (std::filesystem::temp_directory_path() / "monitor-flood-XXXXXX").string();
    if (mkdtemp(directory.data()) == nullptr)
    {
        throw std::runtime_error("cannot make " + directory);
    }
    const std::string file = directory + "/log";
    unsigned long shown = 0;
    Sent sent;
    {
        const System::OwnMessageQueue queue("/cemiFromLL", System::MessageQueue::For::Writing, 10, 261);
        System::Process::Start start;
        start.command = {job.client, "monitor", "--direct",
                         "--names",  job.names, "--write",
                         file,       "-n",      std::to_string(job.telegrams)};
        System::Process monitor(start);
        while (!std::filesystem::exists(file)) // it reads from now on
        {
            Pause(monitor);
        }
        sent = Send(job, queue, monitor);
        if (monitor.Wait() == 0)
        {
            shown = CountShown(file);
        }
    }
    std::filesystem::remove_all(directory);
    std::printf("%lu %ld %.3f %lu\n", job.telegrams - shown, static_cast<long>(sent.late.count()), SecondsOfChildren(),
                sent.waited);
    return shown == job.telegrams ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace

int main(int argc, char** argv)
{
    constexpr int arguments = 4;
    if (argc != arguments + 1)
    {
        std::fprintf(stderr, "monitor-flood ORVELCTL NAMES TELEGRAMS RATE\n");
        return EXIT_FAILURE;
    }
    if (!IsInside())
    {
        return RunInside(argv);
    }
    try
    {
        return Run({argv[1], argv[2], std::stoul(argv[3]), std::stoul(argv[4])});
    }
    catch (const std::exception& failure)
    {
        std::fprintf(stderr, "monitor-flood: %s\n", failure.what());
        return EXIT_FAILURE;
    }
}
