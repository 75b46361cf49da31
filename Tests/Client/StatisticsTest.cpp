#include "Statistics.h"

#include "Message.h"

#include <gtest/gtest.h>

using namespace std::chrono_literals;
using Knx::FromHex;
using OrvelClient::Message;
using OrvelClient::Statistics;

namespace
{

void Add(Statistics& statistics, const std::string& hex)
{
    Message message;
    message.frame = FromHex(hex);
    statistics.Add(message);
}

const std::string Write = "29 00 bc e0 11 01 0a 03 01 00 81";
const std::string Read = "29 00 bc e0 11 02 0a 04 01 00 00";
const std::string Confirmed = "2e 00 bc e0 11 01 0a 03 01 00 81";
const std::string NotSent = "2e 00 bd e0 11 01 0a 03 01 00 81";

TEST(Statistics, CountsWhatWasOnTheBus)
{
    Statistics statistics;
    for (const std::string& hex :
         {Read, Write, Write, Confirmed, NotSent, std::string("b9 00 01"), std::string("29 00")})
    {
        Add(statistics, hex);
    }
    EXPECT_EQ(statistics.Report("12:00", 2s), "12:00 4 telegrams, 2.0/s, bus load 4.0 %\n"
                                              "  kinds     L_Data.ind 4, L_Data.con 2, link usable 1\n"
                                              "  services  A_GroupValue_Write 3, A_GroupValue_Read 1\n"
                                              "  groups    1/2/3 3, 1/2/4 1\n"
                                              "  sources   1.1.1 3, 1.1.2 1\n");
}

TEST(Statistics, ALineThatIsFullIsLoadedFully)
{
    Statistics statistics;
    for (int i = 0; i < 495; ++i)
    {
        Add(statistics, Write);
    }
    const std::string report = statistics.Report("12:00", 10s);
    EXPECT_EQ(report.substr(0, report.find('\n')), "12:00 495 telegrams, 49.5/s, bus load 100.0 %");
}

TEST(Statistics, BeginAnewAfterAReport)
{
    Statistics statistics;
    Add(statistics, Write);
    statistics.Report("12:00", 1s);
    EXPECT_EQ(statistics.Report("12:01", 1s), "12:01 0 telegrams, 0.0/s, bus load 0.0 %\n");
}

TEST(Statistics, ShowTheMostFrequent)
{
    Statistics statistics;
    for (uint8_t group = 0; group < 8; ++group)
    {
        for (int count = 0; count <= group; ++count)
        {
            Message message;
            message.frame = FromHex(Write);
            message.frame[7] = group;
            statistics.Add(message);
        }
    }
    EXPECT_NE(statistics.Report("", 1s).find("  groups    1/2/7 8, 1/2/6 7, 1/2/5 6, 1/2/4 5, 1/2/3 4 and 3 more\n"),
              std::string::npos);
}

} // namespace
