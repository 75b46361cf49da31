#pragma once

#include "Knx/HexDigits.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace Knx
{

/// Text that grows at its end and keeps its room for the next one: whoever writes a line for each of a million messages
/// allocates a few times only, and copies each word once.
class TextBuffer
{
public:
    /// Valid until the text is changed.
    std::string_view Text() const
    {
        return {room.data(), size};
    }

    std::size_t Size() const
    {
        return size;
    }

    void Clear()
    {
        size = 0;
    }

    void Add(std::string_view text)
    {
        text.copy(Take(text.size()), text.size());
    }

    void Add(char character)
    {
        *Take(1) = character;
    }

    void AddNumber(uint64_t number);

    /// With a separator between: "1.2.3".
    void AddNumbers(const std::array<uint8_t, 3>& numbers, char separator);

    /// So many digits, the first of which may be zeros.
    void AddDigits(uint64_t number, std::size_t digits);

    /// As ToHex and HexNumber have it.
    void AddHex(const Bytes& bytes, std::string_view separator = " ");
    void AddHexNumber(uint16_t number, unsigned digits);

private:
    // The place of so many more characters, which the caller writes.
    char* Take(std::size_t characters)
    {
        if (room.size() - size < characters)
        {
            Grow(characters);
        }
        size += characters;
        return room.data() + (size - characters);
    }

    // Gives back what is behind it of the place that was taken.
    void EndAt(const char* place)
    {
        size = static_cast<std::size_t>(place - room.data());
    }

    void Grow(std::size_t characters);

    std::vector<char> room;
    std::size_t size = 0;
};

} // namespace Knx
