#include "DeviceFile.h"

#include "Devices.h"
#include "Light.h"
#include "Sensor.h"
#include "Thermostat.h"

#include "Knx/Characters.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <map>
#include <optional>
#include <sstream>
#include <utility>

namespace Simulator
{

namespace
{

using Knx::GroupAddresses;

[[noreturn]] void Reject(int line, const std::string& why)
{
    throw NotADeviceFile("line " + std::to_string(line) + ": " + Knx::Printable(why));
}

std::string WithoutMargin(const std::string& text)
{
    const std::size_t first = text.find_first_not_of(" \t\r");
    const std::size_t last = text.find_last_not_of(" \t\r");
    return first == std::string::npos ? "" : text.substr(first, last - first + 1);
}

// "a, b, c"
std::vector<std::string> Parts(const std::string& text)
{
    std::vector<std::string> parts;
    std::istringstream stream(text + ",");
    for (std::string part; std::getline(stream, part, ',');)
    {
        parts.push_back(WithoutMargin(part));
    }
    return parts;
}

// What the file says of one device.
struct Section
{
    struct Entry
    {
        int line;
        std::string text;
    };

    // Nothing if the file does not say it.
    const Entry* Find(const std::string& key) const
    {
        const auto found = entries.find(key);
        return found == entries.end() ? nullptr : &found->second;
    }

    int line;
    std::string kind;
    std::string name;
    std::map<std::string, Entry> entries;
};

// What the field says about a text becomes what is wrong with the line.
template<typename Reading>
auto Understood(int line, const Reading& reading)
{
    try
    {
        return reading();
    }
    catch (const std::invalid_argument& problem) // a value, a type, an address
    {
        Reject(line, problem.what());
    }
}

// Makes the devices of sections.
class Maker
{
public:
    explicit Maker(const GroupAddresses& knownNames)
        : names(knownNames)
    {
    }

    std::unique_ptr<Device> Light(const Section& section)
    {
        const uint16_t toSwitch = Group(section, "switch", section.name, "1.001");
        const uint16_t state = Group(section, "state", section.name + " state", "1.001");
        return std::make_unique<Simulator::Light>(Simulator::Light::Groups{toSwitch, state});
    }

    std::unique_ptr<Device> Sensor(const Section& section)
    {
        const Knx::DatapointType& type = TypeOf(section);
        const uint16_t group = Group(section, "group", section.name, type.Number());
        const auto& entry = *section.Find("values");
        std::vector<Knx::GroupValue> values;
        for (const std::string& text : Parts(entry.text))
        {
            values.push_back(Understood(entry.line, [&] { return Encode(type, text); }));
        }
        return std::make_unique<Simulator::Sensor>(group, std::move(values), Interval(section));
    }

    std::unique_ptr<Device> Thermostat(const Section& section)
    {
        const uint16_t temperature = Group(section, "temperature", section.name + " temperature", "9.001");
        const uint16_t setpoint = Group(section, "setpoint", section.name + " setpoint", "9.001");
        const uint16_t heating = Group(section, "heating", section.name + " heating", "1.001");
        return std::make_unique<Simulator::Thermostat>(Simulator::Thermostat::Groups{temperature, setpoint, heating},
                                                       Interval(section));
    }

    std::vector<Knx::NamedGroup> TakeGroups()
    {
        return std::move(groups);
    }

private:
    uint16_t AddressIn(const Section& section, const std::string& key) const
    {
        const auto& entry = *section.Find(key);
        return Understood(entry.line, [&] { return GroupFrom(entry.text, names); });
    }

    // The group that the section has under this key, which becomes known.
    uint16_t Group(const Section& section, const std::string& key, const std::string& name, const std::string& type)
    {
        const uint16_t address = AddressIn(section, key);
        const auto isSame = [address](const Knx::NamedGroup& group) { return group.address == address; };
        if (std::none_of(groups.begin(), groups.end(), isSame))
        {
            groups.push_back({address, name, type, ""});
        }
        return address;
    }

    const Knx::DatapointType& TypeOf(const Section& section) const
    {
        if (const auto* const entry = section.Find("type"))
        {
            return *Understood(entry->line, [&] { return &Knx::DatapointTypeOf(entry->text); });
        }
        const auto* const group = names.At(AddressIn(section, "group"));
        const auto* const type = group == nullptr ? nullptr : Knx::FindDatapointType(group->type);
        if (type == nullptr)
        {
            Reject(section.Find("group")->line, "its type is not known: a line such as type = 9.001 names it");
        }
        return *type;
    }

    static Device::Clock::duration Interval(const Section& section)
    {
        constexpr double usual = 10; // s, as are all
        constexpr double least = 0.1;
        constexpr double day = 86400;
        const auto* const entry = section.Find("every");
        double seconds = usual;
        if (entry != nullptr)
        {
            char* end = nullptr;
            seconds = std::strtod(entry->text.c_str(), &end);
            if (entry->text.empty() || *end != '\0' || !(seconds >= least && seconds <= day))
            {
                Reject(entry->line, "'every' takes 0.1 to 86400 seconds, not '" + entry->text + "'");
            }
        }
        return std::chrono::duration_cast<Device::Clock::duration>(std::chrono::duration<double>(seconds));
    }

