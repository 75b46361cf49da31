#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace System
{

/// Makes lines of the pieces in which text comes out of a descriptor.
class Lines
{
public:
    using OnLine = std::function<void(const std::string&)>;

    /// Of longer lines it keeps the first `longestLine` bytes.
    explicit Lines(std::size_t longestLine = std::string::npos)
        : longest(longestLine)
    {
    }

    /// Hands each line that these bytes complete to `onLine`, without its newline.
    void Take(std::string_view bytes, const OnLine& onLine);

    /// At the end of the text: hands over what comes after the last newline, if anything does.
    void End(const OnLine& onLine);

    /// Bytes of the line that is not complete yet.
    std::size_t Pending() const
    {
        return pending.size();
    }

private:
    std::size_t longest;
    std::string pending;
};

} // namespace System
