#include "Logging.h"

#include "ComponentTest.h"
#include "NemtLogAdapter.h"

#include <fcntl.h>
#include <log4cplus/appender.h>
#include <log4cplus/loggingmacros.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace
{

using namespace UnitTests;

// Standard output as a service manager sees it: a pipe.
class OutputPipe
{
public:
    OutputPipe()
    {
        std::fflush(stdout);
        original = dup(STDOUT_FILENO);
        EXPECT_EQ(pipe2(ends.data(), O_NONBLOCK | O_CLOEXEC), 0);
        dup2(ends[1], STDOUT_FILENO);
        OrvelDriver::WriteOutputByLine();
    }

    ~OutputPipe()
    {
        std::fflush(stdout);
        dup2(original, STDOUT_FILENO);
        for (const int fd : {original, ends[0], ends[1]})
        {
            Kernel::Close.Real(fd);
        }
    }

    OutputPipe(const OutputPipe&) = delete;
    OutputPipe& operator=(const OutputPipe&) = delete;

    // What has reached the other end by now, without another flush.
    std::string Arrived() const
    {
        std::array<char, 4096> buffer{};
        const ssize_t length = Kernel::Read.Real(ends[0], buffer.data(), buffer.size());
        return length > 0 ? std::string(buffer.data(), static_cast<std::size_t>(length)) : std::string{};
    }

private:
    int original = -1;
    std::array<int, 2> ends{};
};

std::string DigitsAsNines(std::string text)
{
    std::replace_if(
        text.begin(), text.end(), [](char character) { return character >= '0' && character <= '9'; }, '9');
    return text;
}

class Logging : public ComponentTest
{
protected:
    Logging()
    {
        std::string path = testing::TempDir() + "orvelLoggingXXXXXX";
        EXPECT_NE(mkdtemp(path.data()), nullptr);
        directory = path;
    }

    ~Logging() override
    {
        log4cplus::Logger::getDefaultHierarchy().resetConfiguration(); // closes the log file
        std::filesystem::remove_all(directory);
    }

    // A property file that sends all lines from `level` upward, as "LEVEL Logger text", into a file.
    std::string WriteProperties(const std::string& level) const
    {
        std::string path = directory / "log.properties";
        std::ofstream(path) << "log4cplus.rootLogger=" << level << ",F\n"
                            << "log4cplus.appender.F=log4cplus::FileAppender\n"
                            << "log4cplus.appender.F.File=" << (directory / "log").string() << "\n"
                            << "log4cplus.appender.F.ImmediateFlush=true\n"
                            << "log4cplus.appender.F.layout=log4cplus::PatternLayout\n"
                            << "log4cplus.appender.F.layout.ConversionPattern=%p %c %m%n\n";
        return path;
    }

    std::string Logged() const
    {
        std::ifstream file(directory / "log");
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }

    std::filesystem::path directory;
};

TEST_F(Logging, PrintsDebugLinesWithADateToTheConsoleWithoutAPropertyFile)
{
    const OutputPipe console;
    OrvelDriver::ConfigureLogging("");
    LOG4CPLUS_DEBUG(log4cplus::Logger::getInstance("Cemi"), "a line");
    const std::string arrived = DigitsAsNines(console.Arrived());
    const std::string begin = "99.99.9999 99:99:99.999 [";
    const std::string end = "] DEBUG Cemi <> - a line\n";
    EXPECT_EQ(arrived.substr(0, begin.size()), begin);
    ASSERT_GT(arrived.size(), begin.size() + end.size());
    EXPECT_EQ(arrived.substr(arrived.size() - end.size()), end);
}

TEST_F(Logging, WritesTheDateWithDayMonthAndYearInThisOrder)
{
    std::array<char, 16> before{};
    std::array<char, 16> after{};
    const auto today = [](std::array<char, 16>& text)
    {
        const time_t now = time(nullptr);
        tm parts{};
        EXPECT_GT(std::strftime(text.data(), text.size(), "%d.%m.%Y", localtime_r(&now, &parts)), 0U);
    };
    const OutputPipe console;
    OrvelDriver::ConfigureLogging("");
    today(before);
    LOG4CPLUS_DEBUG(log4cplus::Logger::getInstance("Cemi"), "a line");
    today(after);
    const std::string date = console.Arrived().substr(0, 10);
    EXPECT_TRUE(date == before.data() || date == after.data()) << date;
}

TEST_F(Logging, ShowsEachLineAtOnceAlsoWhereTheConsoleIsAPipe)
{
    const OutputPipe console;
    std::setvbuf(stdout, nullptr, _IOFBF, BUFSIZ); // as the C library begins with a pipe
    OrvelDriver::WriteOutputByLine();
    OrvelDriver::ConfigureLogging("");
    LOG4CPLUS_DEBUG(log4cplus::Logger::getInstance("Cemi"), "first");
    EXPECT_NE(console.Arrived().find("first\n"), std::string::npos);
    LOG4CPLUS_DEBUG(log4cplus::Logger::getInstance("Cemi"), "second");
    EXPECT_NE(console.Arrived().find("second\n"), std::string::npos);
}

TEST_F(Logging, PrintsFromDebugUpward)
{
    const OutputPipe console;
    OrvelDriver::ConfigureLogging("");
    const auto logger = log4cplus::Logger::getInstance("Leds");
    LOG4CPLUS_TRACE(logger, "trace");
    EXPECT_EQ(console.Arrived(), "");
    LOG4CPLUS_FATAL(logger, "fatal");
    EXPECT_NE(console.Arrived().find(" FATAL Leds <> - fatal\n"), std::string::npos);
}

TEST_F(Logging, NamesItsConsoleAppender)
{
    OrvelDriver::ConfigureLogging("");
    const auto appenders = log4cplus::Logger::getRoot().getAllAppenders();
    ASSERT_EQ(appenders.size(), 1U);
    EXPECT_EQ(appenders[0]->getName(), "A1");
    EXPECT_EQ(log4cplus::Logger::getRoot().getLogLevel(), log4cplus::DEBUG_LOG_LEVEL);
}

TEST_F(Logging, FollowsAPropertyFileInsteadOfUsingTheConsole)
{
    const OutputPipe console;
    OrvelDriver::ConfigureLogging(WriteProperties("DEBUG"));
    LOG4CPLUS_DEBUG(log4cplus::Logger::getInstance("Buttons"), "a line");
    EXPECT_EQ(Logged(), "DEBUG Buttons a line\n");
    EXPECT_EQ(console.Arrived(), "");
}

TEST_F(Logging, SilencesTheDebugLinesOfTheLinkLibraryFromWarnUpward)
{
    OrvelDriver::ConfigureLogging(WriteProperties("WARN"));
    std::string text = "plain";
    std::string format = "formatted %d";
    NemtLog_Debug(text.data());
    NemtLog_DebugFmt(format.data(), 1);
    NemtLog_DebugHex(text.data(), nullptr, 0);
    NemtLog_Warn(text.data());
    NemtLog_WarnFmt(format.data(), 2);
    NemtLog_Error(text.data());
    NemtLog_ErrorFmt(format.data(), 3);
    EXPECT_EQ(Logged(), "WARN Nemt plain\nWARN Nemt formatted 2\nERROR Nemt plain\nERROR Nemt formatted 3\n");
}

TEST_F(Logging, ReplacesAVariableOfAPropertyFileOnce)
{
    const std::string properties = WriteProperties("DEBUG");
    std::ofstream(properties, std::ios::app) << "log4cplus.appender.F.layout.ConversionPattern=${ORVEL_OUTER}%n\n";
    setenv("ORVEL_OUTER", "${ORVEL_INNER}", 1);
    setenv("ORVEL_INNER", "inner", 1);
    OrvelDriver::ConfigureLogging(properties);
    unsetenv("ORVEL_OUTER");
    unsetenv("ORVEL_INNER");
    LOG4CPLUS_DEBUG(log4cplus::Logger::getInstance("Cemi"), "a line");
    EXPECT_EQ(Logged(), "${ORVEL_INNER}\n");
}

TEST_F(Logging, LeavesAMissingPropertyFileToTheLoggingLibrary)
{
    testing::internal::CaptureStderr(); // the logging library may complain there
    EXPECT_NO_THROW(OrvelDriver::ConfigureLogging(directory / "missing"));
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(log->Lines(), Texts{}); // and the daemon adds nothing
}

} // namespace
