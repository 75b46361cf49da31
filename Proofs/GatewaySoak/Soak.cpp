#include "Soak.h"

#include "BenchKit/Paths.h"
#include "Orvel/Protocol.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <fstream>
#include <iostream>
#include <sstream>
#include <utility>

using Messages::Item;

namespace
{

using namespace std::chrono_literals;

constexpr int ResetGpio = 3;
constexpr uint16_t CemiTopic = 0x100;
constexpr auto Limit = 120s; // for whatever must happen; the machine may be very busy
constexpr auto Still = 300ms;
constexpr auto Stalled = 300ms; // a telegram that is not heard by then was lost before the daemon

// The board's own directory.
constexpr const char* PropertiesFile = "/dev/soak.properties";
constexpr const char* Socket = "/dev/soak.gateway";
constexpr const char* MetricsFile = "/dev/soak.metrics";
constexpr const char* GatewayLog = "/dev/soak.log";

struct Share
{
    Program::Kind kind;
    int count;
};
constexpr std::array<Share, 7> Shares{{{Program::Kind::Observer, 1},
                                       {Program::Kind::Reader, 7},
                                       {Program::Kind::Application, 10},
                                       {Program::Kind::Flooder, 4},
                                       {Program::Kind::Sleeper, 4},
                                       {Program::Kind::Garbler, 3},
                                       {Program::Kind::Vanisher, 3}}};

long Resident(pid_t process)
{
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    long size = 0;
    for (std::string word; status >> word && word != "VmRSS:";)
    {
    }
    status >> size;
    return size;
}

bool HasEnded(const System::Process& process)
{
    pollfd entry{process.Descriptor(), POLLIN, 0};
    return poll(&entry, 1, 0) > 0;
}

} // namespace

Soak::Soak(uint32_t seed, const Amounts& theAmounts)
    : amounts(theAmounts)
    , random(seed)
    , events([this](std::chrono::microseconds, const Simulator::Event& event) { bus.OnEvent(event); })
    , board(events, ResetGpio)
{
    bus.Connect(board.TheCoProcessor());
    std::ofstream(PropertiesFile) << DaemonLog::Properties();
    whole.socket = Socket;
    for (const Share& share : Shares)
    {
        for (int i = 1; i <= share.count; ++i)
        {
            programs.emplace_back(share.kind, static_cast<std::size_t>(i), whole, random);
        }
    }
}

Soak::~Soak() = default;

