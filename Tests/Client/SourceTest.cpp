#include "Source.h"

#include "Recorded.h"
#include "Rejection.h"

using OrvelClient::Source;
using OrvelClient::Status;
using OrvelClient::StopSignals;

namespace
{

TEST(Source, HasLinesOfAnyLength)
{
    const std::string longLine(200000, 'x');
    const File file("a\n\n" + longLine + "\nb");
    const StopSignals stop;
    Source source(file.Name(), stop);
    for (const std::string& expected : {std::string("a"), std::string(), longLine})
    {
        std::string_view line;
        ASSERT_TRUE(source.Line(line));
        EXPECT_EQ(line, expected);
        EXPECT_TRUE(source.HasLineEnded());
    }
    std::string_view line;
    ASSERT_TRUE(source.Line(line));
    EXPECT_EQ(line, "b");
    EXPECT_FALSE(source.HasLineEnded());
    EXPECT_FALSE(source.Line(line));
}

TEST(Source, ALineOfMoreThanAMegabyteIsNone)
{
    const File file(std::string(1300000, 'x'));
    const StopSignals stop;
    Source source(file.Name(), stop);
    std::string_view line;
    EXPECT_REJECTED(source.Line(line), Status::NotUnderstood, "has a line that does not end");
}

TEST(Source, LooksAheadAndSkipsOverMoreThanItHolds)
{
    const File file(std::string(300000, 'x') + "end");
    const StopSignals stop;
    Source source(file.Name(), stop);
    EXPECT_EQ(source.Ahead(2).substr(0, 2), "xx");
    EXPECT_GE(source.Ahead(100000).size(), 100000);
    EXPECT_TRUE(source.Skip(300000));
    EXPECT_EQ(source.Ahead(10), "end");
    EXPECT_FALSE(source.Skip(4));
    EXPECT_EQ(source.Ahead(1), "");
}

TEST(Source, TellsBeforeItWaits)
{
    const File file("a\nb\n");
    const StopSignals stop;
    Source source(file.Name(), stop);
    int waits = 0;
    source.BeforeWaiting([&waits] { ++waits; });
    std::string_view line;
    EXPECT_TRUE(source.Line(line));
    EXPECT_EQ(waits, 1);
    EXPECT_TRUE(source.Line(line));
    EXPECT_EQ(waits, 1); // it had it already
    EXPECT_FALSE(source.Line(line));
    EXPECT_EQ(waits, 2);
}

TEST(Source, IsNoFileThatThereIsNot)
{
    const StopSignals stop;
    EXPECT_REJECTED(Source("/no/such/file", stop), Status::Failed,
                    "cannot read /no/such/file: No such file or directory");
    EXPECT_REJECTED(Source("/", stop).Ahead(1), Status::Failed, "cannot read /: Is a directory");
}

} // namespace
