#include "System/OpenMetrics.h"

#include <gmock/gmock.h>

#include <sstream>

using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;

namespace
{

System::Samples Read(const std::string& text)
{
    std::istringstream stream(text);
    return System::ReadOpenMetrics(stream, "orvel_gateway_");
}

TEST(OpenMetrics, AreNamedByTheirFamilyAndTheValuesOfTheirLabels)
{
    EXPECT_THAT(Read("# TYPE orvel_gateway_frames counter\n"
                     "# HELP orvel_gateway_frames Frames exchanged with the daemon.\n"
                     "orvel_gateway_frames_total{direction=\"from_bus\"} 120\n"
                     "orvel_gateway_frames_total{direction=\"to_bus\"} 30\n"
                     "orvel_gateway_program_lost_messages_total{program=\"a b\",connection=\"7\"} 2\n"
                     "orvel_gateway_programs 3\n"
                     "orvel_gateway_bus_load_percent 2.5\n"
                     "# EOF\n"),
                UnorderedElementsAre(Pair("frames.from_bus", 120), Pair("frames.to_bus", 30),
                                     Pair("program_lost_messages.a b.7", 2), Pair("programs", 3),
                                     Pair("bus_load_percent", 2.5)));
}

TEST(OpenMetrics, ABraceInTheValueOfALabelDoesNotEndTheLabels)
{
    EXPECT_THAT(Read("orvel_gateway_x{a=\"}\",b=\"{\"} 1\n"), UnorderedElementsAre(Pair("x.}.{", 1)));
    EXPECT_THAT(Read("orvel_gateway_x{} 1\n"), UnorderedElementsAre(Pair("x", 1)));
}

TEST(OpenMetrics, LeavesOutWhatIsNotUnderstood)
{
    EXPECT_THAT(Read(""), IsEmpty());
    EXPECT_THAT(Read("\norvel_gateway_x\norvel_gateway_x{a=\"\norvel_gateway_x{a=\"b\"}\norvel_gateway_x much\n"),
                IsEmpty());
}

} // namespace
