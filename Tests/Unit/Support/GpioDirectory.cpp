#include "GpioDirectory.h"

#include <sys/mount.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

namespace UnitTests
{

namespace
{

const std::filesystem::path Directory = "/sys/class/gpio";

// Mounts once per process, because nothing can be created in the kernel's own directory.
void MountOverSysClass()
{
    static const bool mounted = mount("tmpfs", Directory.parent_path().c_str(), "tmpfs", 0, nullptr) == 0;
    if (!mounted)
    {
        throw std::system_error(errno, std::generic_category(), "mounting over " + Directory.parent_path().string());
    }
}

} // namespace

GpioDirectory::GpioDirectory(int gpio)
{
    MountOverSysClass();
    const std::string pin = "gpio" + std::to_string(gpio);
    std::filesystem::create_directories(Directory / pin);
    Write("export", "");
    Write(pin + "/direction", "");
    Write(pin + "/value", "");
}

GpioDirectory::~GpioDirectory()
{
    std::error_code ignored;
    std::filesystem::remove_all(Directory, ignored);
}

std::string GpioDirectory::Read(const std::string& name)
{
    std::ifstream file(Directory / name);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void GpioDirectory::Write(const std::string& name, const std::string& text)
{
    std::ofstream(Directory / name) << text;
}

void GpioDirectory::MakeDirectory(const std::string& name)
{
    std::filesystem::remove_all(Directory / name);
    std::filesystem::create_directory(Directory / name);
}

void GpioDirectory::Remove(const std::string& name)
{
    std::filesystem::remove_all(Directory / name);
}

void GpioDirectory::RefuseWrites(const std::string& name)
{
    std::filesystem::remove_all(Directory / name);
    std::filesystem::create_symlink("/dev/full", Directory / name);
}

} // namespace UnitTests
