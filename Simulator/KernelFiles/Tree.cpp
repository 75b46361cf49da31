#include "Tree.h"

#include <sys/stat.h>

namespace Simulator
{

namespace
{

constexpr unsigned KindBits = 8; // of a node's number, the lowest
constexpr uint64_t KindMask = (1U << KindBits) - 1;

constexpr mode_t Directory = S_IFDIR | 0755;

uint64_t PinId(int pin, uint64_t exportNumber)
{
    return exportNumber * Gpio::PinCount + static_cast<uint64_t>(pin);
}

} // namespace

Node Node::FromNumber(uint64_t number)
{
    return {static_cast<NodeKind>(number & KindMask), number >> KindBits};
}

uint64_t Node::Number() const
{
    return id << KindBits | static_cast<uint64_t>(kind);
}

Tree::Tree(const Gpio& chip, const Uleds& ledDevices)
    : gpio(chip)
    , uleds(ledDevices)
{
}

std::vector<Tree::Entry> Tree::List(Node directory) const
{
    if (!Exists(directory))
    {
        return {};
    }
    std::vector<Entry> entries;
    switch (directory.kind)
    {
    case NodeKind::Root:
        return {{"uleds", {NodeKind::Uleds, 0}},
                {"gpio", {NodeKind::GpioDirectory, 0}},
                {"leds", {NodeKind::LedsDirectory, 0}}};
    case NodeKind::GpioDirectory:
        entries = {{"export", {NodeKind::Export, 0}}, {"unexport", {NodeKind::Unexport, 0}}};
        for (int pin = 0; pin < Gpio::PinCount; ++pin)
        {
            if (const uint64_t number = gpio.ExportNumber(pin); number != 0)
            {
                entries.push_back({"gpio" + std::to_string(pin), {NodeKind::PinDirectory, PinId(pin, number)}});
            }
        }
        return entries;
    case NodeKind::PinDirectory:
        return {{"direction", {NodeKind::Direction, directory.id}},
                {"value", {NodeKind::Value, directory.id}},
                {"active_low", {NodeKind::ActiveLow, directory.id}},
                {"edge", {NodeKind::Edge, directory.id}}};
    case NodeKind::LedsDirectory:
        for (const Uleds::Led& led : uleds.Leds())
        {
            entries.push_back({led.name, {NodeKind::LedDirectory, led.handle}});
        }
        return entries;
    case NodeKind::LedDirectory:
        return {{"brightness", {NodeKind::Brightness, directory.id}},
                {"max_brightness", {NodeKind::MaxBrightness, directory.id}}};
    default:
        return {};
    }
}

bool Tree::Exists(Node node) const
{
    switch (node.kind)
    {
    case NodeKind::PinDirectory:
    case NodeKind::Direction:
    case NodeKind::Value:
    case NodeKind::ActiveLow:
    case NodeKind::Edge:
        return node.id == PinId(PinOf(node), gpio.ExportNumber(PinOf(node)));
    case NodeKind::LedDirectory:
    case NodeKind::Brightness:
    case NodeKind::MaxBrightness:
        return !uleds.NameOf(node.id).empty();
    default:
        return true;
    }
}

mode_t Tree::Mode(NodeKind kind)
{
    switch (kind)
    {
    case NodeKind::Uleds:
        return S_IFREG | 0600;
    case NodeKind::Export:
    case NodeKind::Unexport:
        return S_IFREG | 0200;
    case NodeKind::Direction:
    case NodeKind::Value:
    case NodeKind::ActiveLow:
    case NodeKind::Edge:
    case NodeKind::Brightness:
        return S_IFREG | 0644;
    case NodeKind::MaxBrightness:
        return S_IFREG | 0444;
    default:
        return Directory;
    }
}

int Tree::PinOf(Node node)
{
    return static_cast<int>(node.id % Gpio::PinCount);
}

} // namespace Simulator
