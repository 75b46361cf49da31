#include "Commands.h"

#include <gtest/gtest.h>

using namespace Simulator;

namespace
{

class CommandsTest : public testing::Test
{
protected:
    EventLog events;
    SerialLine line;
    CoProcessor coProcessor{line, events};
    Commands commands{coProcessor};
};

TEST_F(CommandsTest, TakesATelegramWithBlanksColonsOrNothingBetweenItsBytes)
{
    std::size_t seen = 0;
    for (const char* const typed : {"telegram 29 00 bc", "telegram 29\t00\tbc", "telegram 29:00:bc", "telegram 2900bc"})
    {
        EXPECT_EQ(commands.Execute(typed), "");
        const std::size_t next = events.Await(Event{Event::TelegramFromKnx, Bytes{0x29, 0x00, 0xBC}}, seen, {});
        EXPECT_GT(next, seen) << typed;
        seen = next;
    }
}

TEST_F(CommandsTest, SaysHowATelegramIsTyped)
{
    for (const char* const typed : {"telegram", "telegram 2", "telegram 29;00", "telegram no"})
    {
        EXPECT_EQ(commands.Execute(typed),
                  "'telegram' takes 1 to 1024 bytes of two hexadecimal digits each; blanks and "
                  "colons may stand between them; or a group, a value and its type, such as 1/2/3 21.5 9.001");
    }
    EXPECT_EQ(events.Await(Event::TelegramFromKnx, 0, {}), 0U);
}

} // namespace
