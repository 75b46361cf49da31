#pragma once

#include <iostream>
#include <sstream>
#include <string>

namespace UnitTests
{

/// In the place of standard output while it exists.
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

    /// Flushed and whole.
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
