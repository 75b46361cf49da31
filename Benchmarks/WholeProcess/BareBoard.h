#pragma once

#include "System/Descriptor.h"

#include <thread>

/// Everything that the daemon needs of a board, made of things that cost it no more than the kernel's own would: plain
/// files for the GPIO, and a terminal to which nobody ever writes for the LEDs.
///
/// It lives in the namespaces of the calling process, which must be its own. Throws std::runtime_error.
class BareBoard
{
public:
    BareBoard();
    ~BareBoard();

    BareBoard(const BareBoard&) = delete;
    BareBoard& operator=(const BareBoard&) = delete;

private:
    void Drain() const;

    System::Descriptor terminal; // where what the daemon writes can be read
    System::Descriptor line;
    std::thread drain;
};
