#pragma once

#include "Knx/TextBuffer.h"

#include <cstdio>
#include <string>
#include <string_view>

namespace OrvelClient
{

/// A stream of messages for a person or a program.
class Output
{
public:
    /// Standard output.
    Output();

    /// The file, made anew; "-" is standard output. Throws Failure.
    explicit Output(const std::string& file);

    ~Output();

    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    // These throw Failure; one of status Done when nobody reads it any more.

    /// Writes at once: whoever reads it sees each message when it happens.
    void Write(std::string_view text);

    /// Writes later: with what is added after it, or with Flush.
    void Add(std::string_view text);

    /// The same for what the action adds to the text that it is given. That text may have more in it already.
    template<typename Action>
    void AddWith(const Action& add)
    {
        add(waiting);
        FlushIfMuch();
    }

    void Flush();

    /// For poll: reports an error when nobody reads it any more.
    int Descriptor() const;

    bool IsTerminal() const;

    /// Of the terminal; 0 where nobody knows.
    std::size_t Columns() const;

private:
    void FlushIfMuch();
    bool WriteWaiting();

    std::string name;
    std::FILE* stream;
    Knx::TextBuffer waiting;
};

/// Tells the person at the terminal something that is not for a pipe or a file.
void Notice(const Output& output, const std::string& text);

} // namespace OrvelClient
