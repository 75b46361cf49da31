#pragma once

#include "Counters.h"
#include "NetworkRouter.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace OrvelGateway
{

/// What the gateway has counted, and how things are.
struct Figures
{
    struct Program
    {
        std::string name;    ///< any bytes; several may have the same
        uint64_t connection; ///< no two have the same
        ParticipantCounters count;
    };

    struct Network
    {
        bool joined = false;
        NetworkRouter::Counters count;
    };

    Counters count;
    std::vector<Program> programs; ///< those that are connected
    bool linkUp = false;
    double busLoad = 0;   ///< per cent
    uint64_t changes = 0; ///< of the link, and of who is connected, so far
    std::optional<Network> network;
};

/// The text that a monitoring system reads: OpenMetrics 1.0.
std::string ToOpenMetrics(const Figures& figures);

/// Writes the file so that a reader finds the old text or the new one, and never a part. Beside it a file "NAME.new" comes
/// and goes. Throws std::system_error.
void WriteWhole(const std::string& file, const std::string& text);

} // namespace OrvelGateway
