#include "Ledger.h"

#include "Frames.h"

#include <array>
#include <cstdlib>
#include <utility>

namespace
{

struct Kind
{
    const char* start; // of the line
    const char* name;
};

// Takes the first kind that fits.
constexpr std::array<Kind, 20> Kinds{{
    {"DEBUG Cemi Enqueued ", "enqueued"},
    {"DEBUG Cemi Sended cemi message with size 4 ", "states sent"},
    {"DEBUG Cemi Sended cemi message with size ", "sent to user"},
    {"DEBUG Nemt Received on topic 256:", "received"},
    {"DEBUG Nemt Sent on topic 256:", "on line"},
    {"DEBUG Leds Set brightness of led ", "led set"},
    {"DEBUG Buttons Programming button state changed to: ", "button changes"},
    {"DEBUG Buttons Programming button since boot was: pressed", "pressed since boot"},
    {"ERROR Cemi Failed to enqueue cemi message with size byte ", "refused"},
    {"ERROR Cemi Received invalid cemi message with size byte ", "invalid"},
    {"ERROR Cemi Failed to read from queue /cemiToLL: ", "empty"},
    {"ERROR Cemi Failed to send cemi message from LL to user message queue: Resource temporarily unavailable", "full"},
    {"ERROR Leds Failed to transmit LED state for led ", "led refused"},
    {"ERROR Buttons Failed to write programming button state to queue /progButton: Resource temporarily unavailable",
     "button full"},
    {"ERROR Buttons Failed to enqueue request for programming button pressed since boot", "request refused"},
    {"ERROR Main Lost connection to STM32, resetting and trying to reconnect.", "lost"},
    {"ERROR Main Failed to reconnect to STM32, aborting.", "given up"},
    {"WARN Nemt Refused a message of ", "refusals"},
    {"WARN Nemt Damaged frames dropped: ", "damage reports"},
    {"DEBUG ", "other"},
}};

// The first bytes of a frame, from the library's dump.
std::array<uint8_t, Frames::HeaderSize> Header(const std::string& dump)
{
    std::array<uint8_t, Frames::HeaderSize> header{};
    const char* position = dump.c_str();
    for (uint8_t& byte : header)
    {
        char* end = nullptr;
        byte = static_cast<uint8_t>(std::strtoul(position, &end, 16));
        position = end;
    }
    return header;
}

} // namespace

const char* Ledger::Properties()
{
    return "log4cplus.rootLogger=DEBUG,A\n"
           "log4cplus.appender.A=log4cplus::ConsoleAppender\n"
           "log4cplus.appender.A.layout=log4cplus::PatternLayout\n"
           "log4cplus.appender.A.layout.ConversionPattern=%t %p %c %m%n\n";
}

void Ledger::OnLine(const std::string& line)
{
    const std::size_t space = line.find(' ');
    const std::lock_guard lock(mutex);
    if (mainThreadName.empty())
    {
        mainThreadName = line.substr(0, space);
    }
    const bool mainThread = line.compare(0, space, mainThreadName) == 0;
    const std::string text = line.substr(space + 1);
    for (const Kind& kind : Kinds)
    {
        const std::string start = kind.start;
        if (text.compare(0, start.size(), start) == 0)
        {
            Enter(kind.name, text.substr(start.size()), mainThread);
            return;
        }
    }
    unexpected.push_back(line);
}

void Ledger::Enter(const std::string& kind, const std::string& rest, bool mainThread)
{
    static const std::map<std::string, Fate> FateOf{
        {"enqueued", Fate::Enqueued}, {"refused", Fate::Refused}, {"invalid", Fate::Invalid}, {"empty", Fate::Empty}};
    if (const auto fate = FateOf.find(kind); fate != FateOf.end())
    {
        fates.push_back(fate->second);
    }
    else if (kind == "on line")
    {
        sentOnLine.push_back(Frames::Number(Header(rest).data()));
    }
    else if (kind == "received")
    {
        const auto header = Header(rest);
        if (header[0] != Frames::FromLinkMark)
        {
            return; // part of a flood of what the daemon ignores
        }
        receivedFrame = Frames::Number(header.data());
    }
    else if (kind == "sent to user")
    {
        sentToUser.push_back(receivedFrame); // the same thread received it
    }
    else if (kind == "full" && mainThread)
    {
        ++counts["states full"];
        return;
    }
    else if (kind == "button changes")
    {
        buttonStates.push_back(rest == "pressed" ? 0 : 1);
    }
    else if (kind == "button full")
    {
        buttonStates.pop_back(); // the line before told of it
    }
    else if (kind == "pressed since boot")
    {
        buttonStates.insert(buttonStates.end(), 3, 0);
    }
    ++counts[kind];
}

long Ledger::Count(const std::string& kind) const
{
    const std::lock_guard lock(mutex);
    const auto found = counts.find(kind);
    return found == counts.end() ? 0 : found->second;
}

std::vector<Ledger::Fate> Ledger::Fates() const
{
    const std::lock_guard lock(mutex);
    return fates;
}

std::size_t Ledger::FateCount() const
{
    const std::lock_guard lock(mutex);
    return fates.size();
}

std::vector<uint32_t> Ledger::SentOnLine() const
{
    const std::lock_guard lock(mutex);
    return sentOnLine;
}

std::vector<uint32_t> Ledger::SentToUser() const
{
    const std::lock_guard lock(mutex);
    return sentToUser;
}

std::vector<uint8_t> Ledger::ButtonStates() const
{
    const std::lock_guard lock(mutex);
    return buttonStates;
}

std::vector<std::string> Ledger::Unexpected() const
{
    const std::lock_guard lock(mutex);
    return unexpected;
}
