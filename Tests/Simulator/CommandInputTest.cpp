#include "CommandInput.h"

#include "System/Descriptor.h"

#include <gmock/gmock.h>

#include <unistd.h>

#include <string>
#include <vector>

using Simulator::CommandInput;
using testing::ElementsAre;

namespace
{

// What a person types comes through a pipe.
class CommandInputTest : public testing::Test
{
protected:
    void Type(const std::string& text)
    {
        EXPECT_EQ(write(pipe.writing.Number(), text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }

    // Takes what is there; false at the end.
    bool Read()
    {
        return input.Read([this](const std::string& line) { lines.push_back(line); });
    }

    System::Pipe pipe;
    CommandInput input{pipe.reading.Number()};
    std::vector<std::string> lines;
};

TEST_F(CommandInputTest, GivesEachLineOnceItIsComplete)
{
    Type("press\nrel");
    EXPECT_TRUE(Read());
    EXPECT_THAT(lines, ElementsAre("press"));
    Type("ease\n");
    EXPECT_TRUE(Read());
    EXPECT_THAT(lines, ElementsAre("press", "release"));
}

TEST_F(CommandInputTest, GivesTheLastLineAtTheEndAlsoWithoutANewline)
{
    Type("quit");
    pipe.writing.Close();
    EXPECT_TRUE(Read());
    EXPECT_FALSE(Read());
    EXPECT_THAT(lines, ElementsAre("quit"));
}

TEST_F(CommandInputTest, KeepsOnlyTheBeginningOfALineThatHasNoEnd)
{
    const std::string block(4096, 'x');
    for (std::size_t typed = 0; typed < 2 * CommandInput::LongestLine; typed += block.size())
    {
        Type(block);
        EXPECT_TRUE(Read());
    }
    Type("\nhelp\n");
    EXPECT_TRUE(Read());
    EXPECT_THAT(lines, ElementsAre(std::string(CommandInput::LongestLine, 'x'), "help"));
}

} // namespace
