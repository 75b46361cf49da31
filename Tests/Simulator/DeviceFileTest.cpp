#include "DeviceFile.h"

#include "BenchKit/Paths.h"

#include <gmock/gmock.h>

#include <fstream>
#include <sstream>
#include <string>

using namespace Simulator;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::SizeIs;

namespace
{

const Knx::GroupAddresses& House()
{
    static const Knx::GroupAddresses house({{0x0901, "Lights/Ceiling", "1.001", ""},
                                            {0x0902, "Lights/Ceiling state", "", ""},
                                            {0x1301, "Garden", "9.001", ""}});
    return house;
}

// What is wrong with the text; empty when nothing is.
std::string Wrong(const std::string& text)
{
    try
    {
        static_cast<void>(ReadDevices(text, House()));
        return "";
    }
    catch (const NotADeviceFile& problem)
    {
        return problem.what();
    }
}

// "1/1/1 1.001 Ceiling"
std::vector<std::string> Texts(const std::vector<Knx::NamedGroup>& groups)
{
    std::vector<std::string> texts;
    for (const auto& group : groups)
    {
        texts.push_back(Knx::GroupAddress(group.address) + " " + group.type + " " + group.name);
    }
    return texts;
}

DeviceFile Example(const std::string& name)
{
    std::ifstream file(Paths::InSourceTree("Examples/Devices/" + name));
    std::ostringstream text;
    text << file.rdbuf();
    return ReadDevices(text.str(), {});
}

TEST(DeviceFile, NamesItsDevicesAndTheirGroups)
{
    const DeviceFile file = ReadDevices("# a comment\n"
                                        "[light Ceiling]\n"
                                        "switch = 1/1/1\n"
                                        "\tstate=1/1/2 \r\n"
                                        "\n"
                                        "[thermostat]\n"
                                        "temperature = 2/1/1\n"
                                        "setpoint = 2/1/2\n"
                                        "heating = 2/1/5\n",
                                        {});
    EXPECT_THAT(file.devices, SizeIs(2));
    EXPECT_THAT(file.names, ElementsAre("Ceiling", "thermostat"));
    EXPECT_THAT(Texts(file.groups),
                ElementsAre("1/1/1 1.001 Ceiling", "1/1/2 1.001 Ceiling state", "2/1/1 9.001 thermostat temperature",
                            "2/1/2 9.001 thermostat setpoint", "2/1/5 1.001 thermostat heating"));
}

TEST(DeviceFile, MakesDevicesThatDoWhatItSays)
{
    const DeviceFile file = ReadDevices("[light]\nswitch = 1/1/1\nstate = 1/1/2\n"
                                        "[sensor]\ngroup = 2/3/1\ntype = 9.001\nvalues = 4.5, -5\nevery = 0.5",
                                        {});
    ASSERT_THAT(file.devices, SizeIs(2));
    const Knx::GroupValue on{{0x01}, true};
    EXPECT_THAT(file.devices[0]->OnWrite(0x0901, on), ElementsAre(Device::Report{0x0902, on}));
    const Device::Clock::time_point start{1h};
    file.devices[1]->Begin(start);
    EXPECT_EQ(file.devices[1]->NextTime(), start + 500ms);
    const auto& celsius = Knx::DatapointTypeOf("9.001");
    EXPECT_THAT(file.devices[1]->OnTime(start + 500ms), ElementsAre(Device::Report{0x1301, Encode(celsius, "4.5")}));
    EXPECT_THAT(file.devices[1]->OnTime(start + 1s), ElementsAre(Device::Report{0x1301, Encode(celsius, "-5")}));
}

TEST(DeviceFile, TakesNamesAndTypesOfAnExport)
{
    const DeviceFile file = ReadDevices(
        "[light]\nswitch = Ceiling\nstate = Lights/Ceiling state\n[sensor]\ngroup = Garden\nvalues = 5", House());
    EXPECT_THAT(Texts(file.groups), ElementsAre("1/1/1 1.001 light", "1/1/2 1.001 light state", "2/3/1 9.001 sensor"));
    EXPECT_THAT(Texts(WithGroupsOf(file, House()).All()),
                ElementsAre("1/1/1 1.001 Lights/Ceiling", "1/1/2 1.001 Lights/Ceiling state", "2/3/1 9.001 Garden"))
        << "the export's names count, and the file's types where the export has none";
    EXPECT_THAT(Texts(WithGroupsOf(file, {}).All()),
                ElementsAre("1/1/1 1.001 light", "1/1/2 1.001 light state", "2/3/1 9.001 sensor"));
}

TEST(DeviceFile, NamesAGroupOnceWhereSeveralDevicesHaveIt)
{
    const DeviceFile file =
        ReadDevices("[light A]\nswitch = 1/1/1\nstate = 1/1/2\n[light B]\nswitch = 1/1/1\nstate = 1/1/3", {});
    EXPECT_THAT(Texts(file.groups), ElementsAre("1/1/1 1.001 A", "1/1/2 1.001 A state", "1/1/3 1.001 B state"));
}

TEST(DeviceFile, OfEachExampleIsUnderstood)
{
    EXPECT_THAT(Example("light.ini").names, ElementsAre("Ceiling"));
    EXPECT_THAT(Example("sensor.ini").names, ElementsAre("Garden", "Window"));
    EXPECT_THAT(Example("thermostat.ini").names, ElementsAre("Living room"));
}

TEST(DeviceFile, SaysInWhichLineItIsWrong)
{
    const std::string light = "[light]\nswitch = 1/1/1\nstate = 1/1/2\n";
    const std::string sensor = "[sensor]\ngroup = 1/1/1\ntype = 9.001\n";
    const std::string begin = "a device begins with its kind and its name, such as [light Ceiling]";
    EXPECT_EQ(Wrong(light), "");
    EXPECT_EQ(Wrong(""), "line 1: there is no device");
    EXPECT_EQ(Wrong("# nothing\n\n"), "line 2: there is no device");
    EXPECT_EQ(Wrong("switch = 1/1/1"), "line 1: " + begin);
    EXPECT_EQ(Wrong("[light"), "line 1: " + begin);
    EXPECT_EQ(Wrong("\n[lamp Ceiling]"), "line 2: 'lamp' is no device; there are light, sensor, thermostat");
    EXPECT_EQ(Wrong("[]"), "line 1: '' is no device; there are light, sensor, thermostat");
    EXPECT_EQ(Wrong(light + "on"), "line 4: neither [KIND NAME] nor KEY = VALUE");
    EXPECT_EQ(Wrong(light + "dim = 1/1/3"), "line 4: a light has no 'dim'; it has switch, state");
    EXPECT_EQ(Wrong(light + "state = 1/1/3"), "line 4: 'state' is there already");
    EXPECT_EQ(Wrong(light + "[light]\nswitch = 1/1/1\n# end"), "line 4: this light lacks 'state'");
    EXPECT_EQ(Wrong("[light]\nswitch = 1/9/1\nstate = 1/1/2"),
              "line 2: '1/9/1' is no group address: 9 should be 0 to 7");
    EXPECT_EQ(Wrong("[light]\nswitch = Cellar\nstate = 1/1/2"),
              "line 2: no group has the name 'Cellar'; 'orvelctl names' lists them");
    EXPECT_EQ(Wrong(sensor + "values = 5, -300"), "line 4: 9.001: -273 to 670433.28 \u00b0C");
    EXPECT_THAT(Wrong(sensor + "values = 5,"), testing::StartsWith("line 4: "));
    EXPECT_THAT(Wrong("[sensor]\ngroup = 1/1/1\ntype = 9.999\nvalues = 5"),
                testing::StartsWith("line 3: no datapoint type '9.999'; "));
    EXPECT_EQ(Wrong("[sensor]\ngroup = 1/1/9\nvalues = 5"),
              "line 2: its type is not known: a line such as type = 9.001 names it");
    const auto expectWrongPeriod = [&sensor](const std::string& period)
    {
        EXPECT_EQ(Wrong(sensor + "values = 5\nevery = " + period),
                  "line 5: 'every' takes 0.1 to 86400 seconds, not '" + period + "'");
    };
    for (const char* const period : {"", "x", "5 s", "0", "0.05", "86401", "-1", "nan", "inf"})
    {
        expectWrongPeriod(period);
    }
    EXPECT_EQ(Wrong("[\x1b[2J]"), "line 1: '\\x1b[2J' is no device; there are light, sensor, thermostat");
}

TEST(DeviceFile, HasNoMoreDevicesThanThereAreAddressesForThem)
{
    std::string text;
    for (int count = 0; count < 150; ++count)
    {
        text += "[light]\nswitch = 1/1/1\nstate = 1/1/2\n";
    }
    EXPECT_EQ(Wrong(text), "");
    EXPECT_EQ(Wrong(text + "[light]"), "line 451: there are more than 150 devices");
}

} // namespace
