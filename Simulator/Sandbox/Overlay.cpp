#include "Overlay.h"

#include <fcntl.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <string>

namespace Simulator
{

namespace
{

[[noreturn]] void Fail(const std::string& what, int error)
{
    throw std::runtime_error(what + ": " + strerror(error));
}

// A mount can only cover something of the same kind.
void MakeMountPoint(const std::filesystem::path& target, bool directory)
{
    std::error_code ignored;
    if (std::filesystem::exists(target, ignored))
    {
        return;
    }
    if (directory)
    {
        std::filesystem::create_directories(target, ignored);
    }
    else
    {
        std::ofstream{target};
    }
}

} // namespace

void CoverDirectory(const std::filesystem::path& directory)
{
    const int original = open(directory.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    if (original == -1)
    {
        Fail("the board needs the directory " + directory.string(), errno);
    }
    if (mount("tmpfs", directory.c_str(), "tmpfs", MS_NOSUID, "mode=755") == -1)
    {
        const int error = errno;
        close(original);
        Fail("cannot cover " + directory.string(), error);
    }
    // The descriptor still leads to what is covered.
    const std::filesystem::path covered = "/proc/self/fd/" + std::to_string(original);
    for (const auto& entry : std::filesystem::directory_iterator(covered))
    {
        const auto copy = directory / entry.path().filename();
        std::error_code ignored;
        if (entry.is_symlink(ignored))
        {
            std::filesystem::copy_symlink(entry.path(), copy, ignored);
            continue;
        }
        MakeMountPoint(copy, entry.is_directory(ignored));
        // An entry that cannot be shown, such as a stale mount, is left out.
        static_cast<void>(mount(entry.path().c_str(), copy.c_str(), nullptr, MS_BIND | MS_REC, nullptr));
    }
    close(original);
}

void BindMount(const std::filesystem::path& source, const std::filesystem::path& target)
{
    std::error_code ignored;
    MakeMountPoint(target, std::filesystem::is_directory(source, ignored));
    if (mount(source.c_str(), target.c_str(), nullptr, MS_BIND | MS_REC, nullptr) == -1)
    {
        Fail("cannot show " + source.string() + " at " + target.string(), errno);
    }
}

void Unmount(const std::filesystem::path& target)
{
    umount2(target.c_str(), MNT_DETACH);
}

} // namespace Simulator
