#include "MetricsWriter.h"

#include "CapturedLog.h"

#include <gmock/gmock.h>

#include <cstdlib>
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
    MetricsWriterTest()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "metrics-XXXXXX").string();
        directory = mkdtemp(pattern.data());
    }

    ~MetricsWriterTest() override
    {
        std::filesystem::remove_all(directory);
    }

    std::string File() const
    {
        return (directory / "metrics").string();
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
    std::filesystem::path directory;
};

TEST_F(MetricsWriterTest, WritesAtOnceAndThenEveryTenSecondsOnAverage)
{
    MetricsWriter writer(File(), now);
    EXPECT_TRUE(writer.IsDue(now));
    writer.Write({}, now);
    EXPECT_THAT(Content(), HasSubstr("orvel_gateway_programs 0\n"));
    EXPECT_FALSE(writer.IsDue(now + 9999ms));
    EXPECT_TRUE(writer.IsDue(now + 10s));
    writer.Write({}, now + 10900ms); // nobody asked before
    EXPECT_FALSE(writer.IsDue(now + 19999ms));
    EXPECT_TRUE(writer.IsDue(now + 20s));
}

TEST_F(MetricsWriterTest, DoesNotMakeUpForALongSleep)
{
    MetricsWriter writer(File(), now);
    writer.Write({}, now);
    writer.Write({}, now + 1h);
    writer.Write({}, now + 1h);
    EXPECT_FALSE(writer.IsDue(now + 1h + 9s));
}

TEST_F(MetricsWriterTest, WithoutAFileThereIsNothingToWrite)
{
    const MetricsWriter writer("", now);
    EXPECT_FALSE(writer.IsDue(now + 1h));
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
