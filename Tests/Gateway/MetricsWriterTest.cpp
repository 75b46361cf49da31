#include "MetricsWriter.h"

#include "CapturedLog.h"

#include "BenchKit/TemporaryDirectory.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

using namespace OrvelGateway;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using UnitTests::CapturedLog;

namespace
{

class MetricsWriterTest : public testing::Test
{
protected:
    std::string File() const
    {
        return directory.File("metrics");
    }

    std::string Content() const
    {
        std::ifstream stream(File());
        std::ostringstream content;
        content << stream.rdbuf();
        return content.str();
    }

    log4cplus::helpers::SharedObjectPtr<CapturedLog> log = CapturedLog::Attach();
    MetricsWriter::Clock::time_point now{1h};
    const TemporaryDirectory directory;
};

TEST_F(MetricsWriterTest, WritesAtOnceAndThenEveryTenSecondsOnAverage)
{
    MetricsWriter writer(File(), now);
    EXPECT_TRUE(writer.IsDue(now, 0));
    writer.Write({}, now);
    EXPECT_THAT(Content(), HasSubstr("orvel_gateway_programs 0\n"));
    EXPECT_FALSE(writer.IsDue(now + 9999ms, 0));
    EXPECT_TRUE(writer.IsDue(now + 10s, 0));
    writer.Write({}, now + 10900ms); // nobody asked before
    EXPECT_FALSE(writer.IsDue(now + 19999ms, 0));
    EXPECT_TRUE(writer.IsDue(now + 20s, 0));
}

TEST_F(MetricsWriterTest, DoesNotMakeUpForALongSleep)
{
    MetricsWriter writer(File(), now);
    writer.Write({}, now);
    writer.Write({}, now + 1h);
    writer.Write({}, now + 1h);
    EXPECT_FALSE(writer.IsDue(now + 1h + 9s, 0));
}

TEST_F(MetricsWriterTest, WithoutAFileThereIsNothingToWrite)
{
    const MetricsWriter writer("", now);
    EXPECT_FALSE(writer.IsDue(now + 1h, 1));
}

TEST_F(MetricsWriterTest, FillsInTheBusLoadSinceTheLastTime)
{
    MetricsWriter writer(File(), now);
    Figures figures;
    figures.count.timeOnLine = 5s;
    writer.Write(figures, now + 10s);
    EXPECT_THAT(Content(), HasSubstr("\norvel_gateway_bus_load_percent 50.0\n"));
    figures.count.timeOnLine = 6s;
    writer.Write(figures, now + 20s);
    EXPECT_THAT(Content(), HasSubstr("\norvel_gateway_bus_load_percent 10.0\n"));
}

TEST_F(MetricsWriterTest, AChangeIsDueAtOnceAndNoPeriodOfTheBusLoad)
{
    MetricsWriter writer(File(), now);
    writer.Write({}, now);
    EXPECT_FALSE(writer.IsDue(now + 1s, 0));
    EXPECT_TRUE(writer.IsDue(now + 1s, 1));
    Figures figures;
    figures.changes = 1;
    figures.linkUp = true;
    figures.count.timeOnLine = 1s;
    writer.Write(figures, now + 1s);
    EXPECT_FALSE(writer.IsDue(now + 9s, 1));
    EXPECT_THAT(Content(), HasSubstr("\norvel_gateway_link_up 1\n"));
    EXPECT_THAT(Content(), HasSubstr("\norvel_gateway_bus_load_percent 0.0\n"));
    EXPECT_TRUE(writer.IsDue(now + 10s, 1));
    writer.Write(figures, now + 10s);
    EXPECT_THAT(Content(), HasSubstr("\norvel_gateway_bus_load_percent 10.0\n"));
}

TEST_F(MetricsWriterTest, SaysOnceThatItCannotWrite)
{
    std::filesystem::create_directory(File());
    MetricsWriter writer(File(), now);
    writer.Write({}, now);
    writer.Write({}, now + 10s);
    EXPECT_THAT(log->Lines(),
                ElementsAre(StartsWith("ERROR Metrics Failed to write the metrics: cannot replace " + File() + ": ")));
    std::filesystem::remove(File());
    log->Clear();
    writer.Write({}, now + 20s);
    EXPECT_THAT(log->Lines(), IsEmpty());
    EXPECT_THAT(Content(), HasSubstr("# EOF"));
    std::filesystem::remove(File());
    std::filesystem::create_directory(File());
    writer.Write({}, now + 30s);
    EXPECT_EQ(log->Lines().size(), 1U) << "it could write in between";
}

} // namespace
