#include "RotatingOutput.h"

#include "Failure.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace OrvelClient
{

RotatingOutput::RotatingOutput(std::string file, std::optional<Rotation> wanted, std::string begin)
    : name(std::move(file))
    , rotation(wanted)
    , head(std::move(begin))
{
    Begin();
}

void RotatingOutput::Begin()
{
    output.reset(); // closed before it gets its other name
    if (rotation)
    {
        CheckFile();
        Shift();
    }
    output.emplace(name);
    output->Add(head);
    size = head.size();
}

void RotatingOutput::Add(std::string_view text)
{
    if (rotation && size > head.size() && size + text.size() > rotation->size)
    {
        output->Flush();
        Begin();
    }
    output->Add(text);
    size += text.size();
}

void RotatingOutput::Flush()
{
    output->Flush();
}

// A device, a pipe or a link would get another name, and those who use it would find something else in its place.
void RotatingOutput::CheckFile() const
{
    struct stat status
    {
    };
    if (lstat(name.c_str(), &status) == 0 && !S_ISREG(status.st_mode))
    {
        throw Failure(Status::WrongOption, "a rotation needs a regular file, and " + name + " is none");
    }
}

// From the oldest on: each takes the place of the one before.
void RotatingOutput::Shift() const
{
    for (unsigned number = rotation->count; number > 0; --number)
    {
        const std::string from = number == 1 ? name : Numbered(number - 1);
        const std::string to = Numbered(number);
        if (std::rename(from.c_str(), to.c_str()) != 0 && errno != ENOENT)
        {
            throw Failure(Status::Failed, "cannot rename " + from + ": " + strerror(errno));
        }
    }
}

std::string RotatingOutput::Numbered(unsigned number) const
{
    return name + "." + std::to_string(number);
}

} // namespace OrvelClient
