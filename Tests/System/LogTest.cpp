// What reaches the log, and how.

#include "OnBoard.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

using testing::AnyOf;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::StartsWith;

namespace
{

class Log : public OnBoard
{
protected:
    Log()
    {
        std::string name = (std::filesystem::temp_directory_path() / "orvel-test-XXXXXX").string();
        directory = mkdtemp(name.data());
    }

    ~Log() override
    {
        std::filesystem::remove_all(directory);
    }

    std::string WriteConfiguration(const std::string& text) const
    {
        const auto file = directory / "log.properties";
        std::ofstream(file) << text;
        return file;
    }

    std::filesystem::path directory;
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

TEST_F(Log, LinesCarryFileAndFunctionSignature)
{
    const auto file = WriteConfiguration("log4cplus.rootLogger=DEBUG,A\n"
                                         "log4cplus.appender.A=log4cplus::ConsoleAppender\n"
                                         "log4cplus.appender.A.layout=log4cplus::PatternLayout\n"
                                         "log4cplus.appender.A.layout.ConversionPattern=%F|%M|%m%n\n");
    auto daemon = Daemon::OnTraceLibrary({"--log_config_file", file}, {{"TRACE_OPEN", "0"}});
    EXPECT_EQ(daemon.Wait(), 255);
    EXPECT_EQ(daemon.Lines().back(), "Driver/OrvelDriver/Src/Main.cpp|int main(int, char**)|"
                                     "Failed to open port /dev/ttymxc2 for NEMT communication, aborting.");
    EXPECT_THAT(daemon.Lines(),
                Contains("Driver/OrvelDriver/Src/NemtLogAdapter.cpp|void NemtLog_Debug(char*)|Instance()"));
}

} // namespace
