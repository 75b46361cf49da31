#pragma once

#include "BoardState.h"
#include "Picture.h"
#include "System/Descriptor.h"
#include "System/Lines.h"
#include "System/Signals.h"
#include "System/Terminal/Terminal.h"
#include "System/WakeUp.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace Simulator
{

/// Shows the board in the terminal, and turns keys into the commands that a person would type. Runs on a thread of its own,
/// which has the terminal for itself.
class LiveBoard
{
public:
    /// While a demonstration goes on, until an event tells its end, only quitting and help are for the person. Telegrams can be
    /// typed, and are shown, with the names and values of `knownGroups`. Throws std::runtime_error.
    /// The signals of the terminal must be blocked before there is any thread (System::BlockSignals).
    LiveBoard(const std::string& boardName, bool demonstration, const Knx::KnownGroups& knownGroups);

    /// Leaves the terminal as it was.
    ~LiveBoard();

    LiveBoard(const LiveBoard&) = delete;
    LiveBoard& operator=(const LiveBoard&) = delete;

    /// An event of the board. Any thread.
    void OnEvent(std::chrono::microseconds since, const Event& event);

    /// What a person is told who has typed something. Any thread.
    void OnAnswer(const std::string& answer);

    /// The commands come out of it, one a line.
    int Commands() const
    {
        return commands.reading.Number();
    }

    /// Becomes the daemon's standard output.
    int DaemonOutput() const
    {
        return daemon.writing.Number();
    }

    /// Ends the picture, once the daemon has ended. Afterwards: the last lines of the log, for a person to read.
    void End();
    std::string LastLines() const;

private:
    using Clock = std::chrono::steady_clock;

    static constexpr std::size_t LongestLine = 4096; // characters of the daemon's log

    void ThreadFunction();
    bool ReadSignals();
    void ReadDaemon();
    void ReadKeys();
    void OnKey(int key);
    void OnPromptKey(int key);
    void OnDigit(int digit);
    void TypeWithPause(const std::string& command);
    bool TypeTelegram(const std::string& typed) const;
    void Type(const std::string& command) const;
    void Redraw();
    int PollTimeout() const;
    std::chrono::microseconds Since() const;

    const Clock::time_point began = Clock::now();

    const Knx::KnownGroups groups;

    mutable std::mutex mutex; // for the two that follow
    BoardState state;
    bool demonstrating;

    // Of the thread.
    View view;
    std::string telegram = "29 00 bc e0 11 01 0a 03 01 00 81"; // typed last
    System::Lines daemonLines{LongestLine};
    bool readsKeys = true;
    std::atomic<bool> dirty{true};
    Clock::time_point drawn;

    std::atomic<bool> running{true};
    System::WakeUp wakeUp;
    System::Signals signals;
    System::Pipe commands{O_CLOEXEC | O_NONBLOCK};
    System::Pipe daemon;
    std::unique_ptr<System::Terminal> terminal;
    std::thread thread;
};

} // namespace Simulator
