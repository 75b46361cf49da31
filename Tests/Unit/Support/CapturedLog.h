#pragma once

#include <log4cplus/appender.h>
#include <log4cplus/spi/loggingevent.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

namespace UnitTests
{

struct LogLine
{
    std::string text; ///< "LEVEL Logger message"
    std::string file;
    std::string function;
};

/// Keeps everything that is logged, from DEBUG upward, in place of all other appenders.
class CapturedLog : public log4cplus::Appender
{
public:
    /// Resets the configuration of log4cplus and attaches a new log to the root logger.
    static log4cplus::helpers::SharedObjectPtr<CapturedLog> Attach();

    ~CapturedLog() override;

    void close() override;

    std::vector<std::string> Lines() const;

    /// The lines above DEBUG.
    std::vector<std::string> Failures() const;

    /// All lines with source file and function.
    std::vector<LogLine> Details() const;

    /// Waits for the `count`th line with this text.
    bool Await(const std::string& text, int count = 1);

    void Clear();

    /// Writing a line may change errno: from now on each line leaves `error` there (0 at first). A component that looks
    /// at errno only after it has logged decides wrongly.
    void LeaveErrno(int error);

protected:
    void append(const log4cplus::spi::InternalLoggingEvent& event) override;

private:
    CapturedLog() = default;

    mutable std::mutex mutex;
    std::condition_variable appended;
    std::vector<LogLine> lines;
    std::atomic<int> errnoAfterwards{0};
};

} // namespace UnitTests
