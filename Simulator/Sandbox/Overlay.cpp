#include "Overlay.h"

#include "System/Descriptor.h"
#include "System/ThrowErrno.h"

#include <fcntl.h>
#include <sys/mount.h>
#include <unistd.h>

#include <fstream>
#include <string>

namespace Simulator
{

namespace
{

using System::Descriptor;
using System::ThrowErrno;

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
    const Descriptor original(open(directory.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!original.IsOpen())
    {
        ThrowErrno("the board needs the directory " + directory.string());
    }
    if (mount("tmpfs", directory.c_str(), "tmpfs", MS_NOSUID, "mode=755") == -1)
    {
        ThrowErrno("cannot cover " + directory.string());
    }
    // The descriptor still leads to what is covered.
    const std::filesystem::path covered = "/proc/self/fd/" + std::to_string(original.Number());
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
}

void BindMount(const std::filesystem::path& source, const std::filesystem::path& target)
{
    std::error_code ignored;
    MakeMountPoint(target, std::filesystem::is_directory(source, ignored));
    if (mount(source.c_str(), target.c_str(), nullptr, MS_BIND | MS_REC, nullptr) == -1)
    {
        ThrowErrno("cannot show " + source.string() + " at " + target.string());
    }
}

void Unmount(const std::filesystem::path& target)
{
    umount2(target.c_str(), MNT_DETACH);
}

} // namespace Simulator
