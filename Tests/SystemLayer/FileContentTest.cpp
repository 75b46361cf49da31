#include "System/FileContent.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <fstream>
#include <string>
#include <system_error>

using System::FileContent;

namespace
{

// A file with this content, which is removed with this object.
class TemporaryFile
{
public:
    explicit TemporaryFile(const std::string& content)
        : name(testing::TempDir() + "content-" + std::to_string(getpid()))
    {
        std::ofstream(name) << content;
    }

    ~TemporaryFile()
    {
        unlink(name.c_str());
    }

    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    const std::string name;
};

// What FileContent says when it fails; empty when it does not.
std::string FailureOf(const std::string& name, std::size_t most)
{
    try
    {
        static_cast<void>(FileContent(name, most));
        return "";
    }
    catch (const std::system_error& failure)
    {
        return failure.what();
    }
}

TEST(FileContent, IsAllOfAFileHoweverLongAndWhateverItsBytes)
{
    const std::string content = std::string(100'000, 'x') + std::string("\0\n\xFF", 3);
    EXPECT_EQ(FileContent(TemporaryFile(content).name, content.size()), content);
    EXPECT_EQ(FileContent("/dev/null", 0), "");
}

TEST(FileContent, IsNotReadBeyondWhatTheCallerTakes)
{
    const TemporaryFile file("four");
    EXPECT_EQ(FileContent(file.name, 4), "four");
    EXPECT_EQ(FailureOf(file.name, 3), "cannot read " + file.name + ": File too large");
    EXPECT_EQ(FailureOf("/dev/zero", 1'000'000), "cannot read /dev/zero: File too large");
}

TEST(FileContent, TellsInOneLineWhatCannotBeRead)
{
    EXPECT_EQ(FailureOf("/no/such/file", 1), "cannot read /no/such/file: No such file or directory");
    EXPECT_EQ(FailureOf("/", 1), "cannot read /: Is a directory");
}

} // namespace
