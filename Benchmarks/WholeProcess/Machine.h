#pragma once

#include <string>
#include <vector>

/// Describes the machine, one fact a line.
std::vector<std::string> DescribeMachine();

/// Watches what else the machine has to do.
class OtherWork
{
public:
    OtherWork();

    /// The other work since the construction, in hundredths of what all processors could do: that of processes that are
    /// neither this one nor started by it, and what the machine's host kept for itself.
    double Percent() const;

private:
    struct Used
    {
        double byAll = 0; // s
        double byUs = 0;  // s
        double inAll = 0; // s, idle ones included
    };

    static Used UsedSoFar();

    Used before;
};
