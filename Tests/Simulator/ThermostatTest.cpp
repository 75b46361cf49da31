#include "Thermostat.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

using namespace Simulator;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

constexpr uint16_t Temperature = 0x1101;
constexpr uint16_t Setpoint = 0x1102;
constexpr uint16_t Heating = 0x1105;
const Device::Clock::time_point Start{1h};

Knx::GroupValue Degrees(const std::string& text)
{
    return Encode(Knx::DatapointTypeOf("9.001"), text);
}

// A thermostat, and the time that goes on for it.
class ThermostatTest : public testing::Test
{
protected:
    ThermostatTest()
    {
        thermostat.Begin(now);
    }

    // What it says in the next interval: "19.4 °C", "heating On".
    std::vector<std::string> Next()
    {
        now += 5s;
        return Texts(thermostat.OnTime(now));
    }

    static std::vector<std::string> Texts(const Device::Reports& reports)
    {
        std::vector<std::string> texts;
        for (const auto& report : reports)
        {
            texts.push_back(report.group == Heating ? "heating " + ToText(Knx::DatapointTypeOf("1.001"), report.value)
                                                    : Text(report.value));
            EXPECT_TRUE(report.group == Heating || report.group == Temperature);
        }
        return texts;
    }

    static std::string Text(const std::optional<Knx::GroupValue>& value)
    {
        return value ? ToText(Knx::DatapointTypeOf("9.001"), *value) : "nothing";
    }

    Thermostat thermostat{{Temperature, Setpoint, Heating}, 5s};
    Device::Clock::time_point now = Start;
};

TEST_F(ThermostatTest, AnswersForItsThreeGroups)
{
    EXPECT_EQ(Text(thermostat.ValueOf(Temperature)), "19.5 \u00b0C");
    EXPECT_EQ(Text(thermostat.ValueOf(Setpoint)), "21 \u00b0C");
    EXPECT_EQ(thermostat.ValueOf(Heating), (Knx::GroupValue{{0x00}, true}));
    EXPECT_EQ(thermostat.ValueOf(0x1103), std::nullopt);
}

TEST_F(ThermostatTest, TellsTheTemperatureAndThatItHeats)
{
    EXPECT_EQ(thermostat.NextTime(), Start + 5s);
    EXPECT_THAT(Texts(thermostat.OnTime(Start + 4s)), IsEmpty());
    EXPECT_THAT(Next(), ElementsAre("19.4 \u00b0C", "heating On"));
    EXPECT_THAT(Next(), ElementsAre("19.5 \u00b0C"));
    EXPECT_THAT(Next(), ElementsAre("19.6 \u00b0C"));
    EXPECT_EQ(thermostat.NextTime(), Start + 20s);
}

TEST_F(ThermostatTest, HeatsAroundTheSetpoint)
{
    std::vector<std::string> switched;
    for (int interval = 0; interval < 40; ++interval)
    {
        const auto texts = Next();
        if (texts.size() == 2)
        {
            switched.push_back(texts[0] + " " + texts[1]);
        }
    }
    EXPECT_THAT(switched, ElementsAre("19.4 \u00b0C heating On", "21.2 \u00b0C heating Off", "20.8 \u00b0C heating On",
                                      "21.2 \u00b0C heating Off", "20.8 \u00b0C heating On", "21.2 \u00b0C heating Off",
                                      "20.8 \u00b0C heating On"));
}

TEST_F(ThermostatTest, DecidesAtOnceWhenTheSetpointChanges)
{
    EXPECT_THAT(Texts(thermostat.OnWrite(Setpoint, Degrees("25"))), ElementsAre("heating On"));
    EXPECT_THAT(Texts(thermostat.OnWrite(Setpoint, Degrees("26"))), IsEmpty()) << "it heats";
    EXPECT_EQ(Text(thermostat.ValueOf(Setpoint)), "26 \u00b0C");
    EXPECT_THAT(Texts(thermostat.OnWrite(Setpoint, Degrees("15"))), ElementsAre("heating Off"));
}

TEST_F(ThermostatTest, KeepsItsSetpointWhenSomethingElseIsWritten)
{
    EXPECT_THAT(thermostat.OnWrite(Temperature, Degrees("5")), IsEmpty());
    EXPECT_THAT(thermostat.OnWrite(Setpoint, {{0x7F, 0xFF}, false}), IsEmpty()) << "invalid";
    EXPECT_THAT(thermostat.OnWrite(Setpoint, {{0x01}, true}), IsEmpty()) << "a bit";
    EXPECT_EQ(Text(thermostat.ValueOf(Setpoint)), "21 \u00b0C");
    EXPECT_EQ(Text(thermostat.ValueOf(Temperature)), "19.5 \u00b0C");
}

TEST_F(ThermostatTest, ItsRoomBecomesNoColderThanItIsOutside)
{
    thermostat.OnWrite(Setpoint, Degrees("0"));
    for (int interval = 0; interval < 95; ++interval)
    {
        EXPECT_THAT(Next(), testing::SizeIs(1)) << interval;
    }
    EXPECT_EQ(Text(thermostat.ValueOf(Temperature)), "10 \u00b0C");
    EXPECT_THAT(Next(), IsEmpty());
}

TEST_F(ThermostatTest, ItsRoomBecomesNoHotterThanTheHeatingCanMakeItWhateverIsWanted)
{
    thermostat.OnWrite(Setpoint, Degrees("670433.28"));
    for (int interval = 0; interval < 205; ++interval)
    {
        EXPECT_THAT(Next(), testing::SizeIs(1)) << interval;
    }
    EXPECT_EQ(Text(thermostat.ValueOf(Temperature)), "40 \u00b0C");
    EXPECT_THAT(Next(), IsEmpty());
    EXPECT_EQ(Text(thermostat.ValueOf(Setpoint)), "670433.28 \u00b0C");
    EXPECT_THAT(Texts(thermostat.OnWrite(Setpoint, Degrees("21"))), ElementsAre("heating Off"));
}

} // namespace
