#pragma once

#include "Output.h"

#include <cstdint>
#include <optional>
#include <string>

namespace OrvelClient
{

/// When a file is full, and how many of the full ones are kept.
struct Rotation
{
    uint64_t size; ///< bytes
    unsigned count;
};

/// An output that begins a new file when one is full. The one before becomes FILE.1, that FILE.2, and so on.
class RotatingOutput
{
public:
    /// Each file begins with `begin`. With a rotation, a file that is there already is kept as FILE.1, otherwise it is
    /// overwritten. "-" is standard output. Throws Failure, as all operations do.
    RotatingOutput(std::string file, std::optional<Rotation> wanted, std::string begin);

    /// Text that stays together in one file.
    void Add(std::string_view text);

    void Flush();

    const Output& Current() const
    {
        return *output;
    }

private:
    void Begin();
    void CheckFile() const;
    void Shift() const;
    std::string Numbered(unsigned number) const;

    std::string name;
    std::optional<Rotation> rotation;
    std::string head;
    std::optional<Output> output;
    uint64_t size = 0; // of the file so far
};

} // namespace OrvelClient
