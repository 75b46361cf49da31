#include "Session.h"

#include "Demonstration.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>

namespace Simulator
{

namespace
{

// The daemon ends in a fraction of a second unless it is in a long reconnection.
constexpr std::chrono::seconds StopLimit{15};
// A stop that comes again so soon is the same one: some programs signal a process and then its group.
constexpr std::chrono::seconds ForceAfter{1};

} // namespace

Session::Session(const Process::Start& daemonStart, Board& theBoard, EventLog& eventLog, const Rendezvous& meeting,
                 const StopSignals& stopSignals, const Person& thePerson)
    : board(theBoard)
    , events(eventLog)
    , rendezvous(meeting)
    , signals(stopSignals)
    , person(thePerson)
    , commands(theBoard.TheCoProcessor())
    , input(thePerson.commands)
    , demonstrationDone(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
    , daemon(daemonStart)
{
    events.Add("daemon started");
}

Session::~Session()
{
    demonstrationCancelled = true;
    if (demonstration.joinable())
    {
        demonstration.join();
    }
    close(demonstrationDone);
}

void Session::StartDemonstration()
{
    reading = false;
    demonstration = std::thread(
        [this]
        {
            Demonstrate(board, events, demonstrationCancelled, [this](const std::string& text) { events.Add(text); });
            eventfd_write(demonstrationDone, 1);
        });
}

int Session::Run()
{
    while (Step())
    {
    }
    const int status = daemon.Wait();
    events.Add("daemon ended with status " + std::to_string(status));
    return status;
}

// False when the daemon has ended.
bool Session::Step()
{
    std::array<pollfd, 5> set{{{daemon.Descriptor(), POLLIN, 0},
                               {signals.Descriptor(), POLLIN, 0},
                               {rendezvous.Descriptor(), POLLIN, 0},
                               {demonstrationDone, POLLIN, 0},
                               {reading ? input.Descriptor() : -1, POLLIN, 0}}};
    if (poll(set.data(), set.size(), PollTimeout()) == 0)
    {
        daemon.Signal(SIGKILL);
    }
    const auto isReady = [&set](std::size_t index) { return set.at(index).revents != 0; };
    if (isReady(1))
    {
        signals.Take();
        Stop();
    }
    if (isReady(2))
    {
        rendezvous.Greet();
    }
    if (isReady(3))
    {
        eventfd_t ignored = 0;
        eventfd_read(demonstrationDone, &ignored);
        reading = true;
    }
    if (isReady(4))
    {
        reading = input.Read([this](const std::string& line) { Execute(line); });
    }
    return !isReady(0);
}

void Session::Execute(const std::string& line)
{
    if (const std::string answer = commands.Execute(line); !answer.empty())
    {
        person.answer(answer);
    }
    if (commands.QuitRequested() && !stopBegan)
    {
        Stop();
    }
}

// At first in the daemon's own way, when it is asked for again by force.
void Session::Stop()
{
    const auto now = Clock::now();
    if (!stopBegan)
    {
        stopBegan = now;
        daemon.Signal(SIGINT);
    }
    else if (now - *stopBegan > ForceAfter)
    {
        daemon.Signal(SIGKILL);
    }
}

// ms until the daemon has had its time to end; -1 while it need not.
int Session::PollTimeout() const
{
    if (!stopBegan)
    {
        return -1;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*stopBegan + StopLimit - Clock::now());
    return static_cast<int>(std::max(left, std::chrono::milliseconds(0)).count());
}

} // namespace Simulator
