#include "GroupNames.h"

#include "CommandLine.h"

#include "System/Descriptor.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace OrvelClient
{

namespace
{

constexpr const char* UsualFile = "/etc/orvel/group-addresses.xml";
constexpr const char* Variable = "ORVEL_NAMES";

std::string Content(const System::Descriptor& file, const std::string& name)
{
    constexpr std::size_t maxSize = std::size_t{64} * 1024 * 1024; // bytes; all 65,535 groups take a quarter of that
    std::string content;
    std::array<char, 65536> buffer{};
    for (ssize_t size = 1; size > 0;)
    {
        size = read(file.Number(), buffer.data(), buffer.size());
        if (size == -1)
        {
            throw Failure(Status::Failed, "cannot read " + name + ": " + strerror(errno));
        }
        content.append(buffer.data(), static_cast<std::size_t>(size));
        if (content.size() > maxSize)
        {
            throw Failure(Status::NotUnderstood, name + " is far too long for names of group addresses");
        }
    }
    return content;
}

std::string Candidates(const std::vector<const Knx::NamedGroup*>& groups, Knx::GroupAddressStyle style)
{
    constexpr std::size_t shown = 5;
    std::string text;
    for (std::size_t index = 0; index < groups.size() && index < shown; ++index)
    {
        text += (index == 0 ? "" : ", ") + GroupAddress(groups[index]->address, style) + " " + groups[index]->name;
    }
    return text + (groups.size() > shown ? " and " + std::to_string(groups.size() - shown) + " more" : "");
}

} // namespace

Option NamesOption()
{
    return {"names", std::string("Take the names of group addresses from this export, default is: ") + UsualFile};
}

NamesFile TakeNamesFile(const CommandLine& line)
{
    if (line.Has("names"))
    {
        return {line.TextOr("", "names"), false};
    }
    const char* const variable = std::getenv(Variable);
    return variable != nullptr ? NamesFile{variable, false} : NamesFile{UsualFile, true};
}

Knx::GroupAddressExport ReadNames(const NamesFile& file)
{
    if (file.name.empty())
    {
        return {};
    }
    const System::Descriptor descriptor(open(file.name.c_str(), O_RDONLY | O_CLOEXEC));
    if (!descriptor.IsOpen())
    {
        if (file.mayBeMissing && errno == ENOENT)
        {
            return {};
        }
        throw Failure(Status::Failed, "cannot read " + file.name + ": " + strerror(errno));
    }
    try
    {
        return Knx::ReadGroupAddressExport(Content(descriptor, file.name));
    }
    catch (const Knx::NotAnExport& problem)
    {
        throw Failure(Status::NotUnderstood, file.name + ": " + problem.what());
    }
}

uint16_t GroupFrom(const std::string& text, const Knx::GroupAddresses& names)
{
    const bool isAddress = Knx::LooksLikeGroupAddress(text);
    if (isAddress || names.All().empty())
    {
        try
        {
            return Knx::ParseGroupAddress(text);
        }
        catch (const Knx::NotAGroupAddress& problem)
        {
            throw Failure(Status::NotUnderstood,
                          std::string(problem.what()) + (isAddress ? "" : ", and there are no names"));
        }
    }
    const std::vector<const Knx::NamedGroup*> found = names.Find(text);
    if (found.empty())
    {
        throw Failure(Status::NotUnderstood, "no group has the name '" + text + "'; 'orvelctl names' lists them");
    }
    if (found.size() > 1)
    {
        throw Failure(Status::NotUnderstood, "'" + text + "' is ambiguous: " + Candidates(found, names.Style()));
    }
    return found.front()->address;
}

} // namespace OrvelClient
