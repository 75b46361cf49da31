#include "Session.h"

#include "Demonstration.h"

#include "System/Deadline.h"

#include <poll.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <stdexcept>

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

Session::Session(const Programs& programs, Board& theBoard, EventLog& eventLog, const Rendezvous& meeting,
                 const System::StopSignals& stopSignals, const Person& thePerson, const Knx::KnownGroups& knownGroups)
    : start(programs.daemon)
    , board(theBoard)
    , events(eventLog)
    , rendezvous(meeting)
    , signals(stopSignals)
    , person(thePerson)
    , commands(
          theBoard.TheCoProcessor(), [this](int signal, std::chrono::seconds pause) { return Restart(signal, pause); },
          knownGroups)
    , input(thePerson.commands)
{
    StartDaemon();
    if (programs.gateway)
    {
        gateway.emplace(*programs.gateway, events);
    }
}

Session::~Session()
{
    demonstrationCancelled = true;
    if (demonstration.joinable())
    {
        demonstration.join();
    }
}

void Session::StartDemonstration()
{
    reading = false;
    demonstration = std::thread(
        [this]
        {
            Demonstrate(board, events, demonstrationCancelled, [this] { restartWanted.Signal(); });
            demonstrationDone.Signal();
        });
}

int Session::Run()
{
    while (Step())
    {
    }
    if (gateway)
    {
        gateway->End();
    }
    return status;
}

// False when the daemon has ended for good.
bool Session::GoesOn() const
{
    return daemon || (!stopping && (startsAt || startFailed));
}

// The result is that of GoesOn.
bool Session::Step()
{
    std::array<pollfd, 6> set{{{daemon ? daemon->Descriptor() : -1, POLLIN, 0},
                               {signals.Descriptor(), POLLIN, 0},
                               {demonstrationDone.Descriptor(), POLLIN, 0},
                               {restartWanted.Descriptor(), POLLIN, 0},
                               {reading ? input.Descriptor() : -1, POLLIN, 0},
                               {gateway ? gateway->Descriptor() : -1, POLLIN, 0}}};
    poll(set.data(), set.size(), PollTimeout());
    const auto isReady = [&set](std::size_t index) { return set.at(index).revents != 0; };
    if (isReady(0))
    {
        OnDaemonEnd(); // first: what else has come is for the board as it is now
        if (!GoesOn())
        {
            return false;
        }
    }
    if (isReady(1))
    {
        signals.Take();
        Stop();
    }
    if (isReady(2))
    {
        demonstrationDone.Clear();
        reading = true;
    }
    if (isReady(3))
    {
        restartWanted.Clear();
        Restart(SIGINT, std::chrono::seconds(0));
    }
    if (isReady(4))
    {
        reading = input.Read([this](const std::string& line) { Execute(line); });
    }
    if (isReady(5))
    {
        gateway->OnEnd();
    }
    OnTime(Clock::now());
    return GoesOn();
}

void Session::StartDaemon()
{
    endBegan.reset();
    killed = false;
    startsAt.reset();
    System::Process::Start toldStart = start;
    toldStart.beforeExec = [this](pid_t process)
    {
        if (start.beforeExec)
        {
            start.beforeExec(process);
        }
        // Before the daemon can do anything that is told, and that somebody waits for.
        events.Add(Event::DaemonStarted);
        rendezvous.Announce(process);
    };
    try
    {
        daemon.emplace(toldStart);
    }
    catch (...)
    {
        rendezvous.Announce(Rendezvous::NoDaemon);
        throw;
    }
    ledWatch.emplace(daemon->Id());
    looksAt = Clock::now() + LookEvery;
}

// The program can have gone, or be written at this moment.
void Session::StartDaemonAgain()
{
    try
    {
        StartDaemon();
        startFailed = false;
    }
    catch (const std::runtime_error& failure)
    {
        startFailed = true;
        events.Add({Event::DaemonCannotStart, failure.what()});
    }
}

void Session::StartAfter(std::chrono::seconds pause)
{
    startsAt = Clock::now() + pause;
    if (pause.count() > 0)
    {
        events.Add({Event::DaemonStartsLater, pause.count()});
    }
}

void Session::OnDaemonEnd()
{
    status = daemon->Wait();
    events.Add({Event::DaemonEnded, status});
    daemon.reset();
    rendezvous.Announce(Rendezvous::NoDaemon);
    ledWatch.reset();
    if (restartAfter)
    {
        StartAfter(*restartAfter);
        restartAfter.reset();
    }
}

// The result is what to tell the person.
std::string Session::Restart(int signal, std::chrono::seconds pause)
{
    if (!daemon && !stopping)
    {
        StartAfter(pause);
        return "";
    }
    if (endBegan)
    {
        return "the daemon is ending";
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
        events.Add(Event::LedsDidNotCome);
    }
}

void Session::OnTime(Clock::time_point now)
{
    if (daemon && endBegan && !killed && now >= *endBegan + StopLimit)
    {
        killed = true;
        events.Add({Event::DaemonKilled, StopLimit.count()});
        daemon->Signal(SIGKILL);
    }
    if (ledWatch && now >= looksAt)
    {
        LookForLeds();
    }
    if (gateway && now >= gateway->LooksAt())
    {
        gateway->Look();
    }
    if (startsAt && now >= *startsAt)
    {
        StartDaemonAgain();
    }
}

// ms until the next thing that has its time; -1 when nothing has.
int Session::PollTimeout() const
{
    auto next = System::NoDeadline;
    if (daemon && endBegan && !killed)
    {
        next = *endBegan + StopLimit;
    }
    if (ledWatch)
    {
        next = std::min(next, looksAt);
    }
    if (gateway)
    {
        next = std::min(next, gateway->LooksAt());
    }
    if (startsAt)
    {
        next = std::min(next, *startsAt);
    }
    return System::PollTimeout(next);
}

} // namespace Simulator
