#include "TelegramLog.h"

#include "Description.h"
#include "Failure.h"
#include "TimeStamp.h"

#include <pugixml.hpp>

#include <algorithm>
#include <array>

namespace OrvelClient
{

namespace
{

constexpr const char* Root = "CommunicationLog";
constexpr const char* Format = "CommonEmi";
constexpr std::size_t MaxTag = 65536; // bytes
constexpr std::string_view ByteOrderMark = "\xEF\xBB\xBF";

// What is no element, and may have brackets and single quotes in it.
struct Other
{
    std::string_view begin;
    std::string_view end;
};
constexpr std::array<Other, 3> Others{{{"<!--", "-->"}, {"<![CDATA[", "]]>"}, {"<?", "?>"}}};

// "<Telegram Service=...>": "Telegram"; "</Telegram>": "/Telegram"
std::string NameIn(std::string_view tag)
{
    const std::size_t end = tag.find_first_of(" \t\r\n/>", 2);
    return std::string(tag.substr(1, end - 1));
}

std::string Shown(const std::string& text)
{
    constexpr std::size_t most = 40;
    std::string shown = text.substr(0, most);
    std::replace_if(
        shown.begin(), shown.end(), [](char character) { return character < ' ' || character > '~'; }, '?');
    return "'" + shown + "'";
}

} // namespace

std::string TelegramLogHeader(std::chrono::microseconds time)
{
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
           "<CommunicationLog xmlns=\"http://knx.org/xml/telegrams/01\">\n"
           "  <RecordStart Timestamp=\"" +
           UtcText(time) + "\"/>\n";
}

std::string TelegramLogEntry(const Message& message)
{
    std::string digits = Knx::ToHex(message.frame, "");
    std::transform(digits.begin(), digits.end(), digits.begin(),
                   [](char digit) { return digit >= 'a' ? static_cast<char>(digit - 'a' + 'A') : digit; });
    return "  <Telegram Timestamp=\"" + UtcText(message.time) + "\" Service=\"" + KindOf(message) +
           R"(" FrameFormat="CommonEmi" RawData=")" + digits + "\"/>\n";
}

std::string TelegramLogEnd(std::chrono::microseconds time)
{
    return "  <RecordStop Timestamp=\"" + UtcText(time) + "\"/>\n</CommunicationLog>\n";
}

bool IsXml(std::string_view begin)
{
    if (begin.substr(0, ByteOrderMark.size()) == ByteOrderMark)
    {
        begin.remove_prefix(ByteOrderMark.size());
    }
    return begin.substr(0, 1) == "<";
}

bool TelegramLogReader::Next(Message& message)
{
    for (std::string tag; NextTag(tag);)
    {
        const std::string name = NameIn(tag);
        if (!hasRoot && name != Root)
        {
            throw Failure(Status::NotUnderstood, "is XML, but no " + std::string(Root));
        }
        hasRoot = true;
        if (name == "/" + std::string(Root))
        {
            return false;
        }
        if (name == "Telegram")
        {
            message = Parse(std::move(tag));
            return true;
        }
    }
    if (!hasRoot)
    {
        throw Failure(Status::NotUnderstood, "is XML, but no " + std::string(Root));
    }
    return EndWith("is cut off in line " + std::to_string(line) + "; used is what comes before it");
}

// The next tag of an element, with its brackets; false when the file ends before.
bool TelegramLogReader::NextTag(std::string& tag)
{
    while (SkipTo("<", nullptr))
    {
        const std::string begin = "<" + std::string(source.Ahead(8).substr(0, 8));
        const auto* const other =
            std::find_if(Others.begin(), Others.end(),
                         [&begin](const Other& one) { return begin.compare(0, one.begin.size(), one.begin) == 0; });
        if (other != Others.end())
        {
            if (!SkipTo(other->end, nullptr))
            {
                return false;
            }
            continue;
        }
        tag = "<";
        char quote = '\0'; // the one that is open: a bracket may stand between quotes
        do
        {
            const std::size_t looked = tag.size();
            if (!SkipTo(">", &tag))
            {
                return false;
            }
            for (const char character : std::string_view(tag).substr(looked))
            {
                if (quote == '\0' && (character == '"' || character == '\''))
                {
                    quote = character;
                }
                else if (character == quote)
                {
                    quote = '\0';
                }
            }
        } while (quote != '\0');
        if (tag[1] != '!')
        {
            return true;
        }
    }
    return false;
}

// Takes everything up to `end` and this; false when the file ends before.
bool TelegramLogReader::SkipTo(std::string_view end, std::string* skipped)
{
    for (std::string_view ahead = source.Ahead(end.size()); ahead.size() >= end.size();
         ahead = source.Ahead(end.size()))
    {
        const std::size_t found = ahead.find(end);
        const std::size_t size = found == std::string_view::npos ? ahead.size() - end.size() + 1 : found + end.size();
        line += static_cast<std::size_t>(
            std::count(ahead.begin(), ahead.begin() + static_cast<std::ptrdiff_t>(size), '\n'));
        if (skipped != nullptr)
        {
            *skipped += ahead.substr(0, size);
            if (skipped->size() > MaxTag)
            {
                throw Failure(Status::NotUnderstood, "line " + std::to_string(line) + ": has a tag that does not end");
            }
        }
        source.Skip(size);
        if (found != std::string_view::npos)
        {
            return true;
        }
    }
    return false;
}

Message TelegramLogReader::Parse(std::string tag) const
{
    const auto reject = [this](const std::string& why)
    { throw Failure(Status::NotUnderstood, "line " + std::to_string(line) + ": " + why); };
    if (tag[tag.size() - 2] != '/')
    {
        tag.insert(tag.size() - 1, "/"); // its content is not looked at
    }
    pugi::xml_document document;
    if (const auto result = document.load_buffer(tag.data(), tag.size(), pugi::parse_default, pugi::encoding_utf8);
        !result)
    {
        reject(result.description());
    }
    const pugi::xml_node telegram = document.first_child();
    if (const std::string format = telegram.attribute("FrameFormat").as_string(); format != Format)
    {
        reject("has a frame in the format " + Shown(format) + ", not " + Format);
    }
    const std::string timeText = telegram.attribute("Timestamp").as_string();
    const auto time = TimeOfUtc(timeText);
    if (!time)
    {
        reject("has no time in " + Shown(timeText));
    }
    Message message;
    message.time = *time;
    try
    {
        message.frame = FrameFromText(telegram.attribute("RawData").as_string());
    }
    catch (const Failure& failure)
    {
        reject("has a frame in which " + std::string(failure.what()));
    }
    message.direction = UsualDirection(message.frame);
    return message;
}

} // namespace OrvelClient
