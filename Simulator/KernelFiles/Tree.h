#pragma once

#include "Gpio.h"
#include "Uleds.h"

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

namespace Simulator
{

enum class NodeKind : uint8_t
{
    Root = 1, // the number of the root is fixed
    Uleds,
    GpioDirectory,
    LedsDirectory,
    Export,
    Unexport,
    PinDirectory,
    Direction,
    Value,
    ActiveLow,
    Edge,
    LedDirectory,
    Brightness,
    MaxBrightness
};

/// A file or directory. What is made anew under an old name is another node: files of the old one that are still open
/// do not reach it.
struct Node
{
    NodeKind kind;
    uint64_t id; // of the pin's export, of the LED; else 0

    static Node FromNumber(uint64_t number);
    uint64_t Number() const;
};

/// Which files there are at the moment. Any thread.
class Tree
{
public:
    struct Entry
    {
        std::string name;
        Node node;
    };

    Tree(const Gpio& chip, const Uleds& ledDevices);

    /// Empty for a file, and for a directory that is gone.
    std::vector<Entry> List(Node directory) const;

    bool Exists(Node node) const;

    /// Type and permissions, as stat has them.
    static mode_t Mode(NodeKind kind);

    /// Of a node below a pin's directory, and of the directory.
    static int PinOf(Node node);

private:
    const Gpio& gpio;
    const Uleds& uleds;
};

} // namespace Simulator
