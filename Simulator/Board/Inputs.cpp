#include "Inputs.h"

#include "Knx/GroupAddressExport.h"
#include "System/FileContent.h"

#include <cstdlib>
#include <system_error>

namespace Simulator
{

namespace
{

// Nothing where nobody has named one.
std::optional<std::string> NamedExport(const std::optional<std::string>& file)
{
    const char* const variable = std::getenv(Knx::ExportVariable);
    return file || variable == nullptr ? file : variable;
}

} // namespace

Knx::GroupAddresses ReadNames(const std::optional<std::string>& file)
{
    const std::optional<std::string> named = NamedExport(file);
    const std::string name = named.value_or(Knx::UsualExport);
    if (name.empty())
    {
        return {};
    }
    try
    {
        return Knx::ReadGroupAddressExport(System::FileContent(name, Knx::LongestExport)).groups;
    }
    catch (const Knx::NotAnExport& problem)
    {
        throw BrokenFile(name + ": " + problem.what());
    }
    catch (const std::system_error& problem)
    {
        if (!named && problem.code() == std::errc::no_such_file_or_directory)
        {
            return {};
        }
        throw;
    }
}

DeviceFile ReadDeviceFile(const std::optional<std::string>& file, const Knx::GroupAddresses& names)
{
    constexpr std::size_t longest{1U << 20U}; // bytes; all devices that there can be take far less
    if (!file)
    {
        return {};
    }
    try
    {
        return ReadDevices(System::FileContent(*file, longest), names);
    }
    catch (const NotADeviceFile& problem)
    {
        throw BrokenFile(*file + ": " + problem.what());
    }
}

} // namespace Simulator
