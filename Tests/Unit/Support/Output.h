#pragma once

#include <iostream>
#include <sstream>
#include <string>

namespace UnitTests
{

/// Takes the place of standard output while it exists.
class Output : public std::stringbuf
{
public:
    Output()
        : previous(std::cout.rdbuf(this))
    {
    }

    ~Output() override
    {
        std::cout.rdbuf(previous);
    }

    /// Everything that was written, flushed.
    std::string Flushed() const
    {
        return flushed;
    }

protected:
    int sync() override
    {
        flushed = str();
        return std::stringbuf::sync();
    }

private:
    std::streambuf* previous;
    std::string flushed;
};

} // namespace UnitTests
