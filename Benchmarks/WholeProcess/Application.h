#pragma once

#include "System/MessageQueue.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// The result of an exchange of frames.
struct Exchange
{
    std::chrono::nanoseconds duration{0};
    std::vector<double> roundTrips; ///< µs, of each frame; only when one frame at a time was under way
    std::size_t lost = 0;           ///< frames that did not come back in time, or not as they were sent
};

/// An application that sends frames and reads them back, one at a time or with some under way at once.
class Application
{
public:
    /// Makes both queues as the daemon would, so that it can wait for the first message before the daemon exists. Removes them
    /// at the end, even if the program does not.
    Application(const std::string& fromLlQueue, const std::string& toLlQueue);

    /// Throws std::runtime_error if none came for long.
    void AwaitLinkState() const;

    /// Sends `count` frames of `size` bytes, with `underWay` of them under way at a time.
    Exchange Run(std::size_t count, std::size_t size, std::size_t underWay);

private:
    bool Send(std::size_t size);
    bool Receive(std::size_t size);

    System::OwnMessageQueue fromLl;
    System::OwnMessageQueue toLl;
    uint32_t sent = 0;
    uint32_t received = 0;
};