Soak::Account Soak::Run()
{
    StartDaemon();
    StartGateway();
    long daemonsEnded = 0;
    long gatewaysEnded = 0;
    const auto frames = [this] { return telegrams + requests; };
    const auto isDue = [&](long done, long all)
    { return done < all && frames() * (all + 1) >= amounts.frames * (done + 1); };
    long told = 0;
    while (frames() < amounts.frames || daemonsEnded < amounts.daemons || gatewaysEnded < amounts.gateways)
    {
        TurnUntil([this] { return IsStable(); }, "nobody is told that the link is usable again");
        PressButton();
        if (isDue(daemonsEnded, amounts.daemons))
        {
            TroubleDaemon();
            ++daemonsEnded;
        }
        else if (isDue(gatewaysEnded, amounts.gateways))
        {
            constexpr std::array<End, 5> Ends{End::Killed, End::Terminated, End::Quiet, End::Terminated, End::Killed};
            EndGateway(Ends.at(static_cast<std::size_t>(gatewaysEnded % 5)));
            ++gatewaysEnded;
            StartGateway();
        }
        else
        {
            const long before = frames();
            const long next = Random(50, 500);
            TurnUntil([&] { return frames() >= std::min(before + next, amounts.frames) || !IsStable(); },
                      "no frame comes any more");
        }
        if (frames() - told >= 10'000)
        {
            told = frames();
            std::cerr << told << " frames, " << daemonsEnded << " daemons, " << gatewaysEnded << " gateways\n";
        }
    }
    EndGateway(End::Quiet);
    daemon->Signal(SIGINT);
    if (const int status = daemon->Wait(); status != 0)
    {
        throw Mismatch("the daemon ends with " + std::to_string(status));
    }
    return Sum();
}

long Soak::Random(long from, long to)
{
    return std::uniform_int_distribution<long>(from, to)(random);
}

void Soak::Turn()
{
    Wait();
    bus.Confirm(Clock::now());
    TakeArrivals();
    Observe();
    for (auto program = programs.begin() + 1; program != programs.end(); ++program)
    {
        program->Read();
        program->Compare();
    }
    for (Program& program : programs)
    {
        program.Act();
    }
    Inject();
    TendDaemon();
    Tend();
}

// Until something has come, or for a millisecond: programs act also when nothing comes.
void Soak::Wait()
{
    std::vector<pollfd> entries{{bus.Descriptor(), POLLIN, 0}};
    if (const Connection* const connection = programs.front().TheConnection())
    {
        entries.push_back({connection->Descriptor(), POLLIN, 0});
    }
    poll(entries.data(), entries.size(), 1);
}

void Soak::TakeArrivals()
{
    for (const Item& item : bus.TakeArrived())
    {
        if (item.kind == Item::Request)
        {
            whole.requests.Arrive(item.number);
            ++arrivedHere;
        }
        else if (item.kind == Item::Property)
        {
            ++propertiesHere;
        }
        else
        {
            throw Mismatch("the bus receives " + TextOf(item));
        }
    }
}

void Soak::Observe()
{
    programs.front().Read();
    for (const Item& item : programs.front().TakeRead())
    {
        whole.heard.push_back(item);
        switch (item.kind)
        {
        case Item::Telegram:
            ++telegrams;
            lastHeard = item.number;
            heardAt = Clock::now();
            break;
        case Item::Request:
            ++requests;
            break;
        case Item::State:
            ++whole.trouble;
            usableSinceStart += item.number == ORVEL_LINK_STATE_USABLE ? 1 : 0;
            break;
        case Item::Button:
            ++buttons;
            break;
        default:
            break;
        }
    }
    const auto now = log.TakeFrames();
    said.insert(said.end(), now.begin(), now.end());
    CheckObserved();
}

// The observer hears what the daemon says, all of it, in its order. Nobody but the sender hears of refused requests.
void Soak::CheckObserved()
{
    for (; checked < whole.heard.size(); ++checked)
    {
        const Item& heard = whole.heard[checked];
        if (heard.kind != Item::Telegram && heard.kind != Item::Request)
        {
            continue;
        }
        for (bool isFound = false; !isFound; ++saidAt)
        {
            if (saidAt == said.size())
            {
                return; // the log comes later
            }
            const auto& [item, isSure] = said[saidAt];
            isFound = item == heard || (item.kind == Item::Confirmed && heard == Item{Item::Request, item.number});
            if (isFound || item.kind == Item::Refused)
            {
                continue;
            }
            if (!isSure)
            {
                ++doubtful;
            }
            else if (isFirst)
            {
                ++figures["frames in the daemon's queue that went with a gateway"];
            }
            else
            {
                throw Mismatch("the observer hears " + TextOf(heard) + " where the daemon sent " + TextOf(item));
            }
        }
        isFirst = false;
    }
}

void Soak::Inject()
{
    const auto underWay = [this] { return whole.injected - lastHeard; };
    if (underWay() > 0 && Clock::now() - heardAt > Stalled)
    {
        lastHeard = whole.injected;
    }
    if (!whole.maySend || telegrams > requests + 200 || underWay() > (IsStable() ? 6 : 3))
    {
        return;
    }
    if (underWay() == 0)
    {
        heardAt = Clock::now();
    }
    // More at once than the daemon's queue holds, seldom.
    for (long count = Random(1, 200) == 1 ? 60 : Random(1, 4); count > 0; --count)
    {
        board.TheCoProcessor().Flood(CemiTopic, Messages::Telegram(++whole.injected), 1);
    }
}

void Soak::TendDaemon()
{
    if (!daemon)
    {
        if (Clock::now() >= startsAt)
        {
            StartDaemon();
        }
        return;
    }
    if (!daemon->HasEnded())
    {
        return;
    }
    const int status = daemon->Wait();
    if (isEnding && status != endsWith)
    {
        throw Mismatch("the daemon ends with " + std::to_string(status));
    }
    if (!isEnding)
    {
        ++figures["daemons that gave the link up"];
    }
    log.OnEnd();
    daemon.reset();
    ++whole.trouble;
    startsAt = Clock::now() + std::chrono::milliseconds(Random(0, 1) * Random(0, 2000));
}

// Those whose gateway has gone come back as soon as there is one; the observer first.
void Soak::Tend()
{
    if (gateway && HasEnded(*gateway))
    {
        throw Mismatch("the gateway ends with " + std::to_string(gateway->Wait()));
    }
    if (!gateway || !programs.front().Connect())
    {
        return;
    }
    if (programs.front().TheConnection()->HasBegun())
    {
        std::for_each(programs.begin() + 1, programs.end(), [](Program& program) { program.Connect(); });
    }
}

template<typename Condition>
void Soak::TurnUntil(const Condition& condition, const std::string& otherwise)
{
    TurnUntilThat(condition, [&] { return otherwise; });
}

template<typename Condition, typename Otherwise>
void Soak::TurnUntilThat(const Condition& condition, const Otherwise& otherwise)
{
    for (const auto limit = Clock::now() + Limit; !condition();)
    {
        if (Clock::now() > limit)
        {
            throw Mismatch(otherwise());
        }
        Turn();
    }
}

bool Soak::IsStable() const
{
    const Connection* const observer = programs.front().TheConnection();
    return daemon && !isEnding && observer != nullptr && observer->IsUsable() && usableSinceStart > 0 &&
           log.Count().listeners >= listenersBefore + 2;
}

void Soak::StartDaemon()
{
    usableSinceStart = 0;
    listenersBefore = log.Count().listeners;
    isEnding = false;
    ++whole.trouble;
    daemon = std::make_unique<LoggedDaemon>(std::vector<std::string>{"--log_config_file", PropertiesFile},
                                            [this](const std::string& line) { log.OnLine(line); });
    ++figures["daemons"];
}

void Soak::TroubleDaemon()
{
    ++whole.trouble;
    const bool isKilled = Random(0, 3) == 0;
    ++figures[isKilled ? "daemons that were killed" : "daemons that were stopped"];
    isEnding = true;
    endsWith = isKilled ? 128 + SIGKILL : 0;
    daemon->Signal(isKilled ? SIGKILL : SIGINT);
    TurnUntil([this] { return !daemon || !isEnding; }, "the daemon does not end");
}

// All hear it while the link is there. What is not in the gateway yet goes with a daemon.
void Soak::PressButton()
{
    for (const bool isPressed : {true, false})
    {
        const long before = buttons;
        const uint32_t trouble = whole.trouble;
        board.TheCoProcessor().SetButton(isPressed);
        TurnUntil([&] { return buttons > before || whole.trouble != trouble; }, "nobody hears of the button");
    }
}

void Soak::StartGateway()
{
    TurnUntil([until = Clock::now() + std::chrono::milliseconds(Random(0, 500))] { return Clock::now() >= until; }, "");
    unlink(MetricsFile);
    const System::Descriptor output(open(GatewayLog, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    System::Process::Start start;
    start.command = {Paths::Gateway(), "--socket", Socket, "--metrics", MetricsFile};
    start.standardOutput = output.Number();
    gateway = std::make_unique<System::Process>(start);
    whole.maySend = true;
    whole.allRead = false;
    ++figures["gateways"];
}

void Soak::EndGateway(End end)
{
    if (end == End::Quiet)
    {
        BecomeQuiet();
        CheckVanished();
        CheckCounters();
    }
    figures["most KiB of a gateway"] = std::max(figures["most KiB of a gateway"], Resident(gateway->Id()));
    gateway->Signal(end == End::Killed ? SIGKILL : SIGTERM);
    const int status = gateway->Wait();
    if (status != (end == End::Killed ? 128 + SIGKILL : 0))
    {
        throw Mismatch("the gateway ends with " + std::to_string(status));
    }
    gateway.reset();
    CheckGatewayLog();
    Observe();
    for (Program& program : programs) // the observer first
    {
        program.End();
    }
    if (end == End::Quiet && whole.open != 0)
    {
        throw Mismatch("requests have no answer");
    }
    ++figures[end == End::Quiet        ? "gateways that were stopped when all was done"
              : end == End::Terminated ? "gateways that were stopped in the midst"
                                       : "gateways that were killed in the midst"];
    beganQuiet = end == End::Quiet;
    sums.Add(whole.sums);
    whole.sums = {};
    figures["messages that everybody hears"] += static_cast<long>(whole.heard.size());
    whole.heard.clear();
    checked = 0;
    isFirst = true;
    saidBefore = said.size();
    doubtful = 0;
    arrivedHere = 0;
    propertiesHere = 0;
    firstRequest = whole.requests.Next();
}

void Soak::BecomeQuiet()
{
    whole.maySend = false;
    whole.allRead = true;
    TurnUntil(
        [this]
        {
            return IsStable() && std::all_of(programs.begin(), programs.end(),
                                             [](const Program& program) { return program.IsThere(); });
        },
        "a program is not served");
    for (int count = 0; count < 3; ++count) // for those that have heard nothing yet
    {
        board.TheCoProcessor().Flood(CemiTopic, Messages::Telegram(++whole.injected), 1);
    }
    auto since = Clock::now();
    std::size_t before = 0;
    TurnUntilThat(
        [&]
        {
            if (!IsEven() || whole.heard.size() != before)
            {
                before = whole.heard.size();
                since = Clock::now();
            }
            return Clock::now() - since > Still;
        },
        [this] { return WhatIsMissing(); });
}

bool Soak::IsEven() const
{
    const auto isSilent = [](const DaemonLog::Entry& entry)
    { return entry.item.kind == Item::Refused || !entry.isSure; };
    return bus.Waiting() == 0 && lastHeard == whole.injected && checked == whole.heard.size() &&
           std::all_of(said.begin() + static_cast<std::ptrdiff_t>(saidAt), said.end(), isSilent) &&
           std::all_of(programs.begin() + 1, programs.end(),
                       [](const Program& program) { return program.TheConnection()->IsEven(); });
}

std::string Soak::WhatIsMissing() const
{
    if (checked < whole.heard.size())
    {
        return "the observer hears " + TextOf(whole.heard[checked]) + ", which the daemon has not sent";
    }
    for (const Program& program : programs)
    {
        if (&program != &programs.front() && !program.TheConnection()->IsEven())
        {
            return program.TheConnection()->WhatIsMissing();
        }
    }
    return saidAt < said.size()
               ? "the observer does not hear " + TextOf(said[saidAt].item) + ", which the daemon has sent"
               : "the bus does not become quiet";
}

// What a program has sent before it left goes to the bus, unless the link goes or is too slow.
void Soak::CheckVanished()
{
    for (uint32_t number = firstRequest; number < whole.requests.Next(); ++number)
    {
        const Requests::Request& request = whole.requests.At(number);
        if (request.fate == Requests::Fate::Unknown && request.trouble == whole.trouble && !request.hasArrived &&
            !whole.requests.WasSlow(request))
        {
            throw Mismatch("request " + std::to_string(number) + " of a program that left is not carried");
        }
    }
}

void Soak::CheckCounters()
{
    // The file is written every 10 s.
    TurnUntilThat([this] { return WrongCounter().empty(); }, [this] { return WrongCounter(); });
}

// One that does not add up; nothing if all do.
std::string Soak::WrongCounter()
{
    const auto metrics = Metrics();
    const auto value = [&metrics](const std::string& name)
    {
        const auto found = metrics.find("orvel_gateway_" + name);
        return found == metrics.end() ? -1L : static_cast<long>(found->second);
    };
    std::string wrong;
    const auto require = [&](const std::string& what, long counted, long least, long most)
    {
        if (wrong.empty() && (counted < least || counted > most))
        {
            wrong = "the gateway counts " + std::to_string(counted) + " " + what + ", and there were " +
                    std::to_string(least) + (least == most ? "" : " to " + std::to_string(most));
        }
    };
    const auto equal = [&](const std::string& what, long counted, long real) { require(what, counted, real, real); };
    const Sums& all = whole.sums;
    long unknownArrived = 0;
    for (uint32_t number = firstRequest; number < whole.requests.Next(); ++number)
    {
        const Requests::Request& request = whole.requests.At(number);
        unknownArrived += request.fate == Requests::Fate::Unknown && request.hasArrived ? 1 : 0;
    }
    const long confirmed = value("requests_total{outcome=\"confirmed\"}");
    const long others = value("requests_total{outcome=\"refused\"}") +
                        value("requests_total{outcome=\"refused_without_link\"}") +
                        value("requests_total{outcome=\"timed_out\"}");
    equal("requests in all", confirmed + others, all.requests);
    require("confirmed requests", confirmed, all.confirmed, all.confirmed + unknownArrived);
    require("other requests", others, all.refused, all.refused + all.unknown);
    equal("invalid packets", value("invalid_packets_total"), all.invalid);
    equal("lost messages", value("lost_messages_total"), all.lost);
    equal("programs", value("programs"), static_cast<long>(programs.size()));
    equal("refused connections", value("refused_connections_total"), 0);
    equal("usable links", value("link_up"), 1);

    long losses = 0;
    long states = 0;
    uint32_t state = ORVEL_LINK_STATE_LOST;
    for (const Item& item : whole.heard)
    {
        if (item.kind == Item::State)
        {
            losses += state == ORVEL_LINK_STATE_USABLE && item.number == ORVEL_LINK_STATE_LOST ? 1 : 0;
            state = item.number;
            ++states;
        }
    }
    equal("losses of the link", value("link_losses_total"), losses);
    const long toBus = value("frames_total{direction=\"to_bus\"}");
    if (beganQuiet)
    {
        const auto frames = static_cast<long>(said.size() - saidBefore);
        require("frames from the bus", value("frames_total{direction=\"from_bus\"}"), frames - doubtful, frames);
        // The daemon takes some along when it ends.
        require("frames to the bus", toBus, arrivedHere + propertiesHere,
                states == 1 ? arrivedHere + propertiesHere : all.requests + all.properties);
    }
    return wrong;
}

std::map<std::string, double> Soak::Metrics() const
{
    std::map<std::string, double> metrics;
    std::ifstream file(MetricsFile);
    for (std::string line; std::getline(file, line);)
    {
        const std::size_t space = line.rfind(' ');
        if (line[0] != '#' && space != std::string::npos)
        {
            metrics[line.substr(0, space)] = std::stod(line.substr(space + 1));
        }
    }
    return metrics;
}

void Soak::CheckGatewayLog()
{
    std::ifstream file(GatewayLog);
    for (std::string line; std::getline(file, line);)
    {
        if (line.find(" ERROR ") != std::string::npos || line.find(" FATAL ") != std::string::npos)
        {
            throw Mismatch("the gateway logs: " + line);
        }
        ++figures["lines of log of the gateways"];
    }
}

Soak::Account Soak::Sum()
{
    const DaemonLog::Counts lines = log.Count();
    if (lines.invalid != 0)
    {
        throw Mismatch("the daemon was given " + std::to_string(lines.invalid) + " invalid messages");
    }
    if (sums.requests != sums.confirmed + sums.refused + sums.unknown)
    {
        throw Mismatch("requests: " + std::to_string(sums.requests) + " sent");
    }
    Account account{
        {"frames from the link, telegrams and confirmed requests", telegrams + requests},
        {"requests that the gateways accepted", sums.requests},
        {"requests confirmed, once each", sums.confirmed},
        {"requests refused, once each", sums.refused},
        {"requests whose program or gateway had gone before the answer", sums.unknown},
        {"requests of all programs that all others heard, in order", requests},
        {"telegrams from the bus", whole.injected},
        {"telegrams from the bus that all programs heard, in order", telegrams},
        {"telegrams that came while there was no link, no room in the daemon's queue, or no gateway",
         whole.injected - telegrams},
        {"frames and confirmations for which the daemon's queue had no room", lines.full},
        {"messages that programs read and that were compared", sums.delivered},
        {"messages lost for programs that sleep, as each was told", sums.lost},
        {"packets that were no message, counted and dropped", sums.invalid},
        {"messages of the button that all programs heard", buttons},
        {"connections of the 32 programs", sums.connections},
        {"most ms from a request to its answer", sums.slowestAnswer},
    };
    for (const auto& [name, value] : figures)
    {
        account.emplace_back(name, value);
    }
    return account;
}
