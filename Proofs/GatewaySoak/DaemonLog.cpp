#include "DaemonLog.h"

#include <cstdlib>
#include <utility>

namespace
{

// The rest of the line, if it begins so.
bool Begins(const std::string& line, const char* start, std::string& rest)
{
    const std::size_t length = std::char_traits<char>::length(start);
    if (line.compare(0, length, start) != 0)
    {
        return false;
    }
    rest = line.substr(length);
    return true;
}

// The library's dump: numbers of one or two digits, a blank before each.
Knx::Bytes BytesIn(const std::string& dump)
{
    Knx::Bytes bytes;
    const char* position = dump.c_str();
    for (char* end = nullptr; *position != '\0'; position = end)
    {
        bytes.push_back(static_cast<uint8_t>(std::strtoul(position, &end, 16)));
        if (end == position)
        {
            return {};
        }
    }
    return bytes;
}

} // namespace

const char* DaemonLog::Properties()
{
    return "log4cplus.rootLogger=WARN,A\n"
           "log4cplus.logger.Cemi=DEBUG\n"
           "log4cplus.logger.Nemt=DEBUG\n"
           "log4cplus.appender.A=log4cplus::ConsoleAppender\n"
           "log4cplus.appender.A.layout=log4cplus::PatternLayout\n"
           "log4cplus.appender.A.layout.ConversionPattern=%t %p %c %m%n\n";
}

void DaemonLog::OnLine(const std::string& line)
{
    const std::size_t space = line.find(' ');
    if (space == std::string::npos)
    {
        return;
    }
    const std::string thread = line.substr(0, space);
    const std::string text = line.substr(space + 1);
    std::string rest;
    const std::lock_guard lock(mutex);
    const bool isReceiver = isOpen && thread == receiver;
    if (Begins(text, "DEBUG Nemt Received on topic 256:", rest))
    {
        receiver = thread;
        last = {Messages::OnLine(BytesIn(rest)), true};
        isOpen = true;
    }
    else if (Begins(text, "DEBUG Cemi Sended cemi message with size ", rest))
    {
        if (isReceiver) // otherwise it is the state of the link
        {
            frames.push_back(last);
            isOpen = false;
        }
    }
    else if (Begins(text, "ERROR Cemi Failed to send cemi message from LL to user message queue", rest))
    {
        isOpen = isOpen && !isReceiver;
        ++counts.full;
    }
    else if (Begins(text, "ERROR Cemi Failed to enqueue cemi message", rest))
    {
        ++counts.refused;
    }
    else if (Begins(text, "ERROR Cemi Received invalid cemi message", rest) ||
             Begins(text, "ERROR Cemi Failed to read from queue", rest))
    {
        ++counts.invalid;
    }
    else if (Begins(text, "DEBUG Nemt Topic listener registered", rest))
    {
        ++counts.listeners;
    }
}

void DaemonLog::OnEnd()
{
    const std::lock_guard lock(mutex);
    if (isOpen)
    {
        last.isSure = false;
        frames.push_back(last);
        isOpen = false;
    }
}

std::vector<DaemonLog::Entry> DaemonLog::TakeFrames()
{
    const std::lock_guard lock(mutex);
    return std::exchange(frames, {});
}

DaemonLog::Counts DaemonLog::Count() const
{
    const std::lock_guard lock(mutex);
    return counts;
}
