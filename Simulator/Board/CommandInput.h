#pragma once

#include "System/Lines.h"

#include <cstddef>
#include <functional>
#include <string>

namespace Simulator
{

/// The lines that come out of a descriptor, without ever waiting for one. Of a line that is far longer than any command only
/// the beginning is kept.
class CommandInput
{
public:
    static constexpr std::size_t LongestLine = 65'536; // bytes

    explicit CommandInput(int inputDescriptor)
        : descriptor(inputDescriptor)
    {
    }

    /// For poll.
    int Descriptor() const
    {
        return descriptor;
    }

    /// Reads what is there and hands each line to `onLine`, at the end of the input also one without its newline. False at
    /// the end.
    bool Read(const std::function<void(const std::string&)>& onLine);

private:
    int descriptor;
    System::Lines lines{LongestLine};
};

} // namespace Simulator
