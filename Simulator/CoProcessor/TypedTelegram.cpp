#include "TypedTelegram.h"

namespace Simulator
{

std::optional<Knx::Bytes> TelegramFromHex(const std::string& text)
{
    try
    {
        Knx::Bytes telegram = Knx::FromHex(text);
        return telegram.empty() || telegram.size() > MaxTelegram ? std::nullopt : std::optional(std::move(telegram));
    }
    catch (const Knx::NotHex&)
    {
        return std::nullopt;
    }
}

} // namespace Simulator
