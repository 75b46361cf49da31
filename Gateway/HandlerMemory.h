#pragma once

#include <array>
#include <cstddef>
#include <new>

namespace OrvelGateway
{

/// Room for one operation of the event library, which otherwise asks the heap for each.
class HandlerMemory
{
public:
    HandlerMemory() = default;

    HandlerMemory(const HandlerMemory&) = delete;
    HandlerMemory& operator=(const HandlerMemory&) = delete;

    void* Allocate(std::size_t size)
    {
        if (isUsed || size > room.size())
        {
            return ::operator new(size);
        }
        isUsed = true;
        return room.data();
    }

    void Free(void* memory)
    {
        if (memory == room.data())
        {
            isUsed = false;
            return;
        }
        ::operator delete(memory);
    }

private:
    alignas(std::max_align_t) std::array<std::byte, 256> room; // an operation takes about half of it
    bool isUsed = false;
};

/// What the event library asks instead of the heap.
template<typename Value>
class HandlerAllocator
{
public:
    using value_type = Value; // NOLINT(readability-identifier-naming): the library asks for this name

    explicit HandlerAllocator(HandlerMemory& handlerMemory)
        : memory(&handlerMemory)
    {
    }

    template<typename Other>
    explicit HandlerAllocator(const HandlerAllocator<Other>& other)
        : memory(other.memory)
    {
    }

    // The names and the spelling of these are the library's, too.

    Value* allocate(std::size_t count) const
    {
        return static_cast<Value*>(memory->Allocate(count * sizeof(Value)));
    }

    void deallocate(Value* values, std::size_t /*count*/) const
    {
        memory->Free(values);
    }

    template<typename Other>
    bool operator==(const HandlerAllocator<Other>& other) const
    {
        return memory == other.memory;
    }

    template<typename Other>
    bool operator!=(const HandlerAllocator<Other>& other) const
    {
        return memory != other.memory;
    }

private:
    template<typename Other>
    friend class HandlerAllocator;

    HandlerMemory* memory;
};

} // namespace OrvelGateway
