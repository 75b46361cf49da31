#pragma once

#include <gtest/gtest-printers.h>

#include <cstdio>
#include <cstdlib>

namespace Fuzz
{

/// Ends the process unless `actual` is `expected`: this tells the fuzzer to keep the input.
template<typename Actual, typename Expected>
void ExpectEqual(const char* what, const Actual& actual, const Expected& expected)
{
    if (!(actual == expected))
    {
        std::fprintf(stderr, "%s:\n  is        %s\n  should be %s\n", what, testing::PrintToString(actual).c_str(),
                     testing::PrintToString(expected).c_str());
        std::abort();
    }
}

inline void Expect(const char* what, bool condition)
{
    ExpectEqual(what, condition, true);
}

} // namespace Fuzz
