#pragma once

#include "Message.h"

#include <cstddef>
#include <memory>

namespace OrvelGateway
{

/// Messages that wait, first come, first served. Takes its memory once, when it is made.
class MessageRing
{
public:
    explicit MessageRing(std::size_t most)
        : capacity(most)
        , messages(new Message[most])
    {
    }

    std::size_t Count() const
    {
        return count;
    }

    bool IsEmpty() const
    {
        return count == 0;
    }

    bool IsFull() const
    {
        return count == capacity;
    }

    /// Where the next Push goes, and where Front is: for what is kept about each message beside it.
    std::size_t BackPlace() const
    {
        return (front + count) % capacity;
    }
    std::size_t FrontPlace() const
    {
        return front;
    }

    /// While it is not full.
    void Push(const Message& message)
    {
        messages[BackPlace()] = message;
        ++count;
    }

    /// While it is not empty.
    const Message& Front() const
    {
        return messages[front];
    }

    /// While it is not empty.
    void Pop()
    {
        front = (front + 1) % capacity;
        --count;
        if (count == 0)
        {
            front = 0; // a ring that is emptied again and again uses its first pages only; the others take no memory
        }
    }

private:
    std::size_t capacity;
    std::unique_ptr<Message[]> messages;
    std::size_t front = 0;
    std::size_t count = 0;
};

} // namespace OrvelGateway
