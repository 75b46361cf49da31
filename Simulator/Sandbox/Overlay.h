#pragma once

#include <filesystem>

namespace Simulator
{

/// Covers `directory`, in the calling process's own mount namespace, with one that shows the same entries and lets more
/// be made. Throws std::runtime_error, also if `directory` is missing.
void CoverDirectory(const std::filesystem::path& directory);

/// Shows `source`, a file or a directory, at `target` too, in place of what is there. Throws std::runtime_error.
void BindMount(const std::filesystem::path& source, const std::filesystem::path& target);

/// Undoes the last mount at `target`, at the latest when nothing uses it any more. Never fails.
void Unmount(const std::filesystem::path& target);

} // namespace Simulator
