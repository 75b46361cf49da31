#include "Allocations.h"

#include <dlfcn.h>

// Replaces `new` for the whole process, and calls the next one in line, which may be a sanitizer's.
extern "C" void* CountedNew(std::size_t size) __asm__(NEW_SYMBOL);

// The linker's option --wrap leads `malloc` to the one and knows the real one by the other name.
extern "C" void* __wrap_malloc(std::size_t size);
extern "C" void* __real_malloc(std::size_t size);

void* CountedNew(std::size_t size)
{
    using Function = void*(std::size_t);
    static auto* const real = reinterpret_cast<Function*>(dlsym(RTLD_NEXT, NEW_SYMBOL));
    ++UnitTests::allocations;
    return real(size);
}

void* __wrap_malloc(std::size_t size)
{
    ++UnitTests::allocations;
    return __real_malloc(size);
}
