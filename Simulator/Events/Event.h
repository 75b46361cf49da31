#pragma once

#include "Knx/HexDigits.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <utility>

namespace Simulator
{

using Knx::Bytes;

/// The LEDs, with the numbers of their outputs on the board.
enum Led : uint8_t
{
    OrangeDeviceLed = 1,
    GreenDeviceLed,
    RedKnxLed,
    YellowKnxLed
};

/// "red KNX"; the number is one of those above.
const char* NameOf(int64_t led);

/// What a KNX side on KNXnet/IP has counted.
struct KnxIpCounters
{
    uint64_t sent = 0;      ///< telegrams to the network
    uint64_t received = 0;  ///< telegrams from the network
    uint64_t refused = 0;   ///< telegrams of the application that were not sent
    uint64_t dropped = 0;   ///< telegrams from the network for which there was no room
    uint64_t lost = 0;      ///< telegrams that other routers had to drop, as they say
    uint64_t busy = 0;      ///< times that another router was busy
    uint64_t malformed = 0; ///< datagrams that were not understood
    uint64_t ignored = 0;   ///< datagrams of other services

    bool operator==(const KnxIpCounters& other) const
    {
        return sent == other.sent && received == other.received && refused == other.refused &&
               dropped == other.dropped && lost == other.lost && busy == other.busy && malformed == other.malformed &&
               ignored == other.ignored;
    }
};

/// Something that happened on the board. It stays data until a person reads it: nobody but TextOf knows its words. What a
/// program reads is made by JsonOf.
struct Event
{
    /// Behind each kind stands what it has beside itself.
    enum Kind : uint8_t
    {
        ResetLineLow,
        ResetLineHigh, ///< number: ns that it was low
        CoProcessorBooted,
        CoProcessorHangs,
        LinkUp,
        ButtonPressed,
        ButtonReleased,
        SerialLinePulled,
        SerialLinePluggedIn,
        LedOn,  ///< number: the LED
        LedOff, ///< number: the LED
        TerminationOn,
        TerminationOff,
        TelegramToKnx,     ///< bytes: cEMI, as in the next three
        TelegramConfirmed, ///< bytes
        TelegramNotSent,   ///< bytes
        TelegramFromKnx,   ///< bytes
        TelegramLost,
        MessageOfUnknownTopic, ///< bytes; number: the topic
        UnknownDeviceMessage,  ///< bytes

        KnxIpJoined,       ///< text: group address and interface
        KnxIpCounted,      ///< counters
        KnxIpRouterLost,   ///< number: telegrams; total: so far
        KnxIpRouterBusy,   ///< number: ms that it asks for; total: times so far
        KnxIpNoRoom,       ///< number: telegrams
        MalformedDatagram, ///< bytes; number: datagrams so far

        DaemonStarted,
        DaemonEnded,              ///< number: its exit status
        DaemonStartsLater,        ///< number: s
        DaemonCannotStart,        ///< text: why
        DaemonKilled,             ///< number: s that it had to end in
        DaemonAtOrdinaryPriority, ///< number: why, as errno
        LedsDidNotCome,

        DemonstrationEnded,
        DemonstrationFailed, ///< text: why

        GatewayStarted,
        GatewayEnded,     ///< number: its exit status
        ProgramConnected, ///< text: process and name, as the gateway names it
        ProgramLeft,      ///< text: the same

        Note ///< text: told as it is, as each step of a demonstration. The last kind
    };

    static constexpr int Kinds = Note + 1;

    // An event is written as what it is: Event::LinkUp, {Event::LedOn, RedKnxLed}, {Event::Note, "..."}.
    // cppcheck-suppress noExplicitConstructor ; that is how it is written
    Event(Kind itsKind)
        : kind(itsKind)
    {
    }
    Event(Kind itsKind, int64_t itsNumber, int64_t itsTotal = 0)
        : kind(itsKind)
        , number(itsNumber)
        , total(itsTotal)
    {
    }
    Event(Kind itsKind, Bytes itsBytes, int64_t itsNumber = 0)
        : kind(itsKind)
        , bytes(std::move(itsBytes))
        , number(itsNumber)
    {
    }
    Event(Kind itsKind, std::string itsText)
        : kind(itsKind)
        , text(std::move(itsText))
    {
    }
    Event(Kind itsKind, const KnxIpCounters& itsCounters)
        : kind(itsKind)
        , counters(itsCounters)
    {
    }

    bool operator==(const Event& other) const
    {
        return kind == other.kind && bytes == other.bytes && number == other.number && total == other.total &&
               text == other.text && counters == other.counters;
    }

    Kind kind;
    Bytes bytes;
    int64_t number = 0;
    int64_t total = 0;
    std::string text;
    KnxIpCounters counters;
};

/// What a person reads, in one line: "link up".
std::string TextOf(const Event& event);

/// "1.4 ms"
std::string TextOf(std::chrono::nanoseconds pulse);

} // namespace Simulator
