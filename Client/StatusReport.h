#pragma once

#include "Finding.h"
#include "RunningDaemons.h"

#include "System/OpenMetrics.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace OrvelClient
{

/// How things are with the daemon, and with what it makes for applications.
struct StatusReport
{
    struct Queue
    {
        std::string name;
        int error = 0; ///< why it could not be looked at; 0: it could
        long waiting = 0;
        long capacity = 0;
    };

    struct Led
    {
        std::string name;
        bool isThere;
    };

    struct Gateway
    {
        std::string socket;
        bool answers = false;
        std::string problem; ///< why it does not; empty: none runs, and none was asked for
    };

    struct Counters
    {
        std::string file;
        std::optional<std::chrono::seconds> age; ///< of the file; nothing: it is not there
        System::Samples metrics;
    };

    RunningDaemons daemons;
    Gateway gateway;
    std::optional<uint16_t> linkState; ///< as the gateway tells it; nobody else does
    std::vector<Queue> queues;
    std::vector<Led> leds;
    Counters counters;
};

/// In the order of the report, one for each thing.
Findings FindingsOf(const StatusReport& report);

/// The report as one JSON object, without a newline.
std::string ToJson(const StatusReport& report);

/// Whether nothing in the report is wrong.
bool IsWell(const StatusReport& report);

} // namespace OrvelClient
