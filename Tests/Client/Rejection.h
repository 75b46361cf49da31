#pragma once

#include "Failure.h"

#include <gtest/gtest.h>

#include <string>

/// What `attempt` throws, as "status: line"; "nothing" if it throws nothing.
template<typename Attempt>
std::string RejectionOf(const Attempt& attempt)
{
    try
    {
        attempt();
    }
    catch (const OrvelClient::Failure& failure)
    {
        return std::to_string(static_cast<int>(failure.ExitStatus())) + ": " + failure.what();
    }
    return "nothing";
}

#define EXPECT_REJECTED(expression, status, line)                                                                      \
    EXPECT_EQ(RejectionOf([&] { static_cast<void>(expression); }),                                                     \
              std::to_string(static_cast<int>(status)) + ": " + (line))
