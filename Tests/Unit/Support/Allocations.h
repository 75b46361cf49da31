#pragma once

#include <cstddef>

namespace UnitTests
{

/// How often this thread has asked for memory: with `new` anywhere in the process, with `malloc` in what is linked into
/// this program. Requests of the tests' support do not count.
inline thread_local std::size_t allocations = 0;

/// While it exists, this thread's requests belong to the support and do not count.
class Uncounted
{
public:
    Uncounted() = default;

    ~Uncounted()
    {
        // cppcheck-suppress selfAssignment ; `before` is what it was when this object was made
        allocations = before;
    }

    Uncounted(const Uncounted&) = delete;
    Uncounted& operator=(const Uncounted&) = delete;

private:
    const std::size_t before = allocations;
};

} // namespace UnitTests
