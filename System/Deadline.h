#pragma once

#include <chrono>

namespace System
{

constexpr auto NoDeadline = std::chrono::steady_clock::time_point::max();

/// The timeout of a poll that is to return at `deadline`: in ms, rounded up, so that the deadline has passed when poll returns.
/// 0 if it has passed already; -1, which is for ever, for NoDeadline.
int PollTimeout(std::chrono::steady_clock::time_point deadline,
                std::chrono::steady_clock::time_point now = std::chrono::steady_clock::now());

} // namespace System
