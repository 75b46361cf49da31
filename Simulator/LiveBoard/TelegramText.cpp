#include "TelegramText.h"

#include "Description.h"

namespace Simulator
{

std::string TelegramText(const Bytes& cemi, const std::string& expected)
{
    OrvelClient::Message message;
    message.frame = cemi;
    std::string text = OrvelClient::Describe(message);
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
