#include "Server.h"

#include "Report.h"

#include <log4cplus/loggingmacros.h>

#include <cstddef>

namespace OrvelGateway
{

namespace
{

// A new daemon is to be noticed within a second.
constexpr std::chrono::milliseconds TickPeriod{970};

// The daemon's queue has room for 14 messages. While these are handed out to many programs, more come.
constexpr std::size_t SentBeforeReading = 32;

// Then others get their turn, however much the link sends.
constexpr int ReadingsAtOnce = 16;

Hub::Time Now()
{
    return std::chrono::steady_clock::now();
}

} // namespace

Server::Server(Loop& loop, const Options& options, const ListeningSocket& listening)
    : logger(log4cplus::Logger::getInstance("Gateway"))
    , hub(options.hub)
    , tick(loop, [this] { OnTick(); })
    , due(loop, [this] { OnDue(); })
    , daemon(loop, hub, options.buttonQueue, [this] { HandOut(); })
    , programs(loop, hub, listening, [this] { HandOut(); })
    , metrics(options.metrics, Now())
{
    if (options.network)
    {
        network.emplace(loop, hub, *options.network, [this] { HandOut(); });
    }
    tick.Set(Now() + TickPeriod);
    daemon.Read(Now()); // what waits is for the programs that have waited too
    HandOut();
}

// Whatever the hub was given: what comes of it goes out. What the daemon takes is news for its sender, too.
void Server::HandOut()
{
    int readings = 0;
    do
    {
        daemon.Write(Now());
    } while (Serve(readings));
    daemon.AwaitButton();
    TellLink();
    AwaitDue();
}

// False if nobody had news. `readings` counts how often the link was read meanwhile.
bool Server::Serve(int& readings)
{
    bool hadNews = false;
    std::size_t sent = 0;
    while (const auto id = hub.NextWithNews())
    {
        hadNews = true;
        sent += network && *id == network->Id() ? network->Serve() : programs.Serve(*id);
        if (sent >= SentBeforeReading && readings < ReadingsAtOnce)
        {
            daemon.Read(Now());
            sent = 0;
            ++readings;
        }
    }
    return hadNews;
}

void Server::OnTick()
{
    const auto now = Now();
    tick.Set(now + TickPeriod);
    daemon.Look(now);
    programs.Look(now);
    for (const std::string& line : Trouble(reported, hub.Count()))
    {
        LOG4CPLUS_WARN(logger, line);
    }
    reported = hub.Count();
    if (network)
    {
        network->Look();
    }
    if (metrics.IsDue(now, programs.Changes() + linkChanges))
    {
        metrics.Write(Present(), now);
    }
    HandOut();
}

void Server::OnDue()
{
    dueAt = Hub::Time::max();
    hub.OnTime(Now());
    HandOut();
}

// Most requests are confirmed long before their time is over. The timer is not set anew for each: it calls too early, and finds
// nothing to do.
void Server::AwaitDue()
{
    if (dueAt != Hub::Time::max() && hub.State() != Hub::Link::Settling)
    {
        return;
    }
    const auto next = hub.Due();
    if (next && *next < dueAt)
    {
        dueAt = *next;
        due.Set(dueAt);
    }
}

void Server::TellLink()
{
    if (hub.State() == told || hub.State() == Hub::Link::Settling)
    {
        return;
    }
    told = hub.State();
    dueAt = Hub::Time::max(); // the timer may be set for the end of settling, when nothing is due any more
    ++linkChanges;
    if (told == Hub::Link::Usable)
    {
        LOG4CPLUS_INFO(logger, "The link is usable");
    }
    else
    {
        LOG4CPLUS_WARN(logger, "The link is lost");
    }
}

Figures Server::Present() const
{
    Figures figures;
    figures.count = hub.Count();
    figures.linkUp = hub.State() == Hub::Link::Usable;
    figures.changes = programs.Changes() + linkChanges;
    for (Hub::Id id = 0; id < programs.Programs().size(); ++id)
    {
        if (const auto& program = programs.Programs()[id])
        {
            figures.programs.push_back({program->who, id, hub.Count(id)});
        }
    }
    if (network)
    {
        figures.network = {network->Joined().IsJoined(), network->Joined().Count()};
    }
    return figures;
}

} // namespace OrvelGateway
