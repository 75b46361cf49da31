// What reaches the log, and how.

#include "BenchKit/OnBoard.h"
#include "BenchKit/Paths.h"
#include "BenchKit/TemporaryDirectory.h"

#include "System/Process.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>

using testing::AllOf;
using testing::AnyOf;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsSupersetOf;
using testing::MatchesRegex;
using testing::StartsWith;

namespace
{

class Log : public OnBoard
{
protected:
    std::string WriteConfiguration(const std::string& text) const
    {
        std::string file = directory.File("log.properties");
        std::ofstream(file) << text;
        return file;
    }

    const TemporaryDirectory directory;
};

TEST_F(Log, EachLineIsWrittenWhenItHappensAlsoIntoAPipe)
{
    Daemon daemon;
    EXPECT_TRUE(AwaitRunning(daemon)); // its standard output is a pipe, and it still runs
    EXPECT_EQ(daemon.Stop(), 0);
}

TEST_F(Log, LinesOfTheLinkLibraryAppearUnderTheirOwnLogger)
{
    Daemon daemon;
    EXPECT_TRUE(AwaitRunning(daemon));
    EXPECT_EQ(daemon.Stop(), 0);
    EXPECT_THAT(daemon.LogLines(), Contains(StartsWith("DEBUG Nemt ")));
}

TEST_F(Log, APropertyFileAtWarnSilencesDebugLinesButNotWarningsAndErrors)
{
    const auto file = WriteConfiguration("log4cplus.rootLogger=WARN,A\n"
                                         "log4cplus.appender.A=log4cplus::ConsoleAppender\n"
                                         "log4cplus.appender.A.layout=log4cplus::PatternLayout\n"
                                         "log4cplus.appender.A.layout.ConversionPattern=%p %c %m%n\n");
    auto daemon = Daemon::OnTraceLibrary({"--log_config_file", file});
    ASSERT_TRUE(Await([] { return Queue::Exists("/cemiToLL"); }));
    EXPECT_EQ(daemon.Stop(), 0);
    auto lines = daemon.Lines();
    EXPECT_THAT(lines, Each(AnyOf(StartsWith("WARN "), StartsWith("ERROR "))));
    ASSERT_GE(lines.size(), 4U); // more where the first reports of the LEDs found the link closed
    lines.resize(4);
    EXPECT_THAT(
        lines, ElementsAre("WARN Nemt a warning", "WARN Nemt a warning", "ERROR Nemt an error", "ERROR Nemt an error"));
}

// The layout of an appender that shows where each line comes from.
std::string WithOrigin(const std::string& appender)
{
    return "log4cplus.appender." + appender + ".layout=log4cplus::PatternLayout\n" + //
           "log4cplus.appender." + appender + ".layout.ConversionPattern=%p %c %F|%M|%m%n\n";
}

TEST_F(Log, ThePortThatCannotBeOpenedIsALineOfMain)
{
    const auto file = WriteConfiguration("log4cplus.rootLogger=DEBUG,A\n"
                                         "log4cplus.appender.A=log4cplus::ConsoleAppender\n" +
                                         WithOrigin("A"));
    auto daemon = Daemon::OnTraceLibrary({"--log_config_file", file}, {{"TRACE_OPEN", "0"}});
    EXPECT_EQ(daemon.Wait(), 255);
    EXPECT_EQ(daemon.Lines().back(), "ERROR Main Driver/OrvelDriver/Src/Main.cpp|int main(int, char**)|"
                                     "Failed to open port /dev/ttymxc2 for NEMT communication, aborting.");
}

TEST_F(Log, TheLossOfTheLinkAndGivingItUpAreLinesOfMain)
{
    const auto file = WriteConfiguration("log4cplus.rootLogger=DEBUG,A\n"
                                         "log4cplus.appender.A=log4cplus::ConsoleAppender\n" +
                                         WithOrigin("A"));
    auto daemon =
        Daemon::OnTraceLibrary({"--log_config_file", file}, {{"TRACE_CONNECTED", "0"}, {"TRACE_RECONNECT", "0"}});
    EXPECT_EQ(daemon.Wait(), 255);
    const std::string main = "ERROR Main Driver/OrvelDriver/Src/Main.cpp|int main(int, char**)|";
    EXPECT_THAT(daemon.Lines(), IsSupersetOf({main + "Lost connection to STM32, resetting and trying to reconnect.",
                                              main + "Failed to reconnect to STM32, aborting."}));
}

TEST_F(Log, EachLineTellsItsSourceAndItsFunction)
{
    const auto log = directory.File("log");
    const auto file = WriteConfiguration("log4cplus.rootLogger=DEBUG,A,F\n"
                                         "log4cplus.appender.A=log4cplus::ConsoleAppender\n"
                                         "log4cplus.appender.A.layout=log4cplus::TTCCLayout\n"
                                         "log4cplus.appender.A.layout.DateFormat=%d.%m.%Y %H:%M:%S.%q\n"
                                         "log4cplus.appender.F=log4cplus::FileAppender\n"
                                         "log4cplus.appender.F.ImmediateFlush=true\n"
                                         "log4cplus.appender.F.File=" +
                                         log + "\n" + WithOrigin("F"));
    auto daemon = Daemon::OnTraceLibrary({"--log_config_file", file});
    ASSERT_TRUE(AwaitRunning(daemon));
    ASSERT_TRUE(daemon.AwaitLine("Set brightness of led prg1 to 0"));
    EXPECT_TRUE(Queue("/cemiToLL", Queue::For::Writing).Send({0x02, 0xAA, 0xBB}));
    ASSERT_TRUE(daemon.AwaitLine("Enqueued 2 cemi bytes"));
    EXPECT_EQ(daemon.Stop(), 0);

    std::vector<std::string> lines;
    std::ifstream written(log);
    for (std::string line; std::getline(written, line);)
    {
        lines.push_back(line);
    }
    const std::string sources = "Driver/OrvelDriver/Src/";
    EXPECT_THAT(
        lines,
        IsSupersetOf({
            "DEBUG Reset " + sources + "Reset.cpp|void OrvelDriver::Reset::ResetStm32()|Resetting STM32 using GPIO 3",
            "DEBUG Nemt " + sources + "NemtLogAdapter.cpp|void NemtLog_DebugFmt(char*, ...)|Open(/dev/ttymxc2, 0)",
            "DEBUG Nemt " + sources + "NemtLogAdapter.cpp|void NemtLog_Debug(char*)|IsConnected()",
            "DEBUG Leds " + sources +
                "Leds.cpp|bool OrvelDriver::Leds::OpenVirtualLedDevice(OrvelDriver::VirtualLedDevice&)|"
                "Created virtual led device prg1",
            "DEBUG Leds " + sources +
                "Leds.cpp|void OrvelDriver::Leds::ThreadFunction()|Set brightness of led prg1 to 0",
            "DEBUG Cemi " + sources +
                "Cemi.cpp|void OrvelDriver::Cemi::SendToUser(const char*, uint16_t)|"
                "Sended cemi message with size 4 from LL to user message queue",
            "DEBUG Cemi " + sources +
                "Cemi.cpp|void OrvelDriver::Cemi::ThreadFunction()|"
                "Enqueued 2 cemi bytes from message queue to LL",
        }));
    EXPECT_THAT(lines, Contains(AllOf(StartsWith("DEBUG Buttons " + sources +
                                                 "MessageQueue.cpp|static mqd_t OrvelDriver::MessageQueue::Create("),
                                      EndsWith("|Opened message queue /progButton successfully"))));
}

TEST_F(Log, LinesBearTheLocalTime)
{
    // This is half an hour more than any machine's time zone.
    constexpr std::chrono::minutes ahead = std::chrono::hours(14) + std::chrono::minutes(30);
    const auto now = [] { return std::chrono::floor<std::chrono::milliseconds>(std::chrono::system_clock::now()); };
    const auto before = now();
    auto daemon = Daemon::OnTraceLibrary({}, {{"TRACE_OPEN", "0"}, {"TZ", "FAR-14:30"}});
    EXPECT_EQ(daemon.Wait(), 255);
    const auto after = now();
    const auto time = daemon.TimeOf("DEBUG Nemt Instance()");
    ASSERT_TRUE(time);
    EXPECT_GE(time->count(), (before.time_since_epoch() + ahead).count());
    EXPECT_LE(time->count(), (after.time_since_epoch() + ahead).count());
}

TEST_F(Log, EachLineIsOneWriteIntoAPipe)
{
    System::Pipe pipe(O_CLOEXEC | O_DIRECT); // each read gives what one write brought
    System::Process::Start start;
    start.command = {Daemon::Program(), "--version"};
    start.environment = {{"LD_LIBRARY_PATH", Paths::TraceLibrary()}, {"TRACE_OPEN", "0"}};
    start.standardOutput = pipe.writing.Number();
    System::Process daemon(start);
    pipe.writing.Close();
    std::vector<std::string> writes;
    std::array<char, 4096> buffer{};
    for (ssize_t size = 1; size > 0;)
    {
        size = read(pipe.reading.Number(), buffer.data(), buffer.size());
        writes.emplace_back(buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
    }
    EXPECT_EQ(daemon.Wait(), 255);
    writes.pop_back(); // the end
    EXPECT_GE(writes.size(), 9U);
    EXPECT_THAT(writes, Each(MatchesRegex("[^\n]+\n")));
}

} // namespace