    const GroupAddresses& names;
    std::vector<Knx::NamedGroup> groups;
};

struct Kind
{
    const char* name;
    std::vector<std::string> needed;
    std::vector<std::string> others;
    std::unique_ptr<Device> (Maker::*make)(const Section& section);
};

const std::array<Kind, 3>& Kinds()
{
    static const std::array<Kind, 3> kinds{
        {{"light", {"switch", "state"}, {}, &Maker::Light},
         {"sensor", {"group", "values"}, {"type", "every"}, &Maker::Sensor},
         {"thermostat", {"temperature", "setpoint", "heating"}, {"every"}, &Maker::Thermostat}}};
    return kinds;
}

std::string Listed(const std::vector<std::string>& words)
{
    std::string text;
    for (const std::string& word : words)
    {
        text += (text.empty() ? "" : ", ") + word;
    }
    return text;
}

const Kind& KindOf(int line, const std::string& name)
{
    const auto* const found =
        std::find_if(Kinds().begin(), Kinds().end(), [&name](const Kind& kind) { return kind.name == name; });
    if (found == Kinds().end())
    {
        Reject(line, "'" + name + "' is no device; there are light, sensor, thermostat");
    }
    return *found;
}

// "[light Ceiling]"
Section Begin(int line, const std::string& text)
{
    if (text.back() != ']')
    {
        Reject(line, "a device begins with its kind and its name, such as [light Ceiling]");
    }
    const std::string inside = WithoutMargin(text.substr(1, text.size() - 2));
    const std::size_t end = std::min(inside.find_first_of(" \t"), inside.size());
    Section section{line, inside.substr(0, end), Knx::Printable(WithoutMargin(inside.substr(end))), {}};
    KindOf(line, section.kind);
    if (section.name.empty())
    {
        section.name = section.kind;
    }
    return section;
}

// "switch = 1/2/3"
void Add(Section& section, int line, const std::string& text)
{
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos)
    {
        Reject(line, "neither [KIND NAME] nor KEY = VALUE");
    }
    const std::string key = WithoutMargin(text.substr(0, equals));
    const Kind& kind = KindOf(line, section.kind);
    std::vector<std::string> keys = kind.needed;
    keys.insert(keys.end(), kind.others.begin(), kind.others.end());
    if (std::find(keys.begin(), keys.end(), key) == keys.end())
    {
        Reject(line, "a " + section.kind + " has no '" + key + "'; it has " + Listed(keys));
    }
    if (!section.entries.emplace(key, Section::Entry{line, WithoutMargin(text.substr(equals + 1))}).second)
    {
        Reject(line, "'" + key + "' is there already");
    }
}

std::vector<Section> Sections(const std::string& text)
{
    std::vector<Section> sections;
    std::istringstream lines(text);
    int number = 0;
    for (std::string raw; std::getline(lines, raw);)
    {
        ++number;
        const std::string line = WithoutMargin(raw);
        if (line.empty() || line.front() == '#')
        {
            continue;
        }
        if (line.front() == '[')
        {
            sections.push_back(Begin(number, line));
        }
        else if (sections.empty())
        {
            Reject(number, "a device begins with its kind and its name, such as [light Ceiling]");
        }
        else
        {
            Add(sections.back(), number, line);
        }
        if (sections.size() > Devices::Most)
        {
            Reject(number, "there are more than " + std::to_string(Devices::Most) + " devices");
        }
    }
    if (sections.empty())
    {
        Reject(std::max(number, 1), "there is no device");
    }
    return sections;
}

} // namespace

DeviceFile ReadDevices(const std::string& text, const GroupAddresses& names)
{
    DeviceFile file;
    Maker maker(names);
    for (const Section& section : Sections(text))
    {
        const Kind& kind = KindOf(section.line, section.kind);
        for (const std::string& key : kind.needed)
        {
            if (section.Find(key) == nullptr)
            {
                Reject(section.line, "this " + section.kind + " lacks '" + key + "'");
            }
        }
        file.devices.push_back((maker.*kind.make)(section));
        file.names.push_back(section.name);
    }
    file.groups = maker.TakeGroups();
    return file;
}

GroupAddresses WithGroupsOf(const DeviceFile& file, const GroupAddresses& names)
{
    std::vector<Knx::NamedGroup> all = names.All();
    for (const Knx::NamedGroup& group : file.groups)
    {
        const auto isSame = [&group](const Knx::NamedGroup& known) { return known.address == group.address; };
        const auto known = std::find_if(all.begin(), all.end(), isSame);
        if (known == all.end())
        {
            all.push_back(group);
        }
        else if (known->type.empty())
        {
            known->type = group.type;
        }
    }
    return GroupAddresses(std::move(all), names.Style());
}

} // namespace Simulator
