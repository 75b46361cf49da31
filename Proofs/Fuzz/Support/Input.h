#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Fuzz
{

/// Takes an input of the fuzzer apart, from its beginning. Behind the end everything counts as 0 or as empty.
class Input
{
public:
    Input(const uint8_t* data, std::size_t size)
        : rest(data, data + size)
    {
    }

    bool IsEmpty() const
    {
        return position == rest.size();
    }

    uint8_t TakeByte()
    {
        return IsEmpty() ? 0 : rest[position++];
    }

    /// Two bytes, little endian.
    uint16_t TakeNumber()
    {
        const uint8_t low = TakeByte();
        return static_cast<uint16_t>(low | (TakeByte() << 8U));
    }

    std::vector<uint8_t> TakeBytes(std::size_t size)
    {
        const std::size_t taken = std::min(size, rest.size() - position);
        const auto begin = rest.begin() + static_cast<std::ptrdiff_t>(position);
        position += taken;
        return {begin, begin + static_cast<std::ptrdiff_t>(taken)};
    }

    /// Bytes that follow their number, which is one byte.
    std::string TakeText()
    {
        const std::vector<uint8_t> bytes = TakeBytes(TakeByte());
        return {bytes.begin(), bytes.end()};
    }

private:
    std::vector<uint8_t> rest;
    std::size_t position = 0;
};

/// The pieces of the input that end with a zero byte, as in /proc/PID/cmdline.
inline std::vector<std::string> TakeArguments(const uint8_t* data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    std::vector<std::string> arguments;
    for (std::size_t begin = 0; begin < size;)
    {
        const std::size_t end = std::min(text.find('\0', begin), size);
        arguments.emplace_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return arguments;
}

/// The arguments as main gets them, for as long as `arguments` lives.
inline std::vector<const char*> Argv(const std::vector<std::string>& arguments)
{
    std::vector<const char*> argv;
    for (const std::string& argument : arguments)
    {
        argv.push_back(argument.c_str());
    }
    argv.push_back(nullptr);
    return argv;
}

} // namespace Fuzz
