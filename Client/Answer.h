#pragma once

#include "GroupOptions.h"

#include <chrono>
#include <cstdint>
#include <string>

namespace OrvelClient
{

struct AnswerOptions
{
    /// Throws Failure (WrongOption).
    explicit AnswerOptions(const CommandLine& line);

    GroupOptions group;
    std::string value;
    bool print;      ///< the frame is shown instead of sent
    uint64_t number; ///< of answers after which it ends; 0: goes on
    std::chrono::milliseconds wait;
    BusOptions bus;
};

/// Answers those who ask for the value of a group.
Command AnswerCommand();

} // namespace OrvelClient
