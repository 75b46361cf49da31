#pragma once

#include <string>

namespace UnitTests
{

/// Stands for "/sys/class/gpio" while it exists, with ordinary files that keep what was written last. The process needs
/// a mount namespace of its own. Names are relative: "export", "gpio3/value". Failures throw
/// std::filesystem::filesystem_error or std::system_error.
class GpioDirectory
{
public:
    /// Has "export" and, for `gpio`, "direction" and "value", all empty.
    explicit GpioDirectory(int gpio);
    ~GpioDirectory();

    GpioDirectory(const GpioDirectory&) = delete;
    GpioDirectory& operator=(const GpioDirectory&) = delete;

    static std::string Read(const std::string& name);
    static void Write(const std::string& name, const std::string& text);

    /// Makes opening it for writing fail: "Is a directory", or "No such file or directory".
    static void MakeDirectory(const std::string& name);
    static void Remove(const std::string& name);

    /// Lets it be opened, but refuses what is written when the stream closes.
    static void RefuseWrites(const std::string& name);
};

} // namespace UnitTests
