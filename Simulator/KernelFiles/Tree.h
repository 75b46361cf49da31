#pragma once

#include "Gpio.h"
#include "Uleds.h"

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Simulator
{

/// What a node does when it is read or written.
enum class NodeKind : uint8_t
{
    Directory,
    Link,
    Text, // always reads the same, and takes some words without any effect
    Unsupported,
    Uleds,
    Export,
    Unexport,
    Direction,
    Value,
    ActiveLow,
    Edge,
    Brightness,
    MaxBrightness
};

/// A file, directory or link. A new node under an old name is another node: files of the old one that are still open do
/// not reach it.
struct Node
{
    std::size_t place; // in the table of the tree
    uint64_t id;       // of the pin's export, of the LED; else 0

    static Node FromNumber(uint64_t number);
    uint64_t Number() const;

    NodeKind Kind() const;
};

/// The files that exist at the moment. Any thread may call.
class Tree
{
public:
    struct Entry
    {
        std::string name;
        Node node;
    };

    static constexpr Node Root{0, 0};

    Tree(const Gpio& chip, const Uleds& ledDevices);

    /// Empty if it is no directory, or the directory is gone.
    std::vector<Entry> List(Node directory) const;

    bool Exists(Node node) const;

    /// Type and permissions as in stat, for a new node.
    static mode_t Mode(Node node);

    /// For a link: where it leads. For a text: what is read, with its newline.
    std::string TextOf(Node node) const;

    /// Whether this can be written to a text.
    static bool Takes(Node text, std::string_view written);

    /// For a node below a pin's directory, and for the directory.
    static int PinOf(Node node);

private:
    std::vector<uint64_t> Ids(Node directory, const std::string& name) const;
    std::string NameOf(Node node) const;

    const Gpio& gpio;
    const Uleds& uleds;
};

} // namespace Simulator
