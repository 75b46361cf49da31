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

/// Something that happened on the board. It stays data until a person reads it: nobody but TextOf knows its words.
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
        KnxIpCounted,      ///< text: all counters
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
        Note                 ///< text: told as it is, as each step of a demonstration. The last kind
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

    bool operator==(const Event& other) const
    {
        return kind == other.kind && bytes == other.bytes && number == other.number && total == other.total &&
               text == other.text;
    }

    Kind kind;
    Bytes bytes;
    int64_t number = 0;
    int64_t total = 0;
    std::string text;
};

/// What a person reads, in one line: "link up".
std::string TextOf(const Event& event);

/// "1.4 ms"
std::string TextOf(std::chrono::nanoseconds pulse);

} // namespace Simulator
