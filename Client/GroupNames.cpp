#include "GroupNames.h"

#include "System/FileContent.h"

#include <cstdlib>
#include <system_error>

namespace OrvelClient
{

void NamesFile::AddTo(Arguments::Parser& parser)
{
    const char* const variable = std::getenv(Knx::ExportVariable);
    mayBeMissing = variable == nullptr;
    name = mayBeMissing ? Knx::UsualExport : variable;
    parser.Option(
        "--names",
        [this](const std::string& file)
        {
            name = file;
            mayBeMissing = false;
        },
        std::string("Take the names of group addresses from this export, default is: ") + Knx::UsualExport);
}

Knx::GroupAddressExport ReadNames(const NamesFile& file)
{
    if (file.name.empty())
    {
        return {};
    }
    try
    {
        return Knx::ReadGroupAddressExport(System::FileContent(file.name, Knx::LongestExport));
    }
    catch (const Knx::NotAnExport& problem)
    {
        throw Failure(Status::NotUnderstood, file.name + ": " + problem.what());
    }
    catch (const std::system_error& problem)
    {
        if (file.mayBeMissing && problem.code() == std::errc::no_such_file_or_directory)
        {
            return {};
        }
        if (problem.code() == std::errc::file_too_large)
        {
            throw Failure(Status::NotUnderstood, file.name + " is far too long for names of group addresses");
        }
        throw Failure(Status::Failed, problem.what());
    }
}

uint16_t AddressFrom(const std::string& text, const Knx::GroupAddresses& names)
{
    try
    {
        return Knx::GroupFrom(text, names);
    }
    catch (const Knx::NotAGroupAddress& problem)
    {
        throw Failure(Status::NotUnderstood, problem.what());
    }
}

} // namespace OrvelClient
