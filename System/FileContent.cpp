#include "System/FileContent.h"

#include "System/Descriptor.h"
#include "System/ThrowErrno.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>

namespace System
{

std::string FileContent(const std::string& name, std::size_t most)
{
    const std::string failure = "cannot read " + name;
    const Descriptor file(open(name.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.IsOpen())
    {
        ThrowErrno(failure);
    }
    std::string content;
    std::array<char, 65536> buffer{};
    for (ssize_t size = 1; size > 0;)
    {
        size = read(file.Number(), buffer.data(), buffer.size());
        if (size == -1)
        {
            ThrowErrno(failure);
        }
        content.append(buffer.data(), static_cast<std::size_t>(size));
        if (content.size() > most)
        {
            ThrowErrno(failure, EFBIG);
        }
    }
    return content;
}

} // namespace System
