#include "Devices.h"

#include "Light.h"
#include "Sensor.h"

#include <gmock/gmock.h>

#include <string>

using namespace Simulator;
using namespace std::chrono_literals;
using Knx::FromHex;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace
{

const Devices::Clock::time_point Start{1h};

// Two lights, and a sensor that switches the first one.
Devices House()
{
    std::vector<std::unique_ptr<Device>> devices;
    devices.push_back(std::make_unique<Light>(Light::Groups{0x0901, 0x0902}));
    devices.push_back(std::make_unique<Light>(Light::Groups{0x0901, 0x0903}));
    devices.push_back(std::make_unique<Sensor>(0x0901, std::vector<Knx::GroupValue>{{{0x01}, true}}, 10s));
    return {std::move(devices), Start};
}

std::vector<std::string> Hex(const std::vector<Bytes>& telegrams)
{
    std::vector<std::string> texts;
    for (const Bytes& telegram : telegrams)
    {
        texts.push_back(Knx::ToHex(telegram));
    }
    return texts;
}

TEST(Devices, ReactToAWriteOnceTheTelegramHasLeftTheLine)
{
    Devices devices = House();
    devices.OnTelegram(FromHex("29 00 bc e0 11 01 09 01 01 00 81"), Start);
    EXPECT_EQ(devices.NextTime(), Start + Devices::ReactionTime);
    EXPECT_THAT(devices.Take(Start + Devices::ReactionTime - 1ms), IsEmpty());
    EXPECT_THAT(Hex(devices.Take(Start + Devices::ReactionTime)),
                ElementsAre("29 00 bc e0 11 65 09 02 01 00 81", "29 00 bc e0 11 66 09 03 01 00 81"));
    EXPECT_THAT(devices.Take(Start + 1s), IsEmpty());
}

TEST(Devices, AnswerAReadForTheirGroups)
{
    Devices devices = House();
    devices.OnTelegram(FromHex("29 00 bc e0 11 01 09 03 01 00 00"), Start);
    EXPECT_THAT(Hex(devices.Take(Start + 20ms)), ElementsAre("29 00 bc e0 11 66 09 03 01 00 40"));
    devices.OnTelegram(FromHex("29 00 bc e0 11 01 09 04 01 00 00"), Start + 1s);
    EXPECT_THAT(devices.Take(Start + 2s), IsEmpty());
}

TEST(Devices, HearWhatAnApplicationHasSentOnceItWasSent)
{
    Devices devices = House();
    for (const char* const hex : {"11 00 bc e0 00 00 09 02 01 00 00",  // not yet
                                  "2e 00 bd e0 00 00 09 02 01 00 00"}) // it was not
    {
        devices.OnTelegram(FromHex(hex), Start);
        EXPECT_THAT(devices.Take(Start + 1s), IsEmpty()) << hex;
    }
    devices.OnTelegram(FromHex("2e 00 bc e0 00 00 09 02 01 00 00"), Start + 1s);
    EXPECT_THAT(devices.Take(Start + 2s), SizeIs(1));
}

TEST(Devices, HearEachOtherAndNotThemselves)
{
    Devices devices = House();
    const auto sent = devices.Take(Start + 10s);
    EXPECT_THAT(Hex(sent), ElementsAre("29 00 bc e0 11 67 09 01 01 00 81"));
    devices.OnTelegram(sent.front(), Start + 10s);
    EXPECT_THAT(Hex(devices.Take(Start + 10s + 20ms)),
                ElementsAre("29 00 bc e0 11 65 09 02 01 00 81", "29 00 bc e0 11 66 09 03 01 00 81"));
    devices.OnTelegram(FromHex("29 00 bc e0 11 65 09 02 01 00 00"), Start + 11s);
    EXPECT_THAT(devices.Take(Start + 12s), IsEmpty()) << "the light asks for its own state";
}

TEST(Devices, TakeNothingButWritesAndReadsOfGroups)
{
    Devices devices = House();
    for (const char* const hex : {"29 00 bc e0 11 01 09 01 01 00 41", // an answer
                                  "29 00 bc 60 11 01 09 01 01 00 81", // to a device
                                  "29 00 bc e0 11 01 09 01 02 00 81", // cut off
                                  "29 00 bc e0 11 01 09 01 01 03 00", // another service
                                  "2b 00 bc e0 11 01 09 01 01 00 81", "29 00", ""})
    {
        devices.OnTelegram(FromHex(hex), Start);
        EXPECT_THAT(devices.Take(Start + 1s), IsEmpty()) << hex;
    }
}

TEST(Devices, WaitForWhatComesFirst)
{
    Devices devices = House();
    EXPECT_EQ(devices.NextTime(), Start + 10s);
    devices.OnTelegram(FromHex("29 00 bc e0 11 01 09 02 01 00 00"), Start + 9s);
    EXPECT_EQ(devices.NextTime(), Start + 9s + Devices::ReactionTime);
    EXPECT_EQ(Devices({}, Start).NextTime(), std::nullopt);
}

TEST(Devices, KeepNoMoreAnswersThanALineCouldCarry)
{
    Devices devices = House();
    for (int count = 0; count < 5000; ++count)
    {
        devices.OnTelegram(FromHex("29 00 bc e0 11 01 09 02 01 00 00"), Start);
    }
    EXPECT_THAT(devices.Take(Start + 1s), SizeIs(1000));
}

} // namespace
