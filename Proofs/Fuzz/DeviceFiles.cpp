// Fuzzes what reads the devices of the board's bus, and then the devices. The input is the file.

#include "DeviceFile.h"
#include "Devices.h"

#include "Expect.h"

#include "Knx/Telegram.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <utility>

using namespace Simulator;
using Knx::GroupService;

namespace
{

bool IsPrintable(const std::string& text)
{
    return std::all_of(text.begin(), text.end(),
                       [](char character)
                       {
                           const auto byte = static_cast<uint8_t>(character);
                           return byte >= 0x20 && byte != 0x7F;
                       });
}

Bytes FromSomebody(uint16_t group, GroupService service, const Knx::GroupValue& value = {})
{
    auto telegram = Knx::TelegramTo(group, service, value);
    telegram.code = Knx::MessageCode::LDataInd;
    telegram.source = 0x1101;
    return Encode(telegram);
}

void ExpectTelegrams(const std::vector<Bytes>& telegrams)
{
    for (const Bytes& telegram : telegrams)
    {
        Fuzz::Expect("a whole telegram", Knx::Telegram::IsIndication(telegram));
    }
}

// Writes to each group, reads it, and lets the time go on.
void Play(DeviceFile& file)
{
    Devices::Clock::time_point now{};
    Devices devices(std::move(file.devices), now);
    for (const auto& group : file.groups)
    {
        for (const auto& value : {Knx::GroupValue{{0x01}, true}, Knx::GroupValue{{0x0C, 0x1A}, false}})
        {
            devices.OnTelegram(FromSomebody(group.address, GroupService::Write, value), now);
            devices.OnTelegram(FromSomebody(group.address, GroupService::Read), now);
            now = devices.NextTime().value_or(now);
            ExpectTelegrams(devices.Take(now));
        }
    }
    for (int times = 0; times < 10; ++times)
    {
        const auto next = devices.NextTime();
        Fuzz::Expect("a later time", !next || *next > now);
        now = next.value_or(now);
        ExpectTelegrams(devices.Take(now));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    DeviceFile file;
    try
    {
        file = ReadDevices(std::string(data, data + size), {});
    }
    catch (const NotADeviceFile& problem)
    {
        const std::string line = problem.what();
        Fuzz::Expect("the place", line.rfind("line ", 0) == 0);
        Fuzz::Expect("in one line", IsPrintable(line));
        return 0;
    }
    Fuzz::Expect("a device", !file.devices.empty() && file.devices.size() == file.names.size());
    std::set<uint16_t> addresses;
    for (const auto& group : file.groups)
    {
        Fuzz::Expect("an address once", addresses.insert(group.address).second);
        Fuzz::Expect("printable", IsPrintable(group.name));
    }
    Play(file);
    return 0;
}
