#pragma once

#include <cstddef>

namespace UnitTests
{

/// How often this thread has asked for memory: with `new` anywhere in the process, with `malloc` in what is linked into this
/// program. Less what the tests' support has asked for on its own account.
inline thread_local std::size_t allocations = 0;

/// While it exists, this thread's requests are the support's own and leave the count as it was.
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
