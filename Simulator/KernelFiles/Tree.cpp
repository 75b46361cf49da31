#include "Tree.h"

#include "KernelText.h"

#include <sys/stat.h>

#include <algorithm>
#include <iterator>
#include <sstream>
#include <utility>

namespace Simulator
{

namespace
{

constexpr unsigned PlaceBits = 8; // of a node's number, the lowest

// A row of the table. In path and text '#' stands for the number of an exported pin and '*' for the name of an LED.
// There is one such node for each pin or LED.
struct Place
{
    std::string path;
    NodeKind kind = NodeKind::Directory;
    mode_t mode = 0755;
    std::string text = {};  // of a link: where it leads; of a text: what is read
    std::string takes = {}; // of a text: the words that can be written
    std::size_t parent = 0;
};

constexpr char PinMark = '#';
constexpr char LedMark = '*';

Place Link(const std::string& path, const std::string& text)
{
    return {path, NodeKind::Link, 0777, text};
}

Place Constant(const std::string& path, const std::string& text)
{
    return {path, NodeKind::Text, 0444, text};
}

// The files that the kernel gives each of its devices. `event` is the text of its "uevent".
std::vector<Place> DeviceFiles(const std::string& device, const std::string& event)
{
    const std::string power = device + "/power";
    return {{device + "/uevent", NodeKind::Text, 0644, event, "add remove change move online offline bind unbind"},
            {power},
            {power + "/async", NodeKind::Text, 0644, "disabled\n", "disabled enabled"},
            {power + "/autosuspend_delay_ms", NodeKind::Unsupported, 0644},
            {power + "/control", NodeKind::Text, 0644, "auto\n", "auto on"},
            Constant(power + "/runtime_active_kids", "0\n"),
            Constant(power + "/runtime_active_time", "0\n"),
            Constant(power + "/runtime_enabled", "disabled\n"),
            Constant(power + "/runtime_status", "unsupported\n"),
            Constant(power + "/runtime_suspended_time", "0\n"),
            Constant(power + "/runtime_usage", "0\n")};
}

// The layout of sysfs. It leaves out the device numbers of files that are no character devices here, and links that
// would lead nowhere.
std::vector<Place> MakePlaces()
{
    const std::string ledsDirectory = "devices/virtual/misc/uleds";
    const std::string led = ledsDirectory + "/*";
    const std::string controller = "devices/platform/simulated-gpio";
    const std::string chip = controller + "/gpiochip0";
    const std::string pin = chip + "/gpio/gpio#";
    const std::string chipOfClass = controller + "/gpio/gpiochip0"; // the same chip, as the class shows it
    std::vector<Place> places{{""},
                              {"uleds", NodeKind::Uleds, 0600},
                              {"class"},
                              {"class/gpio"},
                              {"class/gpio/export", NodeKind::Export, 0200},
                              {"class/gpio/unexport", NodeKind::Unexport, 0200},
                              Link("class/gpio/gpiochip0", "../../" + chipOfClass),
                              Link("class/gpio/gpio#", "../../" + pin),
                              {"class/leds"},
                              Link("class/leds/*", "../../" + led),
                              {"devices"},
                              {"devices/virtual"},
                              {"devices/virtual/misc"},
                              {ledsDirectory},
                              Link(ledsDirectory + "/subsystem", "../../../../class/misc"),
                              {led},
                              {led + "/brightness", NodeKind::Brightness, 0644},
                              {led + "/max_brightness", NodeKind::MaxBrightness, 0444},
                              {led + "/trigger", NodeKind::Text, 0644, "[none]\n", "none"},
                              Link(led + "/device", "../../uleds"),
                              Link(led + "/subsystem", "../../../../../class/leds"),
                              {"devices/platform"},
                              {controller},
                              Link(controller + "/subsystem", "../../../bus/platform"),
                              {chip},
                              {chip + "/gpio"},
                              {pin},
                              {pin + "/direction", NodeKind::Direction, 0644},
                              {pin + "/value", NodeKind::Value, 0644},
                              {pin + "/active_low", NodeKind::ActiveLow, 0644},
                              {pin + "/edge", NodeKind::Edge, 0644},
                              Link(pin + "/device", "../../../gpiochip0"),
                              Link(pin + "/subsystem", "../../../../../../class/gpio"),
                              {controller + "/gpio"},
                              {chipOfClass},
                              Constant(chipOfClass + "/base", "0\n"),
                              Constant(chipOfClass + "/label", "simulated-gpio\n"),
                              Constant(chipOfClass + "/ngpio", std::to_string(Gpio::PinCount) + "\n"),
                              Link(chipOfClass + "/device", "../../../simulated-gpio"),
                              Link(chipOfClass + "/subsystem", "../../../../../class/gpio")};
    for (const auto& [device, event] : {std::pair(ledsDirectory, "DEVNAME=uleds\n"),
                                        {led, ""},
                                        {controller, "DRIVER=simulated-gpio\n"},
                                        {chip, "DEVNAME=gpiochip0\n"},
                                        {pin, ""},
                                        {chipOfClass, ""}})
    {
        const auto files = DeviceFiles(device, event);
        places.insert(places.end(), files.begin(), files.end());
    }
    for (Place& place : places)
    {
        const auto slash = place.path.rfind('/');
        const std::string parent = slash == std::string::npos ? "" : place.path.substr(0, slash);
        const auto found = std::find_if(places.begin(), places.end(), [&](const Place& p) { return p.path == parent; });
        place.parent = static_cast<std::size_t>(std::distance(places.begin(), found));
    }
    return places;
}

const std::vector<Place>& Places()
{
    static const std::vector<Place> places = MakePlaces();
    return places;
}

bool IsPinOrBelow(const Place& place)
{
    return place.path.find(PinMark) != std::string::npos;
}

bool IsLedOrBelow(const Place& place)
{
    return place.path.find(LedMark) != std::string::npos;
}

uint64_t PinId(int pin, uint64_t exportNumber)
{
    return exportNumber * Gpio::PinCount + static_cast<uint64_t>(pin);
}

std::string Fill(std::string text, const std::string& name)
{
    const auto mark = text.find_first_of({PinMark, LedMark});
    return mark == std::string::npos ? text : text.replace(mark, 1, name);
}

} // namespace

Node Node::FromNumber(uint64_t number)
{
    constexpr uint64_t mask = (1U << PlaceBits) - 1;
    return {static_cast<std::size_t>((number & mask) - 1), number >> PlaceBits};
}

// The root's number is 1 by the kernel's rules.
uint64_t Node::Number() const
{
    return id << PlaceBits | (place + 1);
}

NodeKind Node::Kind() const
{
    return Places().at(place).kind;
}

Tree::Tree(const Gpio& chip, const Uleds& ledDevices)
    : gpio(chip)
    , uleds(ledDevices)
{
}

std::vector<Tree::Entry> Tree::List(Node directory) const
{
    std::vector<Entry> entries;
    if (!Exists(directory))
    {
        return entries;
    }
    for (std::size_t index = 1; index < Places().size(); ++index)
    {
        const Place& place = Places()[index];
        if (place.parent != directory.place)
        {
            continue;
        }
        const std::string last = place.path.substr(place.path.rfind('/') + 1);
        for (const uint64_t id : Ids(directory, last))
        {
            const Node node{index, id};
            entries.push_back({Fill(last, NameOf(node)), node});
        }
    }
    return entries;
}

// The nodes for which a name in the table stands, in a directory.
std::vector<uint64_t> Tree::Ids(Node directory, const std::string& name) const
{
    std::vector<uint64_t> ids;
    if (name.find(PinMark) != std::string::npos)
    {
        for (int pin = 0; pin < Gpio::PinCount; ++pin)
        {
            if (const uint64_t number = gpio.ExportNumber(pin); number != 0)
            {
                ids.push_back(PinId(pin, number));
            }
        }
        return ids;
    }
    if (name.find(LedMark) != std::string::npos)
    {
        const auto leds = uleds.Leds();
        std::transform(leds.begin(), leds.end(), std::back_inserter(ids),
                       [](const Uleds::Led& led) { return led.handle; });
        return ids;
    }
    return {directory.id};
}

bool Tree::Exists(Node node) const
{
    const Place& place = Places().at(node.place);
    if (IsPinOrBelow(place))
    {
        return node.id == PinId(PinOf(node), gpio.ExportNumber(PinOf(node)));
    }
    return !IsLedOrBelow(place) || !uleds.NameOf(node.id).empty();
}

mode_t Tree::Mode(Node node)
{
    const Place& place = Places().at(node.place);
    const mode_t type = place.kind == NodeKind::Directory ? S_IFDIR : place.kind == NodeKind::Link ? S_IFLNK : S_IFREG;
    return type | place.mode;
}

std::string Tree::TextOf(Node node) const
{
    return Fill(Places().at(node.place).text, NameOf(node));
}

bool Tree::Takes(Node text, std::string_view written)
{
    std::istringstream words(Places().at(text.place).takes);
    return std::any_of(std::istream_iterator<std::string>(words), {},
                       [&](const std::string& word) { return IsWord(written, word); });
}

int Tree::PinOf(Node node)
{
    return static_cast<int>(node.id % Gpio::PinCount);
}

// What replaces the mark in a path: the pin's number or the LED's name.
std::string Tree::NameOf(Node node) const
{
    return IsPinOrBelow(Places().at(node.place)) ? std::to_string(PinOf(node)) : uleds.NameOf(node.id);
}

} // namespace Simulator
