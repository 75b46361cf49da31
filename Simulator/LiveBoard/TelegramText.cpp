#include "TelegramText.h"

#include "Knx/CemiText.h"

namespace Simulator
{

std::string TelegramText(const Knx::Bytes& cemi, const std::string& expected)
{
    std::string text = Knx::Describe(Knx::Decode(cemi));
    if (text.compare(0, expected.size(), expected) == 0)
    {
        text.erase(0, expected.size());
    }
    const std::string ordinary = "T_Data_Group ";
    if (const std::size_t position = text.find(ordinary); position != std::string::npos)
    {
        text.erase(position, ordinary.size());
    }
    return text;
}

} // namespace Simulator
