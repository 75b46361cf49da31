#pragma once

#include "StopSignals.h"

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace OrvelClient
{

/// A file that is read once, from its begin to its end, a piece at a time.
class Source
{
public:
    /// "-" is standard input. Throws Failure if the file cannot be read, here and later; Interrupted when the program is to
    /// stop.
    Source(const std::string& file, const StopSignals& stopSignals);
    ~Source();

    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;

    /// As errors name it.
    const std::string& Name() const
    {
        return name;
    }

    /// Calls `action` each time before it waits for more of the file.
    void BeforeWaiting(std::function<void()> action)
    {
        beforeWaiting = std::move(action);
    }

    // What these return is valid until the next call.

    /// What comes next, without taking it: `size` bytes at least, fewer at the end of the file.
    std::string_view Ahead(std::size_t size);

    /// Takes what comes next; false when the file ends before.
    bool Skip(std::size_t size);

    /// Takes the next line, without its end; false at the end of the file. Throws Failure (NotUnderstood) for a line that is far
    /// too long.
    bool Line(std::string_view& line);

    /// Whether the last line had an end. What a program writes has one, unless it was cut off.
    bool HasLineEnded() const
    {
        return hasLineEnded;
    }

private:
    bool Read();

    const StopSignals& stop;
    std::string name;
    int descriptor;
    std::function<void()> beforeWaiting = [] {};
    std::vector<char> buffer;
    std::size_t begin = 0; // of what is in the buffer and has not been taken
    std::size_t end = 0;
    bool hasFileEnded = false;
    bool hasLineEnded = true;
};

} // namespace OrvelClient
