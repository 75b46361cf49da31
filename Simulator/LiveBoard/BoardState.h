#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>

namespace Simulator
{

/// What a person can see of the board, as its event log tells it. Needs no more memory the longer the board runs.
/// Not for several threads at once.
class BoardState
{
public:
    using Time = std::chrono::microseconds; ///< since the board began

    static constexpr std::size_t KeptLines = 500; ///< of telegrams, and of the log

    enum LedNumber : uint8_t
    {
        RedKnx,
        YellowKnx,
        GreenDevice,
        OrangeDevice,
        LedCount
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

    /// A line of the event log.
    void OnEvent(Time time, const std::string& event);

    /// A line that the daemon wrote.
    void OnDaemonLine(Time time, const std::string& line);

    /// What a person is told, who has typed something.
    void OnAnswer(Time time, const std::string& answer);

    bool IsLit(LedNumber led) const
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

    /// "running", "held in reset", ...
    const std::string& CoProcessorState() const
    {
        return coProcessor;
    }

    /// "1.4 ms", empty when there was none.
    const std::string& LastPulse() const
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
    bool TakeTelegram(Time time, const std::string& event);
    void TakeState(const std::string& event);

    std::array<bool, LedCount> leds{};
    bool terminated = false;
    bool buttonPressed = false;
    bool plugged = true;
    bool session = false;
    std::string coProcessor = "running"; // long before Linux comes up
    std::string lastPulse;
    Counters counters;
    std::deque<Entry> telegrams;
    std::deque<Entry> log;
};

} // namespace Simulator
