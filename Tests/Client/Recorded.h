#pragma once

#include "MessageReader.h"
#include "Source.h"

#include <gtest/gtest.h>

#include <sys/mman.h>
#include <unistd.h>

#include <string>
#include <vector>

/// A file with this content, for as long as the object lives.
class File
{
public:
    explicit File(const std::string& content)
        : descriptor(memfd_create("recorded", MFD_CLOEXEC))
    {
        EXPECT_EQ(write(descriptor, content.data(), content.size()), static_cast<ssize_t>(content.size()));
    }

    ~File()
    {
        close(descriptor);
    }

    File(const File&) = delete;
    File& operator=(const File&) = delete;

    std::string Name() const
    {
        return "/proc/self/fd/" + std::to_string(descriptor);
    }

private:
    int descriptor;
};

/// What a reader makes of a file.
struct Recorded
{
    std::vector<OrvelClient::Message> messages;
    std::string remark;
};

template<typename Reader>
Recorded ReadWith(const std::string& content)
{
    const File file(content);
    const OrvelClient::StopSignals stop;
    OrvelClient::Source source(file.Name(), stop);
    Reader reader(source);
    Recorded recorded;
    for (OrvelClient::Message message; reader.Next(message);)
    {
        recorded.messages.push_back(message);
    }
    recorded.remark = reader.Remark();
    return recorded;
}
