#include "RotatingOutput.h"

#include "BenchKit/TemporaryDirectory.h"
#include "Rejection.h"

#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <iterator>

using OrvelClient::RotatingOutput;
using OrvelClient::Rotation;
using OrvelClient::Status;

namespace
{

class RotatingOutputTest : public testing::Test
{
protected:
    std::string Content(const std::string& ending = "") const
    {
        std::ifstream stream(file + ending);
        return stream ? std::string(std::istreambuf_iterator<char>(stream), {}) : "none";
    }

    const TemporaryDirectory directory;
    const std::string file = directory.File("log");
};

TEST_F(RotatingOutputTest, BeginsANewFileBeforeOneBecomesTooLarge)
{
    RotatingOutput output(file, Rotation{10, 2}, "+");
    for (const char* const text : {"1234", "5678", "abcd", "efgh", "ijkl"})
    {
        output.Add(text);
    }
    output.Flush();
    EXPECT_EQ(Content(), "+ijkl");
    EXPECT_EQ(Content(".1"), "+abcdefgh");
    EXPECT_EQ(Content(".2"), "+12345678");
    EXPECT_EQ(Content(".3"), "none");
}

TEST_F(RotatingOutputTest, KeepsSoManyFullFiles)
{
    RotatingOutput output(file, Rotation{4, 1}, "");
    for (const char* const text : {"1234", "5678", "abcd"})
    {
        output.Add(text);
    }
    output.Flush();
    EXPECT_EQ(Content(), "abcd");
    EXPECT_EQ(Content(".1"), "5678");
    EXPECT_EQ(Content(".2"), "none");
}

TEST_F(RotatingOutputTest, WritesWhatIsLargerThanAFileMayBe)
{
    RotatingOutput output(file, Rotation{2, 1}, "+");
    output.Add("1234");
    output.Add("5678");
    output.Flush();
    EXPECT_EQ(Content(), "+5678");
    EXPECT_EQ(Content(".1"), "+1234");
}

TEST_F(RotatingOutputTest, KeepsWhatWasThereBefore)
{
    std::ofstream(file) << "before";
    RotatingOutput output(file, Rotation{10, 1}, "");
    output.Add("now");
    output.Flush();
    EXPECT_EQ(Content(), "now");
    EXPECT_EQ(Content(".1"), "before");
}

TEST_F(RotatingOutputTest, OverwritesItWithoutARotation)
{
    std::ofstream(file) << "before";
    RotatingOutput output(file, std::nullopt, "+");
    output.Add(std::string(100000, 'x'));
    output.Flush();
    EXPECT_EQ(Content().size(), 100001);
    EXPECT_EQ(Content(".1"), "none");
}

TEST_F(RotatingOutputTest, GivesNoOtherNameToWhatIsNoRegularFile)
{
    const std::string target = directory.File("target");
    std::ofstream(target) << "before";
    std::filesystem::create_symlink(target, file);
    EXPECT_REJECTED(RotatingOutput(file, Rotation{10, 1}, ""), Status::WrongOption,
                    "a rotation needs a regular file, and " + file + " is none");
    EXPECT_EQ(Content(), "before");
    EXPECT_EQ(Content(".1"), "none");
    std::filesystem::remove(file);
    ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
    EXPECT_REJECTED(RotatingOutput(file, Rotation{10, 1}, ""), Status::WrongOption,
                    "a rotation needs a regular file, and " + file + " is none");
    EXPECT_TRUE(std::filesystem::is_fifo(file));
}

TEST_F(RotatingOutputTest, SaysWhatItCannotRename)
{
    std::filesystem::create_directory(file + ".1");
    std::ofstream(file) << "before";
    EXPECT_REJECTED(RotatingOutput(file, Rotation{10, 1}, ""), Status::Failed,
                    "cannot rename " + file + ": Is a directory");
    EXPECT_EQ(Content(), "before");
}

} // namespace
