#include "TelegramText.h"

#include "Knx/CemiText.h"
#include "Knx/TextBuffer.h"

namespace Simulator
{

namespace
{

std::string Without(std::string text, const std::string& part)
{
    if (const std::size_t position = text.find(part); position != std::string::npos)
    {
        text.erase(position, part.size());
    }
    return text;
}

// "1.1.1 -> 1/2/3 A_GroupValue_Write On  Lights/Ceiling"
std::string TextOfKnown(Knx::CemiMessage cemi, const Knx::Meaning& meaning)
{
    Knx::TextBuffer text;
    AddWords(text, cemi, meaning.value ? Knx::Detail::WithoutValue : Knx::Detail::Unusual);
    if (meaning.value)
    {
        text.Add(' ');
        text.Add(meaning.text);
    }
    if (!meaning.name.empty())
    {
        text.Add("  ");
        text.Add(meaning.name);
    }
    if (meaning.isWrong)
    {
        cemi.problems.push_back("no value of the type " + meaning.type->Number());
    }
    AddProblems(text, 0, cemi);
    return std::string(text.Text());
}

} // namespace

std::string TelegramText(const Knx::Bytes& message, const std::string& expected, const Knx::KnownGroups& groups)
{
    const Knx::CemiMessage cemi = Knx::Decode(message);
    const Knx::Meaning meaning = MeaningOf(cemi, groups);
    const bool isKnown = meaning.type != nullptr || !meaning.name.empty();
    std::string text = isKnown ? TextOfKnown(cemi, meaning) : Knx::Describe(cemi);
    if (text.compare(0, expected.size(), expected) == 0)
    {
        text.erase(0, expected.size());
    }
    return Without(std::move(text), "T_Data_Group ");
}

} // namespace Simulator
