#pragma once

#include "Kernel.h"

#include <unistd.h>

namespace UnitTests
{

/// While it exists, standard input is closed, as in some services: the next descriptor that the process gets is 0.
class NoStandardInput
{
public:
    NoStandardInput()
    {
        Kernel::Close.Real(STDIN_FILENO);
    }

    ~NoStandardInput()
    {
        dup2(before, STDIN_FILENO);
        Kernel::Close.Real(before);
    }

    NoStandardInput(const NoStandardInput&) = delete;
    NoStandardInput& operator=(const NoStandardInput&) = delete;

private:
    const int before = dup(STDIN_FILENO);
};

} // namespace UnitTests
