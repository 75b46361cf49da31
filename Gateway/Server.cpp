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
    , programs(loop, hub, options.hub.programs, listening, [this] { HandOut(); })
{
    tick.Set(Now() + TickPeriod);
    HandOut();
}

// Whatever the hub was given: what comes of it goes out.
void Server::HandOut()
{
    daemon.Write(Now());
    std::size_t sent = 0;
    int readings = 0;
    while (const auto id = hub.NextWithNews())
    {
        sent += programs.Serve(*id);
        if (sent >= SentBeforeReading && readings < ReadingsAtOnce)
        {
            daemon.Read(Now());
            sent = 0;
            ++readings;
        }
    }
    daemon.Write(Now());
    daemon.AwaitButton();
    TellLink();
    AwaitDue();
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
    if (told == Hub::Link::Usable)
    {
        LOG4CPLUS_INFO(logger, "The link is usable");
    }
    else
    {
        LOG4CPLUS_WARN(logger, "The link is lost");
    }
}

} // namespace OrvelGateway
