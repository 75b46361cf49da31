#pragma once

#include "Recording.h"

#include "Expect.h"

#include <sys/mman.h>
#include <unistd.h>

#include <string>
#include <vector>

namespace Fuzz
{

/// The messages of a file with this content, in any form.
inline std::vector<OrvelClient::Message> ReadRecording(const std::string& content)
{
    static const OrvelClient::StopSignals stop;
    static const int file = memfd_create("recording", MFD_CLOEXEC);
    const auto size = static_cast<ssize_t>(content.size());
    Expect("a file", ftruncate(file, 0) == 0 && pwrite(file, content.data(), content.size(), 0) == size);
    OrvelClient::Source source("/proc/self/fd/" + std::to_string(file), stop);
    OrvelClient::Recording recording(source);
    std::vector<OrvelClient::Message> messages;
    for (OrvelClient::Message message; recording.Next(message);)
    {
        messages.push_back(message);
    }
    return messages;
}

} // namespace Fuzz
