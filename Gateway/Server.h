#pragma once

#include "DaemonSide.h"
#include "Hub.h"
#include "ListeningSocket.h"
#include "Loop.h"
#include "MetricsWriter.h"
#include "NetworkSide.h"
#include "Options.h"
#include "ProgramSide.h"

#include <log4cplus/logger.h>

#include <cstdint>
#include <optional>

namespace OrvelGateway
{

/// The gateway: the hub with the daemon on one side of it, and the programs and the network on the other.
class Server
{
public:
    /// Looks for the daemon, and serves from then on what the loop finds. Throws Failure: NotAllowed, InUse.
    Server(Loop& loop, const Options& options, const ListeningSocket& listening);

    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

private:
    void HandOut();
    bool Serve(int& readings);
    void OnTick();
    void OnDue();
    void AwaitDue();
    void TellLink();
    Figures Present() const;

    log4cplus::Logger logger;
    Hub hub;
    Timer tick;
    Timer due;
    Hub::Time dueAt = Hub::Time::max(); // when the timer calls; the maximum while it is not set
    Counters reported;                  // in the log
    Hub::Link told = Hub::Link::Lost;   // in the log
    uint64_t linkChanges = 0;           // that were told
    DaemonSide daemon;
    ProgramSide programs;
    std::optional<NetworkSide> network;
    MetricsWriter metrics;
};

} // namespace OrvelGateway
