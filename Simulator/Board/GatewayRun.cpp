#include "GatewayRun.h"

#include "System/Deadline.h"
#include "System/OpenMetrics.h"

#include <poll.h>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <iterator>
#include <utility>
#include <vector>

namespace Simulator
{

namespace
{

constexpr std::chrono::seconds EndLimit{5};         // it ends in a fraction of a second
constexpr std::chrono::milliseconds LookEvery{250}; // it writes its figures within a second after a program has come
constexpr const char* Prefix = "orvel_gateway_";    // of all figures
constexpr const char* EachProgram = "program_lost_messages."; // there is one such figure for each that is connected

// "1234 orvelctl.0": process, name, and the number of the connection.
std::set<std::string> ConnectedPrograms()
{
    std::ifstream file(GatewayRun::MetricsFile);
    std::set<std::string> programs;
    const std::string figure = EachProgram;
    for (const auto& [name, value] : System::ReadOpenMetrics(file, Prefix))
    {
        if (name.rfind(figure, 0) == 0)
        {
            programs.insert(name.substr(figure.size()));
        }
    }
    return programs;
}

std::string WithoutConnection(const std::string& program)
{
    return program.substr(0, program.rfind('.'));
}

} // namespace

GatewayRun::GatewayRun(const System::Process::Start& start, EventLog& eventLog)
    : events(eventLog)
    , looksAt(Clock::now() + LookEvery)
{
    System::Process::Start toldStart = start;
    toldStart.beforeExec = [this](pid_t /*process*/) { events.Add(Event::GatewayStarted); };
    process.emplace(toldStart);
}

void GatewayRun::OnEnd()
{
    const int status = process->Wait();
    process.reset();
    programs.clear();
    events.Add({Event::GatewayEnded, status});
}

GatewayRun::Clock::time_point GatewayRun::LooksAt() const
{
    return process ? looksAt : System::NoDeadline;
}

void GatewayRun::Look()
{
    looksAt = Clock::now() + LookEvery;
    std::set<std::string> present = ConnectedPrograms();
    const auto tell = [this](Event::Kind what, const std::set<std::string>& some, const std::set<std::string>& others)
    {
        std::vector<std::string> only;
        std::set_difference(some.begin(), some.end(), others.begin(), others.end(), std::back_inserter(only));
        for (const std::string& program : only)
        {
            events.Add({what, WithoutConnection(program)});
        }
    };
    tell(Event::ProgramLeft, programs, present);
    tell(Event::ProgramConnected, present, programs);
    programs = std::move(present);
}

void GatewayRun::End()
{
    if (!process)
    {
        return;
    }
    process->Signal(SIGTERM);
    pollfd entry{process->Descriptor(), POLLIN, 0};
    if (poll(&entry, 1, System::PollTimeout(Clock::now() + EndLimit)) == 0)
    {
        process->Signal(SIGKILL);
    }
    OnEnd();
}

} // namespace Simulator
