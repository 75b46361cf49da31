#include "TypedText.h"

#include <cstdint>

namespace Simulator
{

namespace
{

// Behind the first byte of a character.
bool Continues(char byte)
{
    return (static_cast<uint8_t>(byte) & 0xC0U) == 0x80;
}

} // namespace

bool IsCharacter(int key)
{
    return (key >= ' ' && key <= '~') || (key >= 0x80 && key <= 0xFF);
}

void RemoveLast(std::string& text)
{
    bool wasFirst = false;
    while (!text.empty() && !wasFirst)
    {
        wasFirst = !Continues(text.back());
        text.pop_back();
    }
}

std::string EndOf(const std::string& text, std::size_t size)
{
    std::size_t begin = text.size() > size ? text.size() - size : 0;
    while (begin < text.size() && Continues(text[begin]))
    {
        ++begin;
    }
    return text.substr(begin);
}

} // namespace Simulator
