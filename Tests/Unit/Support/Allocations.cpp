#include "Allocations.h"

// The linker's option --wrap leads `new` to the one and knows the real one by the other name.
extern "C" void* CountedNew(std::size_t size) __asm__("__wrap_" NEW_SYMBOL);
extern "C" void* RealNew(std::size_t size) __asm__("__real_" NEW_SYMBOL);

namespace
{

thread_local std::size_t allocations = 0;

} // namespace

std::size_t UnitTests::Allocations()
{
    return allocations;
}

void* CountedNew(std::size_t size)
{
    ++allocations;
    return RealNew(size);
}
