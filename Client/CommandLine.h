#pragma once

#include "Command.h"

#include <iomanip>
#include <limits>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

namespace OrvelClient
{

/// Throws Failure (WrongOption).
[[noreturn]] void Reject(const std::string& why);

/// Nothing unless all of the text is one number.
template<typename Number>
std::optional<Number> ParseNumber(const std::string& text)
{
    const bool begins = !text.empty() && std::string("-.0123456789").find(text.front()) != std::string::npos;
    if (!begins || (text.front() == '-' && !std::is_signed_v<Number>))
    {
        return std::nullopt;
    }
    std::istringstream stream(text);
    Number number{};
    stream >> number;
    return !stream.fail() && stream.eof() ? std::optional(number) : std::nullopt;
}

/// What was given behind the name of a command.
class CommandLine
{
public:
    /// `argv` begins with the command's name. Throws Failure (WrongOption).
    CommandLine(const Command& command, int argc, const char* const* argv);

    /// The command's help if the line asks for it, otherwise empty.
    const std::string& Help() const
    {
        return help;
    }

    const std::vector<std::string>& Arguments() const
    {
        return arguments;
    }

    // By the long name of the option.

    bool Has(const char* option) const
    {
        return values.count(option) != 0;
    }

    std::string TextOr(const std::string& otherwise, const char* option) const
    {
        return Has(option) ? values.at(option).front() : otherwise;
    }

    std::vector<std::string> TextsOr(const std::vector<std::string>& otherwise, const char* option) const
    {
        return Has(option) ? values.at(option) : otherwise;
    }

    /// Throws Failure (WrongOption) unless the value is a number from `least` to `most`.
    template<typename Number>
    Number NumberOr(Number otherwise, const char* option, Number least, Number most) const
    {
        if (!Has(option))
        {
            return otherwise;
        }
        const std::string text = TextOr("", option);
        const auto number = ParseNumber<Number>(text);
        if (!number || !(*number >= least && *number <= most))
        {
            Reject(std::string("--") + option + " takes " + PlainNumber(least) + " to " + PlainNumber(most) +
                   ", not '" + text + "'");
        }
        return *number;
    }

private:
    template<typename Number>
    static std::string PlainNumber(Number number)
    {
        std::ostringstream stream;
        stream << std::setprecision(std::numeric_limits<Number>::digits10) << number;
        return stream.str();
    }

    std::string help;
    std::map<std::string, std::vector<std::string>> values; // by the option's long name; a flag has none
    std::vector<std::string> arguments;
};

} // namespace OrvelClient
