#include "BoardState.h"

#include "TelegramText.h"

#include <algorithm>
#include <iterator>
#include <regex>
#include <utility>

namespace Simulator
{

namespace
{

void Keep(std::deque<BoardState::Entry>& entries, BoardState::Entry entry)
{
    entries.push_back(std::move(entry));
    if (entries.size() > BoardState::KeptLines)
    {
        entries.pop_front();
    }
}

} // namespace

void BoardState::OnEvent(Time time, const Event& event)
{
    if (TakeTelegram(time, event))
    {
        return;
    }
    TakeState(event);
    TakeGateway(event);
    const bool trouble = event.kind == Event::CoProcessorHangs || event.kind == Event::SerialLinePulled ||
                         event.kind == Event::LedsDidNotCome ||
                         (event.kind == Event::GatewayEnded && event.number != 0);
    Keep(log, {time, trouble ? Line::Trouble : Line::Board, TextOf(event)});
}

bool BoardState::TakeTelegram(Time time, const Event& event)
{
    const auto keep = [&](uint64_t& counter, Line line, const std::string& what, const std::string& code)
    {
        ++counter;
        Keep(telegrams, {time, line, what + TelegramText(event.bytes, code, groups)});
        return true;
    };
    switch (event.kind)
    {
    case Event::TelegramToKnx:
        return keep(counters.toKnx, Line::Telegram, "to KNX    ", "L_Data.req ");
    case Event::TelegramConfirmed:
        return keep(counters.confirmed, Line::Telegram, "confirmed ", "L_Data.con ");
    case Event::TelegramNotSent:
        return keep(counters.notSent, Line::Trouble, "not sent  ", "L_Data.con ");
    case Event::TelegramFromKnx:
        return keep(counters.fromKnx, Line::Telegram, "from KNX  ", "L_Data.ind ");
    case Event::TelegramLost:
        ++counters.lost;
        Keep(telegrams, {time, Line::Trouble, "lost: no link to the driver"});
        return true;
    default:
        return false;
    }
}

void BoardState::TakeState(const Event& event)
{
    switch (event.kind)
    {
    case Event::LedOn:
    case Event::LedOff:
        leds.at(static_cast<std::size_t>(event.number)) = event.kind == Event::LedOn;
        break;
    case Event::TerminationOn:
    case Event::TerminationOff:
        terminated = event.kind == Event::TerminationOn;
        break;
    case Event::ButtonPressed:
        ++counters.presses;
        buttonPressed = true;
        break;
    case Event::ButtonReleased:
        buttonPressed = false;
        break;
    case Event::SerialLinePulled:
    case Event::SerialLinePluggedIn:
        plugged = event.kind == Event::SerialLinePluggedIn;
        break;
    case Event::ResetLineLow:
        OnReset();
        break;
    case Event::ResetLineHigh:
        coProcessor = Phase::Booting;
        lastPulse = std::chrono::nanoseconds(event.number);
        break;
    case Event::CoProcessorBooted:
        coProcessor = Phase::Running;
        break;
    case Event::CoProcessorHangs:
        coProcessor = Phase::Hanging;
        break;
    case Event::LinkUp:
        session = true;
        ++counters.links;
        break;
    case Event::DaemonEnded:
        session = false;
        break;
    default: // is for the log only
        break;
    }
}

void BoardState::TakeGateway(const Event& event)
{
    switch (event.kind)
    {
    case Event::GatewayStarted:
        gateway = Gateway();
        break;
    case Event::GatewayEnded:
        gateway = Gateway{false, {}};
        break;
    case Event::ProgramConnected:
        if (gateway)
        {
            gateway->programs.push_back(event.text);
        }
        break;
    case Event::ProgramLeft:
        if (gateway)
        {
            auto& programs = gateway->programs;
            const auto gone = std::find(programs.begin(), programs.end(), event.text);
            programs.erase(gone, gone == programs.end() ? gone : std::next(gone));
        }
        break;
    default:
        break;
    }
}

void BoardState::OnReset()
{
    coProcessor = Phase::HeldInReset;
    session = false;
    leds.fill(false);
    terminated = false;
    ++counters.resets;
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
    return session && plugged && coProcessor == Phase::Running;
}

} // namespace Simulator
