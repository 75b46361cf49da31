#include "Arguments/Parser.h"

#include <CLI/CLI.hpp>

#include <algorithm>

namespace Arguments
{

namespace
{

constexpr std::size_t Width = 80; // columns of the help

// Stands before what is no option. The library would take -.5 for options, [1,2] for a list and ++ for a sign of its own.
constexpr char Mark = '\x01';

// No option begins with a digit.
bool IsNegativeNumber(const std::string& argument)
{
    return argument.find_first_of(".0123456789") == 1 || CLI::detail::to_lower(argument) == "-inf";
}

bool IsOption(const std::string& argument)
{
    return argument.size() > 1 && argument.front() == '-' && !IsNegativeNumber(argument);
}

// In the order in which the library wants them: the last one first.
std::vector<std::string> Marked(int argc, const char* const* argv, bool beginsWithCommand)
{
    std::vector<std::string> marked;
    bool isBehindOptions = false;
    for (int index = 1; index < argc; ++index)
    {
        const std::string argument = argv[index];
        if (argument == "--" && !isBehindOptions)
        {
            isBehindOptions = true;
        }
        else if (isBehindOptions || !IsOption(argument))
        {
            marked.push_back(beginsWithCommand && index == 1 ? argument : Mark + argument);
        }
        else if (argument[1] == '-' && argument.find('=', 3) == argument.size() - 1)
        {
            // "--names=" has an empty value, for which the library would take the next argument.
            marked.insert(marked.end(), {argument.substr(0, argument.size() - 1), std::string(1, Mark)});
        }
        else
        {
            marked.push_back(argument);
        }
    }
    std::reverse(marked.begin(), marked.end());
    return marked;
}

std::string Unmarked(const std::string& argument)
{
    return argument.substr(argument.rfind(Mark, 0) == 0 ? 1 : 0);
}

// Breaks long lines at blanks. What follows a break begins at `column`, as the text does.
std::string Wrapped(const std::string& text, std::size_t column)
{
    std::string wrapped;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
    {
        while (line.size() > Width - column && line.rfind(' ', Width - column) != std::string::npos)
        {
            const std::size_t blank = line.rfind(' ', Width - column);
            wrapped += line.substr(0, blank) + "\n" + std::string(column, ' ');
            line.erase(0, blank + 1);
        }
        wrapped += line + "\n";
    }
    return wrapped;
}

std::string Help(const CLI::App& app, const std::string& usage)
{
    std::vector<std::pair<std::string, std::string>> rows;
    std::size_t column = 0;
    for (const CLI::Option* const option : app.get_options())
    {
        if (option->nonpositional())
        {
            const auto& letters = option->get_snames();
            rows.emplace_back((letters.empty() ? "      " : "  -" + letters.front() + ", ") + option->get_name() +
                                  (option->get_items_expected_max() == 0 ? "  " : " arg  "),
                              option->get_description());
            column = std::max(column, rows.back().first.size());
        }
    }
    const std::string program = app.get_parent() == nullptr ? "" : app.get_parent()->get_name() + " ";
    std::string help =
        Wrapped(app.get_description(), 0) + "\nUsage:\n  " + program + app.get_name() + " " + usage + "\n\n";
    for (auto& [names, text] : rows)
    {
        names.resize(column, ' ');
        help += names + Wrapped(text, column);
    }
    return help;
}

CLI::callback_t TakeAll(const std::string& names, const Parser::Take& take)
{
    return [name = names.substr(names.find(',') + 1), take](const CLI::results_t& values)
    {
        try
        {
            std::for_each(values.begin(), values.end(), [&take](const std::string& value) { take(Unmarked(value)); });
        }
        catch (const Wrong& wrong)
        {
            throw Wrong(name + " " + wrong.what());
        }
        catch (const std::exception& problem)
        {
            throw Wrong(name + ": " + problem.what());
        }
        return true;
    };
}

} // namespace

Parser::Parser(const std::string& name, const std::string& usage, const std::string& description)
    : program(std::make_shared<CLI::App>(description, name))
    , app(*program)
{
    app.set_help_flag();
    app.require_subcommand(0, 1);
    Begin(usage);
}

Parser::Parser(CLI::App& command, const std::string& usage)
    : app(command)
{
    Begin(usage);
}

void Parser::Begin(const std::string& usage)
{
    Print(
        "-h,--help", [this, usage] { return Help(app, usage); }, "Print this help message and exit.");
    app.callback(
        [this]
        {
            std::for_each(inOrder.begin(), inOrder.end(), [](const auto& take) { take(); });
            std::for_each(checks.begin(), checks.end(), [](const auto& check) { check(); });
        });
}

// At once, whatever else is wrong.
void Parser::Print(const std::string& names, const std::function<std::string()>& text, const std::string& help)
{
    app.add_flag_callback(
           names, [text] { throw CLI::Success(text(), CLI::ExitCodes::Success); }, help)
        ->trigger_on_parse();
}

void Parser::Version(const std::string& text)
{
    Print(
        "-v,--version", [text] { return text; }, "Print version and revision and exit.");
}

void Parser::Flag(const std::string& names, const std::function<void()>& onFlag, const std::string& text)
{
    app.add_flag_callback(names, onFlag, text);
}

void Parser::Flag(const std::string& names, bool& given, const std::string& text)
{
    Flag(
        names, [&given] { given = true; }, text);
}

void Parser::Option(const std::string& names, const Take& take, const std::string& text)
{
    app.add_option(names, TakeAll(names, take), text)
        ->type_name("value")
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
}

void Parser::Each(const std::string& names, const Take& take, const std::string& text)
{
    const auto takeLater = [this, takeAll = TakeAll(names, take)](const CLI::results_t& values)
    {
        inOrder.emplace_back([takeAll, values] { takeAll(values); });
        return true;
    };
    CLI::Option& option = *app.add_option(names, takeLater, text)
                               ->type_name("value")
                               ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    option.expected(option.get_positional() ? -1 : 1)->trigger_on_parse(!option.get_positional());
}

void Parser::List(const std::string& names, const Take& take, const std::string& text)
{
    Each(
        names,
        [take](const std::string& values)
        {
            std::istringstream list(values);
            std::string value;
            do
            {
                std::getline(list, value, ',');
                take(value);
            } while (list.peek() != EOF);
        },
        text);
}

void Parser::Divider(const std::string& names, const std::function<void()>& onDivider, const std::string& text)
{
    app.add_flag_callback(
           names, [this, onDivider] { inOrder.push_back(onDivider); }, text)
        ->trigger_on_parse();
}

void Parser::Require(const std::string& name)
{
    app.get_option(name)->required();
}

void Parser::Need(const std::string& name, const std::string& needed)
{
    app.get_option(name)->needs(app.get_option(needed));
}

void Parser::Exclude(const std::vector<std::string>& names)
{
    for (auto one = names.begin(); one != names.end(); ++one)
    {
        std::for_each(names.begin(), one,
                      [&](const std::string& other) { app.get_option(*one)->excludes(app.get_option(other)); });
    }
}

void Parser::Check(const std::function<void()>& check)
{
    checks.push_back(check);
}

bool Parser::Has(const std::string& name) const
{
    return app.get_option(name)->count() != 0;
}

void Parser::Command(const std::string& name, const std::string& usage, const std::string& description,
                     const std::function<void(Parser& command)>& define)
{
    hasCommands = true;
    CLI::App& command = *app.add_subcommand(name, description);
    const std::shared_ptr<Parser> parser(new Parser(command, usage));
    command.preparse_callback([parser, define](std::size_t /*arguments*/) { define(*parser); });
}

std::optional<std::string> Parser::Parse(int argc, const char* const* argv)
{
    try
    {
        app.parse(Marked(argc, argv, hasCommands));
        return std::nullopt;
    }
    catch (const CLI::Success& text)
    {
        return text.what();
    }
    catch (const CLI::ParseError& wrong)
    {
        const std::vector<std::string> rest = app.remaining(true);
        throw Wrong(rest.empty() ? wrong.what() : "'" + Unmarked(rest.front()) + "' is not understood");
    }
}

std::string OneOf(const std::vector<std::string>& words)
{
    std::string text;
    for (std::size_t index = 0; index < words.size(); ++index)
    {
        text += (index == 0 ? "" : index + 1 < words.size() ? ", " : " or ") + words[index];
    }
    return text;
}

} // namespace Arguments
