#include "BoardState.h"

#include "TelegramText.h"
#include "TypedTelegram.h"

#include <algorithm>
#include <regex>
#include <utility>

namespace Simulator
{

namespace
{

bool StartsWith(const std::string& text, const std::string& start)
{
    return text.compare(0, start.size(), start) == 0;
}

void Keep(std::deque<BoardState::Entry>& entries, BoardState::Entry entry)
{
    entries.push_back(std::move(entry));
    if (entries.size() > BoardState::KeptLines)
    {
        entries.pop_front();
    }
}

} // namespace

void BoardState::OnEvent(Time time, const std::string& event)
{
    if (TakeTelegram(time, event))
    {
        return;
    }
    TakeState(event);
    const bool trouble =
        event == "co-processor hangs" || event == "serial line pulled" || StartsWith(event, "the LEDs did not come");
    Keep(log, {time, trouble ? Line::Trouble : Line::Board, event});
}

bool BoardState::TakeTelegram(Time time, const std::string& event)
{
    struct Kind
    {
        const char* event;
        const char* what;
        const char* code;
        uint64_t Counters::*counter;
    };
    static const std::array kinds{
        Kind{"telegram to KNX: ", "to KNX    ", "L_Data.req ", &Counters::toKnx},
        Kind{"telegram confirmed: ", "confirmed ", "L_Data.con ", &Counters::confirmed},
        Kind{"telegram not sent: ", "not sent  ", "L_Data.con ", &Counters::notSent},
        Kind{"telegram from KNX: ", "from KNX  ", "L_Data.ind ", &Counters::fromKnx},
    };
    if (StartsWith(event, "telegram lost"))
    {
        ++counters.lost;
        Keep(telegrams, {time, Line::Trouble, event.substr(event.find("lost"))});
        return true;
    }
    const auto* const kind =
        std::find_if(kinds.begin(), kinds.end(), [&](const Kind& entry) { return StartsWith(event, entry.event); });
    if (kind == kinds.end())
    {
        return false;
    }
    ++(counters.*kind->counter);
    const auto cemi = TelegramFromHex(event.substr(std::string(kind->event).size()));
    const auto line = kind->counter == &Counters::notSent ? Line::Trouble : Line::Telegram;
    Keep(telegrams, {time, line, kind->what + TelegramText(cemi.value_or(Knx::Bytes()), kind->code)});
    return true;
}

void BoardState::TakeState(const std::string& event)
{
    static const std::array<const char*, LedCount> ledNames{"LED red KNX ", "LED yellow KNX ", "LED green device ",
                                                            "LED orange device "};
    for (std::size_t number = 0; number < ledNames.size(); ++number)
    {
        if (StartsWith(event, ledNames.at(number)))
        {
            leds.at(number) = event == std::string(ledNames.at(number)) + "on";
        }
    }
    if (StartsWith(event, "RS485 termination "))
    {
        terminated = event == "RS485 termination on";
    }
    else if (StartsWith(event, "button "))
    {
        buttonPressed = event == "button pressed";
        counters.presses += buttonPressed ? 1 : 0;
    }
    else if (StartsWith(event, "serial line "))
    {
        plugged = event == "serial line plugged in";
    }
    else if (event == "reset line low")
    {
        coProcessor = "held in reset";
        session = false;
        leds.fill(false);
        terminated = false;
        ++counters.resets;
    }
    else if (StartsWith(event, "reset line high after "))
    {
        coProcessor = "booting";
        lastPulse = event.substr(std::string("reset line high after ").size());
    }
    else if (event == "co-processor booted")
    {
        coProcessor = "running";
    }
    else if (event == "co-processor hangs")
    {
        coProcessor = "hangs";
    }
    else if (event == "link up")
    {
        session = true;
        ++counters.links;
    }
    else if (StartsWith(event, "daemon ended"))
    {
        session = false;
    }
}

void BoardState::OnDaemonLine(Time time, const std::string& line)
{
    // 03.07.2024 14:05:09.042 [140089525880640] ERROR Reset <> - Failed ...
    static const std::regex pattern(R"(^[0-9.]{10} [0-9:.]{12} \[[0-9]+\] ([A-Z]+) +(\w+) <> - (.*)$)");
    std::smatch part;
    if (!std::regex_match(line, part, pattern))
    {
        Keep(log, {time, Line::Daemon, line});
        return;
    }
    const std::string level = part[1];
    const bool trouble = level == "ERROR" || level == "FATAL" || level == "WARN";
    Keep(log, {time, trouble ? Line::Trouble : Line::Daemon, level + " " + part[2].str() + ": " + part[3].str()});
}

void BoardState::OnAnswer(Time time, const std::string& answer)
{
    Keep(log, {time, Line::Trouble, answer});
}

bool BoardState::IsLinkUp() const
{
    return session && plugged && coProcessor == "running";
}

} // namespace Simulator
