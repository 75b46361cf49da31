#include "GroupPatterns.h"

#include "GroupNames.h"

#include <algorithm>

namespace OrvelClient
{

namespace
{

bool HasName(const std::string& text)
{
    return text.find_first_not_of("0123456789/*-,") != std::string::npos;
}

// What stands between the commas.
std::vector<std::string> Parts(const std::string& text)
{
    std::vector<std::string> parts;
    std::size_t begin = 0;
    for (std::size_t comma = text.find(','); comma != std::string::npos; comma = text.find(',', begin))
    {
        parts.push_back(text.substr(begin, comma - begin));
        begin = comma + 1;
    }
    parts.push_back(text.substr(begin));
    return parts;
}

} // namespace

void GroupPatterns::AddTo(Arguments::Parser& parser, const std::string& text)
{
    parser.Each(
        "--group", [this](const std::string& group) { Add(group); }, text);
}

void GroupPatterns::Add(const std::string& text)
{
    if (!HasName(text))
    {
        for (const std::string& part : Parts(text))
        {
            static_cast<void>(Knx::GroupAddressPattern(part)); // wrong ones are refused at once
        }
    }
    texts.push_back(text);
}

void GroupPatterns::Resolve(const Knx::GroupAddresses& groups)
{
    for (const std::string& text : texts)
    {
        const bool isName =
            !Knx::LooksLikeGroupAddress(text) && !groups.Find(text).empty(); // also "12-14", or with a comma
        for (const std::string& part : isName ? std::vector<std::string>{text} : Parts(text))
        {
            try
            {
                patterns.emplace_back(isName || HasName(part) ? Knx::GroupAddress(AddressFrom(part, groups)) : part);
            }
            catch (const Knx::NotAGroupAddress& problem)
            {
                throw Failure(Status::WrongOption, std::string("--group: ") + problem.what());
            }
        }
    }
    texts.clear();
}

bool GroupPatterns::Contain(uint16_t address) const
{
    return std::any_of(patterns.begin(), patterns.end(),
                       [address](const Knx::GroupAddressPattern& pattern) { return pattern.Contains(address); });
}

std::vector<uint16_t> GroupPatterns::Addresses() const
{
    std::vector<uint16_t> all;
    for (const Knx::GroupAddressPattern& pattern : patterns)
    {
        const std::vector<uint16_t> addresses = pattern.Addresses();
        all.insert(all.end(), addresses.begin(), addresses.end());
    }
    return all;
}

} // namespace OrvelClient
