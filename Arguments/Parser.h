#pragma once

#include <charconv>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace CLI
{
class App;
}

namespace Arguments
{

/// What is wrong with a command line, in one line for the person. A function that takes a value throws what follows the
/// option's name: "takes 1 to 5, not '6'".
class Wrong : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Takes the options and the arguments of a program, or of one of its commands, into variables. A variable keeps its value
/// unless the command line has its option. If an option is given twice, the last one counts, unless each does.
///
/// Only its source includes the library: compiling that takes seconds.
class Parser
{
public:
    using Take = std::function<void(const std::string& value)>;

    /// For the help: the program's name, what follows it, and what it does.
    Parser(const std::string& name, const std::string& usage, const std::string& description);

    Parser(const Parser&) = delete;
    Parser& operator=(const Parser&) = delete;

    // `names` is "--wait", or "-n,--number" where an option has a letter too, or "FILE" for an argument, which is taken in the
    // order of the definitions. `text` is for the help, which lists options only. `take` may throw Wrong, or something else that
    // says what is wrong in a sentence of its own.

    void Flag(const std::string& names, const std::function<void()>& onFlag, const std::string& text);
    void Flag(const std::string& names, bool& given, const std::string& text);
    void Option(const std::string& names, const Take& take, const std::string& text = "");

    /// A text, as the variable takes it.
    template<typename Variable>
    void Option(const std::string& names, Variable& variable, const std::string& text = "");

    // The next three are taken after all others, in the order of the command line.

    /// Each of them counts. As an argument: each that is left.
    void Each(const std::string& names, const Take& take, const std::string& text = "");

    /// Each of them counts, and each may have several values between commas.
    void List(const std::string& names, const Take& take, const std::string& text);

    /// A flag that parts what is before it from what is behind it. Each of them counts.
    void Divider(const std::string& names, const std::function<void()>& onDivider, const std::string& text);

    /// A decimal number.
    template<typename Value, typename Variable>
    void Number(const std::string& names, Variable& variable, Value least, Value most, const std::string& text);

    /// One of these words.
    template<typename Value>
    void Choice(const std::string& names, Value& value, const std::vector<std::pair<std::string, Value>>& choices,
                const std::string& text);

    // Rules for those that are there.

    void Require(const std::string& name);
    void Need(const std::string& name, const std::string& needed);
    void Exclude(const std::vector<std::string>& names); ///< at most one of them

    /// A rule of another kind, which throws Wrong. It is called when all values are taken.
    void Check(const std::function<void()>& check);

    /// For such a rule.
    bool Has(const std::string& name) const;

    /// A command, which is the first argument. Its options are defined once it is there.
    void Command(const std::string& name, const std::string& usage, const std::string& description,
                 const std::function<void(Parser& command)>& define);

    /// -v and --version.
    void Version(const std::string& text);

    /// Takes the command line. Gives the text that it asks for instead: the help or the version. Throws Wrong.
    std::optional<std::string> Parse(int argc, const char* const* argv);

private:
    Parser(CLI::App& command, const std::string& usage);
    void Begin(const std::string& usage);
    void Print(const std::string& names, const std::function<std::string()>& text, const std::string& help);

    std::shared_ptr<CLI::App> program; // null for a command
    CLI::App& app;
    bool hasCommands = false;
    std::vector<std::function<void()>> inOrder; // of the command line
    std::vector<std::function<void()>> checks;
};

/// The number of which all of the text consists, in decimal digits.
template<typename Number>
std::optional<Number> ParseNumber(const std::string& text)
{
    Number number{};
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, number);
    return result.ec == std::errc() && result.ptr == end ? std::optional(number) : std::nullopt;
}

/// The number in the text. Throws Wrong for another one, which also names what can be given `instead`, such as ", or max".
template<typename Number>
Number NumberIn(const std::string& text, Number least, Number most, const std::string& instead = "")
{
    const auto number = ParseNumber<Number>(text);
    if (!number || !(*number >= least && *number <= most)) // not a number is in no range
    {
        std::ostringstream range;
        range.precision(std::numeric_limits<Number>::digits10);
        range << "takes " << least << " to " << most << instead << ", not '" << text << "'";
        throw Wrong(range.str());
    }
    return *number;
}

/// "a, b or c"
std::string OneOf(const std::vector<std::string>& words);

template<typename Variable>
void Parser::Option(const std::string& names, Variable& variable, const std::string& text)
{
    Option(
        names, [&variable](const std::string& value) { variable = value; }, text);
}

template<typename Value, typename Variable>
void Parser::Number(const std::string& names, Variable& variable, Value least, Value most, const std::string& text)
{
    Option(
        names, [&variable, least, most](const std::string& value) { variable = NumberIn(value, least, most); }, text);
}

template<typename Value>
void Parser::Choice(const std::string& names, Value& value, const std::vector<std::pair<std::string, Value>>& choices,
                    const std::string& text)
{
    Option(
        names,
        [&value, choices](const std::string& chosen)
        {
            std::vector<std::string> words;
            for (const auto& [word, meaning] : choices)
            {
                if (word == chosen)
                {
                    value = meaning;
                    return;
                }
                words.push_back(word);
            }
            throw Wrong("takes " + OneOf(words) + ", not '" + chosen + "'");
        },
        text);
}

} // namespace Arguments
