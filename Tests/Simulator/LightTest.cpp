#include "Light.h"

#include <gmock/gmock.h>

using namespace Simulator;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

constexpr uint16_t Switch = 0x0901;
constexpr uint16_t State = 0x0902;
const Knx::GroupValue On{{0x01}, true};
const Knx::GroupValue Off{{0x00}, true};

TEST(Light, ReportsItsStateWhenItChanges)
{
    Light light({Switch, State});
    EXPECT_THAT(light.OnWrite(Switch, Off), IsEmpty()) << "it is off";
    EXPECT_THAT(light.OnWrite(Switch, On), ElementsAre(Device::Report{State, On}));
    EXPECT_THAT(light.OnWrite(Switch, On), IsEmpty());
    EXPECT_THAT(light.OnWrite(Switch, Off), ElementsAre(Device::Report{State, Off}));
}

TEST(Light, AnswersForItsStateOnly)
{
    Light light({Switch, State});
    EXPECT_EQ(light.ValueOf(State), Off);
    light.OnWrite(Switch, On);
    EXPECT_EQ(light.ValueOf(State), On);
    EXPECT_EQ(light.ValueOf(Switch), std::nullopt);
}

TEST(Light, TakesNoOtherGroupAndNoOtherValue)
{
    Light light({Switch, State});
    EXPECT_THAT(light.OnWrite(State, On), IsEmpty());
    EXPECT_THAT(light.OnWrite(0x0903, On), IsEmpty());
    EXPECT_THAT(light.OnWrite(Switch, {{0x01}, false}), IsEmpty()) << "a byte";
    EXPECT_THAT(light.OnWrite(Switch, {{0x02}, true}), IsEmpty()) << "two bits";
    EXPECT_EQ(light.ValueOf(State), Off);
    EXPECT_EQ(light.NextTime(), std::nullopt);
}

} // namespace
