#pragma once

#include "System/Descriptor.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <stdexcept>

/// A number that another process increases.
class SharedNumber
{
public:
    SharedNumber()
        : descriptor(memfd_create("count", 0))
    {
        void* const page = ftruncate(Descriptor(), sizeof(uint64_t)) == -1
                               ? MAP_FAILED
                               : mmap(nullptr, sizeof(uint64_t), PROT_READ, MAP_SHARED, Descriptor(), 0);
        if (page == MAP_FAILED)
        {
            throw std::runtime_error("cannot share memory with the program that is measured");
        }
        number = static_cast<const volatile uint64_t*>(page);
    }

    ~SharedNumber()
    {
        munmap(const_cast<uint64_t*>(number), sizeof(uint64_t));
    }

    SharedNumber(const SharedNumber&) = delete;
    SharedNumber& operator=(const SharedNumber&) = delete;

    int Descriptor() const
    {
        return descriptor.Number();
    }

    uint64_t Value() const
    {
        return *number;
    }

private:
    System::Descriptor descriptor;
    const volatile uint64_t* number;
};
