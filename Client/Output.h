#pragma once

#include <cstdio>
#include <string>

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
    void Write(const std::string& text);

    /// Writes later: with what is added after it, or with Flush.
    void Add(const std::string& text);

    void Flush();

    /// For poll: reports an error when nobody reads it any more.
    int Descriptor() const;

    bool IsTerminal() const;

    /// Of the terminal; 0 where nobody knows.
    std::size_t Columns() const;

private:
    void Check(bool isWritten) const;

    std::string name;
    std::FILE* stream;
};

/// Tells the person at the terminal something that is not for a pipe or a file.
void Notice(const Output& output, const std::string& text);

} // namespace OrvelClient
