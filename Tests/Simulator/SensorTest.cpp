#include "Sensor.h"

#include <gmock/gmock.h>

using namespace Simulator;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

constexpr uint16_t Group = 0x1301;
const Knx::GroupValue One{{0x01}, false};
const Knx::GroupValue Two{{0x02}, false};
const Device::Clock::time_point Start{1h};

TEST(Sensor, SendsOneValueAfterTheOtherAndThenTheFirstAgain)
{
    Sensor sensor(Group, {One, Two}, 10s);
    sensor.Begin(Start);
    EXPECT_EQ(sensor.NextTime(), Start + 10s);
    EXPECT_THAT(sensor.OnTime(Start + 10s - 1ms), IsEmpty());
    EXPECT_THAT(sensor.OnTime(Start + 10s), ElementsAre(Device::Report{Group, One}));
    EXPECT_THAT(sensor.OnTime(Start + 10s), IsEmpty());
    EXPECT_EQ(sensor.NextTime(), Start + 20s);
    EXPECT_THAT(sensor.OnTime(Start + 20s + 5ms), ElementsAre(Device::Report{Group, Two}));
    EXPECT_EQ(sensor.NextTime(), Start + 30s) << "the pace does not slip";
    EXPECT_THAT(sensor.OnTime(Start + 30s), ElementsAre(Device::Report{Group, One}));
}

TEST(Sensor, LeavesOutWhatItHasMissed)
{
    Sensor sensor(Group, {One, Two}, 10s);
    sensor.Begin(Start);
    EXPECT_THAT(sensor.OnTime(Start + 95s), ElementsAre(Device::Report{Group, One}));
    EXPECT_EQ(sensor.NextTime(), Start + 105s);
}

TEST(Sensor, AnswersWithWhatItHasSentLast)
{
    Sensor sensor(Group, {One, Two}, 10s);
    sensor.Begin(Start);
    EXPECT_EQ(sensor.ValueOf(Group), One) << "before it has sent";
    sensor.OnTime(Start + 10s);
    EXPECT_EQ(sensor.ValueOf(Group), One);
    sensor.OnTime(Start + 20s);
    EXPECT_EQ(sensor.ValueOf(Group), Two);
    EXPECT_EQ(sensor.ValueOf(0x1302), std::nullopt);
}

TEST(Sensor, IsToldNothing)
{
    Sensor sensor(Group, {One}, 10s);
    EXPECT_THAT(sensor.OnWrite(Group, Two), IsEmpty());
    EXPECT_EQ(sensor.ValueOf(Group), One);
}

} // namespace
