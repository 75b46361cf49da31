#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace OrvelGateway
{

/// What has happened since the gateway began. All numbers only grow.
struct Counters
{
    // Towards the link.
    uint64_t toLink = 0;        ///< frames that the daemon's queue took
    uint64_t confirmed = 0;     ///< requests that the link confirmed
    uint64_t refused = 0;       ///< requests that the link answered with a negative confirmation
    uint64_t timedOut = 0;      ///< requests that the link did not answer in time
    uint64_t refusedAtOnce = 0; ///< requests that came while there was no usable link, or waited when it was lost
    uint64_t dropped = 0;       ///< other frames in the same situations: nobody is told
    uint64_t unexpected = 0; ///< confirmations that no request waits for: too late, or of another writer to the queue
    uint64_t invalid = 0;    ///< packets from programs that were no message, or an incomplete request
    uint64_t programsRefused = 0; ///< connections beyond those that may be

    // From the link.
    uint64_t fromLink = 0; ///< frames from the daemon's queue, confirmations included, link states not
    uint64_t buttons = 0;  ///< messages of the programming button
    uint64_t linkLosses = 0;

    // Towards programs and network.
    uint64_t delivered = 0; ///< messages that were taken, one for each that took it
    uint64_t lost = 0;      ///< messages for which a program's buffer had no room

    /// How long a line of 9,600 bit/s was taken by the telegrams from it, and by those that were confirmed. The bus load is
    /// how much this grows in a time.
    std::chrono::nanoseconds timeOnLine{};
};

/// The part of one program, or of the network.
struct ParticipantCounters
{
    uint64_t requests = 0; ///< accepted, of which so many were ...
    uint64_t confirmed = 0;
    uint64_t refused = 0; ///< by the link, or at once
    uint64_t timedOut = 0;
    uint64_t otherFrames = 0; ///< accepted
    uint64_t invalid = 0;
    uint64_t delivered = 0;
    uint64_t lost = 0;
};

} // namespace OrvelGateway
