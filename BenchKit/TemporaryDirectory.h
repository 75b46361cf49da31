#pragma once

#include <filesystem>
#include <string>

/// A directory that is removed with this object.
class TemporaryDirectory
{
public:
    /// Throws std::system_error if there is no place for it.
    TemporaryDirectory();
    ~TemporaryDirectory();

    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::filesystem::path& Path() const
    {
        return path;
    }

    std::string File(const std::string& name) const
    {
        return path / name;
    }

private:
    std::filesystem::path path;
};
