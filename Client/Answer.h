#pragma once

#include "GroupOptions.h"

#include <chrono>
#include <cstdint>
#include <string>

namespace OrvelClient
{

struct AnswerOptions
{
    void AddTo(Arguments::Parser& parser);

    GroupOptions group;
    std::string value;
    bool print = false;  ///< the frame is shown instead of sent
    uint64_t number = 0; ///< of answers after which it ends; 0: goes on
    std::chrono::milliseconds wait{1000};
    BusOptions bus;
};

/// Answers those who ask for the value of a group.
Command AnswerCommand();

} // namespace OrvelClient
