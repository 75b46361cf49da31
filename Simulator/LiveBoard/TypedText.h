#pragma once

#include <cstddef>
#include <string>

namespace Simulator
{

/// Whether the key is a character, or a byte of one in UTF-8: these come a byte at a time.
bool IsCharacter(int key);

/// Takes the last character away, if there is one.
void RemoveLast(std::string& text);

/// Its last characters, of at most so many bytes.
std::string EndOf(const std::string& text, std::size_t size);

} // namespace Simulator
