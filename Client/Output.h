#pragma once

#include <cstdio>
#include <string>

namespace OrvelClient
{

/// A stream that is written to at once: whoever reads it sees each message when it happens.
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

    /// Throws Failure; one of status Done when nobody reads it any more.
    void Write(const std::string& text);

    /// For poll: reports an error when nobody reads it any more.
    int Descriptor() const;

    bool IsTerminal() const;

private:
    std::string name;
    std::FILE* stream;
};

/// Tells the person at the terminal something that is not for a pipe or a file.
void Notice(const Output& output, const std::string& text);

} // namespace OrvelClient
