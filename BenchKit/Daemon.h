#pragma once

#include "BenchKit/PipedProcess.h"

#include "Event.h"

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// A program as a process, with its output: the unmodified daemon, or another program.
class Daemon
{
public:
    using Environment = std::vector<std::pair<std::string, std::string>>;

    /// Starts the daemon on the stand-in link library.
    explicit Daemon(std::vector<std::string> options = {});

    /// Starts the daemon on the link library that traces every call.
    static Daemon OnTraceLibrary(std::vector<std::string> options = {}, Environment environment = {});

    /// Starts any program. Its standard input is the test's own unless another descriptor is given.
    Daemon(std::vector<std::string> command, Environment environment, int standardInput = -1);

    /// The daemon's file.
    static std::string Program();

    /// Kills the program if it still runs.
    ~Daemon() = default;

    Daemon(const Daemon&) = delete;
    Daemon& operator=(const Daemon&) = delete;

    /// Stops the program and starts it again in the same way, with no lines written yet.
    void Restart();

    /// Waits for a line that contains `text` and comes after those that were awaited before; false if none came
    /// for long.
    bool AwaitLine(const std::string& text);

    /// Of the board's program: the same for the line that tells of this event.
    bool AwaitEvent(const Simulator::Event& event);

    void Interrupt() const;
    void Signal(int signal) const;
    pid_t Id() const;
    bool HasEnded() const;

    /// Waits for the program's end and returns its exit status; all its output has been read then. If the
    /// program does not end for long, kills it, and the status is 137.
    int Wait();

    /// Sends SIGINT, then calls Wait.
    int Stop();

    /// Everything that the program wrote so far.
    std::vector<std::string> Lines() const;

    /// The program's log lines so far as "LEVEL Logger text", without date and thread.
    std::vector<std::string> LogLines() const;

    /// The log lines of the thread that logged first, which is the main thread.
    std::vector<std::string> MainThreadLines() const;

    /// How many of the log lines are `line`, as LogLines gives them.
    long Count(const std::string& line) const;

    /// The time of the first log line with this text; nothing if there is none.
    std::optional<std::chrono::milliseconds> TimeOf(const std::string& text) const;

private:
    struct LogLine
    {
        std::chrono::milliseconds time; // as the clock on the wall shows it
        std::string thread;
        std::string text;
    };

    std::vector<LogLine> Log() const;
    void Begin();

    System::Process::Start start;
    mutable std::mutex mutex;
    std::condition_variable added;
    std::vector<std::string> lines;
    std::size_t awaited = 0;               // lines up to the last one that was waited for
    std::unique_ptr<PipedProcess> process; // whose thread uses the lines
};
