#pragma once

#include <string>

namespace UnitTests
{

/// "/sys/class/gpio" while it exists: ordinary files, which keep what was written last. Needs a mount namespace of the
/// process's own. Names are relative: "export", "gpio3/value". Failures throw std::filesystem::filesystem_error or
/// std::system_error.
class GpioDirectory
{
public:
    /// With "export" and, for `gpio`, "direction" and "value", all empty.
    explicit GpioDirectory(int gpio);
    ~GpioDirectory();

    GpioDirectory(const GpioDirectory&) = delete;
    GpioDirectory& operator=(const GpioDirectory&) = delete;

    static std::string Read(const std::string& name);
    static void Write(const std::string& name, const std::string& text);

    /// Opening it for writing fails: "Is a directory", or "No such file or directory".
    static void MakeDirectory(const std::string& name);
    static void Remove(const std::string& name);

    /// It can be opened, but what is written is refused when the stream closes.
    static void RefuseWrites(const std::string& name);
};

} // namespace UnitTests
