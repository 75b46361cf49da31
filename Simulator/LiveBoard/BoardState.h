#pragma once

#include "Event.h"

#include "Knx/KnownGroups.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Simulator
{

/// What a person can see of the board, as its events tell it. Needs no more memory the longer the board runs.
/// Not for several threads at once.
class BoardState
{
public:
    using Time = std::chrono::microseconds; ///< since the board began

    static constexpr std::size_t KeptLines = 500; ///< of telegrams, and of the log

    enum class Phase : uint8_t
    {
        Running,
        HeldInReset,
        Booting,
        Hanging
    };

    enum class Line : uint8_t
    {
        Telegram, ///< in a list of its own
        Board,    ///< an event of the board
        Daemon,   ///< a line of the daemon's log
        Trouble   ///< such a line that tells of an error, an event that tells of a loss, or an answer to a person
    };

    struct Entry
    {
        Time time;
        Line kind;
        std::string text;
    };

    struct Counters
    {
        uint64_t toKnx = 0;
        uint64_t confirmed = 0;
        uint64_t notSent = 0;
        uint64_t fromKnx = 0;
        uint64_t lost = 0;
        uint64_t resets = 0;
        uint64_t links = 0;
        uint64_t presses = 0;
    };

    /// That runs on the board, or has.
    struct Gateway
    {
        bool runs = true;
        std::vector<std::string> programs; ///< connected to it, the oldest first
    };

    BoardState() = default;

    /// Names of these groups, and values of their types, are in the texts of telegrams.
    explicit BoardState(Knx::KnownGroups knownGroups)
        : groups(std::move(knownGroups))
    {
    }

    /// An event of the board.
    void OnEvent(Time time, const Event& event);

    /// A line that the daemon wrote.
    void OnDaemonLine(Time time, const std::string& line);

    /// What a person is told, who has typed something.
    void OnAnswer(Time time, const std::string& answer);

    bool IsLit(Led led) const
    {
        return leds.at(led);
    }
    bool IsTerminated() const ///< RS485
    {
        return terminated;
    }
    bool IsButtonPressed() const
    {
        return buttonPressed;
    }
    bool IsPlugged() const
    {
        return plugged;
    }
    bool IsLinkUp() const;

    Phase CoProcessorPhase() const
    {
        return coProcessor;
    }

    /// Nothing if the board was started without one.
    const std::optional<Gateway>& TheGateway() const
    {
        return gateway;
    }

    /// Of the reset line; nothing when there was none.
    std::optional<std::chrono::nanoseconds> LastPulse() const
    {
        return lastPulse;
    }

    const Counters& Count() const
    {
        return counters;
    }

    /// The oldest first.
    const std::deque<Entry>& Telegrams() const
    {
        return telegrams;
    }
    const std::deque<Entry>& Log() const
    {
        return log;
    }

private:
    bool TakeTelegram(Time time, const Event& event);
    void TakeState(const Event& event);
    void TakeGateway(const Event& event);
    void OnReset();

    Knx::KnownGroups groups;
    std::array<bool, YellowKnxLed + 1> leds{};
    bool terminated = false;
    bool buttonPressed = false;
    bool plugged = true;
    bool session = false;
    Phase coProcessor = Phase::Running; // long before Linux comes up
    std::optional<std::chrono::nanoseconds> lastPulse;
    std::optional<Gateway> gateway;
    Counters counters;
    std::deque<Entry> telegrams;
    std::deque<Entry> log;
};

} // namespace Simulator
