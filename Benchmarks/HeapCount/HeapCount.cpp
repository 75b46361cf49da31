// Load it in front of a program (LD_PRELOAD): it counts the program's heap calls in the file whose descriptor
// ORVEL_HEAP_COUNT names. Another process reads the number there while the program runs.

#include <sys/mman.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

// The C library's own names of the functions that are replaced below.
extern "C"
{
    void* __libc_malloc(std::size_t size);
    void* __libc_calloc(std::size_t count, std::size_t size);
    void* __libc_realloc(void* old, std::size_t size);
    void* __libc_memalign(std::size_t alignment, std::size_t size);
    void __libc_free(void* block);
}

namespace
{

using Counter = std::atomic<uint64_t>;

Counter* OpenCounter()
{
    const char* const descriptor = std::getenv("ORVEL_HEAP_COUNT");
    if (descriptor == nullptr)
    {
        return nullptr;
    }
    void* const page = mmap(nullptr, sizeof(Counter), PROT_READ | PROT_WRITE, MAP_SHARED,
                            static_cast<int>(std::strtol(descriptor, nullptr, 10)), 0);
    return page == MAP_FAILED ? nullptr : static_cast<Counter*>(page);
}

// Null until the library is initialised; earlier calls do not matter.
Counter* const counter = OpenCounter();

void Count()
{
    if (counter != nullptr)
    {
        counter->fetch_add(1, std::memory_order_relaxed);
    }
}

} // namespace

// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name): in the C library they have none that one could use
extern "C"
{
    void* malloc(std::size_t size)
    {
        Count();
        return __libc_malloc(size);
    }

    void* calloc(std::size_t count, std::size_t size)
    {
        Count();
        return __libc_calloc(count, size);
    }

    void* realloc(void* old, std::size_t size)
    {
        Count();
        return __libc_realloc(old, size);
    }

    void* aligned_alloc(std::size_t alignment, std::size_t size)
    {
        Count();
        return __libc_memalign(alignment, size);
    }

    void free(void* block)
    {
        Count();
        __libc_free(block);
    }
}
// NOLINTEND(readability-inconsistent-declaration-parameter-name)
