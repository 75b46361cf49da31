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
constexpr std::chrono::milliseconds LookEvery{250}; // as long as the daemon's workers wait at most

} // namespace

Session::Session(const Process::Start& daemonStart, Board& theBoard, EventLog& eventLog, const Rendezvous& meeting,
                 const StopSignals& stopSignals, const Person& thePerson)
    : start(daemonStart)
    , board(theBoard)
    , events(eventLog)
    , rendezvous(meeting)
    , signals(stopSignals)
    , person(thePerson)
    , commands(theBoard.TheCoProcessor(),
               [this](int signal, std::chrono::seconds pause) { return Restart(signal, pause); })
    , input(thePerson.commands)
    , demonstrationDone(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
    , restartWanted(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    StartDaemon();
}

Session::~Session()
{
    demonstrationCancelled = true;
    if (demonstration.joinable())
    {
        demonstration.join();
    }
    close(demonstrationDone);
    close(restartWanted);
}

void Session::StartDemonstration()
{
    reading = false;
    demonstration = std::thread(
        [this]
        {
            Demonstrate(
                board, events, demonstrationCancelled, [this](const std::string& text) { events.Add(text); },
                [this] { eventfd_write(restartWanted, 1); });
            eventfd_write(demonstrationDone, 1);
        });
}

int Session::Run()
{
    while (Step())
    {
    }
    return status;
}

// False when the daemon has ended for good.
bool Session::Step()
{
    std::array<pollfd, 5> set{{{daemon ? daemon->Descriptor() : -1, POLLIN, 0},
                               {signals.Descriptor(), POLLIN, 0},
                               {demonstrationDone, POLLIN, 0},
                               {restartWanted, POLLIN, 0},
                               {reading ? input.Descriptor() : -1, POLLIN, 0}}};
    poll(set.data(), set.size(), PollTimeout());
    const auto isReady = [&set](std::size_t index) { return set.at(index).revents != 0; };
    if (isReady(1))
    {
        signals.Take();
        Stop();
    }
    if (isReady(2))
    {
        eventfd_t ignored = 0;
        eventfd_read(demonstrationDone, &ignored);
        reading = true;
    }
    if (isReady(3))
    {
        eventfd_t ignored = 0;
        eventfd_read(restartWanted, &ignored);
        Restart(SIGINT, std::chrono::seconds(0));
    }
    if (isReady(4))
    {
        reading = input.Read([this](const std::string& line) { Execute(line); });
    }
    if (isReady(0))
    {
        OnDaemonEnd();
    }
    OnTime(Clock::now());
    return daemon || startsAt;
}

void Session::StartDaemon()
{
    endBegan.reset();
    startsAt.reset();
    daemon.emplace(start);
    events.Add("daemon started");
    rendezvous.Announce(daemon->Id());
    ledWatch.emplace(daemon->Id());
    looksAt = Clock::now() + LookEvery;
}

void Session::OnDaemonEnd()
{
    status = daemon->Wait();
    events.Add("daemon ended with status " + std::to_string(status));
    daemon.reset();
    rendezvous.Announce(Rendezvous::NoDaemon);
    ledWatch.reset();
    if (restartAfter)
    {
        startsAt = Clock::now() + *restartAfter;
        if (restartAfter->count() > 0)
        {
            events.Add("daemon starts again in " + std::to_string(restartAfter->count()) + " s");
        }
        restartAfter.reset();
    }
}

// The result is what to tell the person.
std::string Session::Restart(int signal, std::chrono::seconds pause)
{
    if (endBegan || !daemon)
    {
        return "the daemon is ending, or about to start again";
    }
    endBegan = Clock::now();
    restartAfter = pause;
    daemon->Signal(signal);
    return "";
}

void Session::Execute(const std::string& line)
{
    if (const std::string answer = commands.Execute(line); !answer.empty())
    {
        person.answer(answer);
    }
    if (commands.QuitRequested() && !stopping)
    {
        Stop();
    }
}

// At first in the daemon's own way, when it is asked for again by force.
void Session::Stop()
{
    const auto now = Clock::now();
    if (!stopping)
    {
        stopping = true;
        endBegan = now;
        restartAfter.reset();
        startsAt.reset();
        SignalDaemon(SIGINT);
    }
    else if (now - *endBegan > ForceAfter)
    {
        SignalDaemon(SIGKILL);
    }
}

void Session::SignalDaemon(int signal)
{
    if (daemon)
    {
        daemon->Signal(signal);
    }
}

void Session::LookForLeds()
{
    looksAt = Clock::now() + LookEvery;
    const auto finding = ledWatch->Look();
    if (finding == LedWatch::Finding::NotYet)
    {
        return;
    }
    ledWatch.reset();
    if (finding == LedWatch::Finding::TheyDoNot)
    {
        events.Add(LedsDidNotCome);
    }
}

void Session::OnTime(Clock::time_point now)
{
    if (daemon && endBegan && now >= *endBegan + StopLimit)
    {
        daemon->Signal(SIGKILL);
    }
    if (ledWatch && now >= looksAt)
    {
        LookForLeds();
    }
    if (startsAt && now >= *startsAt)
    {
        StartDaemon();
    }
}

// ms until the next thing that has its time; -1 when nothing has.
int Session::PollTimeout() const
{
    auto next = Clock::time_point::max();
    if (daemon && endBegan)
    {
        next = *endBegan + StopLimit;
    }
    if (ledWatch)
    {
        next = std::min(next, looksAt);
    }
    if (startsAt)
    {
        next = std::min(next, *startsAt);
    }
    if (next == Clock::time_point::max())
    {
        return -1;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(next - Clock::now());
    return static_cast<int>(std::max(left, std::chrono::milliseconds(0)).count());
}

} // namespace Simulator
