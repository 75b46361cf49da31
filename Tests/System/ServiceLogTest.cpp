// The log configuration that is installed with the service.

#include "BenchKit/OnBoard.h"
#include "BenchKit/Paths.h"
#include "BenchKit/TemporaryDirectory.h"

#include <gmock/gmock.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;

namespace
{

using ServiceLog = OnBoard;

std::string Installed()
{
    return Paths::InSourceTree("Packaging/System/log4cplus.properties");
}

TEST_F(ServiceLog, HasWarningsAndErrorsOnlyEachBehindItsPriority)
{
    auto daemon = Daemon::OnTraceLibrary({"--log_config_file", Installed()},
                                         {{"TRACE_CONNECTED", "0"}, {"TRACE_RECONNECT", "0"}});
    EXPECT_EQ(daemon.Wait(), 255);
    const auto lines = daemon.Lines();
    EXPECT_THAT(lines, Each(MatchesRegex("<2>.* ERROR Main <> - .*|<3>.* ERROR (Nemt|Cemi|Leds|Buttons|Reset) <> - .*|"
                                         "<4>.* WARN Nemt <> - .*")));

    EXPECT_GE(CountOf(daemon, "WARN Nemt a warning"), 1);
    EXPECT_GE(CountOf(daemon, "ERROR Nemt an error"), 1);
}

TEST_F(ServiceLog, TellsTheLossOfTheLinkAndItsEndAtAPriorityOfTheirOwn)
{
    auto daemon = Daemon::OnTraceLibrary({"--log_config_file", Installed()},
                                         {{"TRACE_CONNECTED", "0"}, {"TRACE_RECONNECT", "0"}});
    EXPECT_EQ(daemon.Wait(), 255);
    std::vector<std::string> important;
    for (const std::string& line : daemon.Lines())
    {
        if (line.rfind("<2>", 0) == 0)
        {
            important.push_back(line);
        }
    }
    EXPECT_THAT(important,
                ElementsAre(HasSubstr("ERROR Main <> - Lost connection to STM32, resetting and trying to reconnect."),
                            HasSubstr("ERROR Main <> - Failed to reconnect to STM32, aborting.")));
    EXPECT_EQ(CountOf(daemon, " Main "), 2); // and not a second time with the others
}

TEST_F(ServiceLog, HasAllLinesOfTheBuiltInLogWhenItsOneLineIsUncommented)
{
    std::ifstream installed(Installed());
    std::string text(std::istreambuf_iterator<char>(installed), {});
    const auto comment = text.find("#log4cplus.rootLogger=DEBUG");
    ASSERT_NE(comment, std::string::npos);
    text.erase(comment, 1);
    const TemporaryDirectory directory;
    const auto file = directory.File("log4cplus.properties");
    std::ofstream(file) << text;

    // This start ends because the serial device cannot be opened, so all lines are the main thread's.
    const Daemon::Environment environment{{"TRACE_OPEN", "0"}, {"TZ", "FAR-14:30"}};
    auto builtIn = Daemon::OnTraceLibrary({}, environment);
    EXPECT_EQ(builtIn.Wait(), 255);
    auto service = Daemon::OnTraceLibrary({"--log_config_file", file}, environment);
    EXPECT_EQ(service.Wait(), 255);
    EXPECT_EQ(service.LogLines(), builtIn.LogLines());
    EXPECT_THAT(service.Lines(),
                Each(MatchesRegex("<7>.* DEBUG .*|<4>.* WARN .*|<3>.* ERROR (Nemt|Cemi|Leds|Buttons|Reset) .*|"
                                  "<2>.* ERROR Main .*")));
    const auto first = builtIn.LogLines().front();
    ASSERT_TRUE(service.TimeOf(first) && builtIn.TimeOf(first));
    EXPECT_LT(std::chrono::abs(*service.TimeOf(first) - *builtIn.TimeOf(first)), std::chrono::hours(14)); // both local
}

} // namespace
