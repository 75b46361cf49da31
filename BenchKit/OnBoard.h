#pragma once

#include "BenchKit/Await.h"
#include "BenchKit/Daemon.h"
#include "BenchKit/Queue.h"
#include "BenchKit/TestBoard.h"
#include "EventLog.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

/// Skips the test if system calls cannot be made to fail. `failure` names the one that the test needs.
#define NEEDS_FAILURE(failure)                                                                                         \
    if (board->Faults() == nullptr)                                                                                    \
    GTEST_SKIP() << "a real kernel does not show this failure on demand: " << (failure)

/// A test with its own board, on which no daemon runs yet.
class OnBoard : public testing::Test
{
protected:
    static constexpr int ResetGpio = 3;

    void TearDown() override
    {
        if (HasFailure())
        {
            std::cout << "on the board:\n" << events.Text();
        }
    }

    /// Waits for an event of this kind on the board, or for this very event, that comes after those that were awaited before.
    bool AwaitEvent(Simulator::Event::Kind kind)
    {
        return IsSeen(events.Await(kind, seen, Patience));
    }
    bool AwaitEvent(const Simulator::Event& event)
    {
        return IsSeen(events.Await(event, seen, Patience));
    }

    /// Waits until the daemon has opened its queues, registered its LEDs and is supervising the link.
    testing::AssertionResult AwaitRunning(Daemon& daemon, long leds = 4)
    {
        bool runs = false;
        for (int starts = 0; starts < MaxStarts; ++starts)
        {
            AwaitLedWorker(daemon);
            runs = Await([&] { return CountOf(daemon, "DEBUG Leds Created") == leds && HasOpened(daemon); });
            if (!HasBuiltInName())
            {
                break;
            }
            StartAnew(daemon);
        }
        return runs ? testing::AssertionSuccess()
                    : testing::AssertionFailure() << testing::PrintToString(daemon.Lines());
    }

    /// Waits for the first line about an LED. On a busy machine the LED worker can come before its table is filled, and then
    /// serves no LED.
    void AwaitLedWorker(Daemon& daemon)
    {
        AwaitFromStart(daemon, " Leds ");
    }

    /// Waits for a line of the start that a busy machine can lose by design. If the line does not come, starts
    /// the daemon and the board's pin again, because a test that needs the line cannot use such a start.
    bool AwaitFromStart(Daemon& daemon, const std::string& text)
    {
        constexpr std::chrono::seconds enough{2}; // a wrong guess costs a restart, no more
        const auto begun = [&] { return CountOf(daemon, text) > 0; };
        for (int starts = 0; starts < MaxStarts; ++starts)
        {
            if (!Await([&] { return begun() || HasOpened(daemon); }) || Await(begun, enough))
            {
                break;
            }
            StartAnew(daemon);
        }
        return begun();
    }

    /// The telegrams to KNX so far.
    std::vector<Simulator::Bytes> ToKnx() const
    {
        std::vector<Simulator::Bytes> telegrams;
        for (const Simulator::Event& event : events.Events())
        {
            if (event.kind == Simulator::Event::TelegramToKnx)
            {
                telegrams.push_back(event.bytes);
            }
        }
        return telegrams;
    }

    Simulator::CoProcessor& TheCoProcessor()
    {
        return board->TheCoProcessor();
    }

    /// What happened to the pins so far: "3 low" and "3 high" for a pin that is driven, "3 released".
    std::vector<std::string> PinChanges()
    {
        std::vector<std::string> changes;
        for (const auto& change : board->PinChanges())
        {
            const char* const state = change.driven ? (change.high ? " high" : " low") : " released";
            changes.push_back(std::to_string(change.pin) + state);
        }
        return changes;
    }

    void Fail(Simulator::Operation operation, int error)
    {
        board->Faults()->Fail(operation, error);
    }

    void FailOnce(Simulator::Operation operation, int error)
    {
        board->Faults()->Fail(operation, error, 1, 1);
    }

    /// Every LED reports these events in any case.
    void FailPoll(short reported)
    {
        Simulator::Fault fault;
        fault.events = reported;
        fault.onlyTheseEvents = true;
        board->Faults()->Set(Simulator::Operation::UledsPoll, fault);
    }

    static constexpr int MaxStarts = 10;

    bool IsSeen(std::size_t next)
    {
        seen = next != 0 ? next : seen;
        return next != 0;
    }

    void StartAnew(Daemon& daemon)
    {
        daemon.Restart();
        board->StartPinsAnew();
        seen = events.Count();
    }

    // On a busy machine the LED worker can also come before a row of its table has its configured name. The
    // daemon's line about that LED may then have either name.
    static bool HasBuiltInName()
    {
        const std::filesystem::path leds = "/sys/class/leds";
        return exists(leds / "knx1") || exists(leds / "knx2") || exists(leds / "pow") || exists(leds / "tel");
    }

    static long CountOf(const Daemon& daemon, const std::string& text)
    {
        const auto lines = daemon.LogLines();
        return std::count_if(lines.begin(), lines.end(),
                             [&](const std::string& line) { return line.find(text) != std::string::npos; });
    }

    // The bridge listens to the link once it has opened its queues, and after the button does.
    static bool HasOpened(const Daemon& daemon)
    {
        return CountOf(daemon, "DEBUG Nemt Topic listener registered") == 2 ||
               CountOf(daemon, "DEBUG Nemt RegisterTopicListener(2)") == 1; // the link library that traces every call
    }

    Simulator::EventLog events;
    std::size_t seen = 0;
    std::unique_ptr<TestBoard> board = TestBoard::Make(events, ResetGpio);
};

/// Sets the brightness of an LED as an application does; false if the kernel refuses.
inline bool SetBrightness(const std::string& led, const std::string& brightness)
{
    std::ofstream file("/sys/class/leds/" + led + "/brightness");
    file << brightness << std::flush;
    return file.good();
}
