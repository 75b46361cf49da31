#include "Arguments/Parser.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

using Arguments::Parser;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;

namespace
{

// A program with one command, which has options of all kinds.
struct Program
{
    std::string printed;
    std::string group;
    std::vector<std::string> values;
    std::vector<std::string> each;
    std::vector<std::string> list;
    std::vector<std::string> order;
    std::string text = "usual";
    int number = 3;
    double rate = 1;
    char letter = 'a';
    bool flag = false;
    bool other = false;

    explicit Program(std::vector<const char*> arguments)
    {
        arguments.insert(arguments.begin(), "program");
        Parser parser("program", "COMMAND", "Has a command.");
        parser.Version("program 1\n");
        parser.Command("go", "[OPTION...] GROUP [VALUE...]", "Goes.", [this](Parser& command) { AddTo(command); });
        printed = parser.Parse(static_cast<int>(arguments.size()), arguments.data()).value_or("");
    }

private:
    void AddTo(Parser& parser)
    {
        parser.Option("GROUP", group);
        parser.Each("VALUE", [this](const std::string& value) { values.push_back(value); });
        parser.Option("--text", text,
                      "A text for the help with so many words that they are more than a line has room for.");
        parser.Number<int>("-n,--number", number, 0, 100, "A number.");
        parser.Number<double>("--rate", rate, 0.001, 100000, "Another one.");
        parser.Choice<char>("--letter", letter, {{"one", 'a'}, {"two", 'b'}, {"three", 'c'}}, "A letter.");
        parser.Each(
            "--each",
            [this](const std::string& value)
            {
                each.push_back(value);
                order.push_back(value);
            },
            "Texts.");
        parser.List(
            "--list",
            [this](const std::string& value)
            {
                if (value == "wrong")
                {
                    throw std::runtime_error("'wrong' is wrong");
                }
                list.push_back(value);
                order.push_back(value);
            },
            "Texts between commas.");
        parser.Divider(
            "--divider", [this] { order.emplace_back("|"); }, "Parts texts.");
        parser.Flag("--flag", flag, "A flag.");
        parser.Flag("--other", other, "Another one.");
        parser.Require("GROUP");
        parser.Exclude({"--flag", "--other", "--rate"});
        parser.Need("--each", "--list");
        parser.Check(
            [this]
            {
                if (number == 13)
                {
                    throw Arguments::Wrong("13 is not wanted");
                }
            });
    }
};

std::string Complaint(const std::vector<const char*>& arguments)
{
    try
    {
        const Program program(arguments);
        return "nothing";
    }
    catch (const Arguments::Wrong& wrong)
    {
        return wrong.what();
    }
}

TEST(Parser, KeepsVariablesThatTheCommandLineDoesNotName)
{
    const Program program({"go", "1/2/3"});
    EXPECT_EQ(program.group, "1/2/3");
    EXPECT_THAT(program.values, IsEmpty());
    EXPECT_EQ(program.text, "usual");
    EXPECT_EQ(program.number, 3);
    EXPECT_FALSE(program.flag);
}

TEST(Parser, TakesOptionsInAllTheirForms)
{
    const Program program({"go", "-n5", "--text=a b", "1/2/3", "--rate", ".5", "--letter", "two"});
    EXPECT_EQ(program.number, 5);
    EXPECT_EQ(program.text, "a b");
    EXPECT_EQ(program.rate, 0.5);
    EXPECT_EQ(program.letter, 'b');
    EXPECT_EQ(Program({"go", "--text=", "1/2/3"}).text, "");
    EXPECT_EQ(Program({"go", "--text", "--flag", "1/2/3"}).text, "--flag");
}

TEST(Parser, TakesNegativeNumbersAndSignsAsArguments)
{
    EXPECT_THAT(Program({"go", "1/2/3", "-5", "-.5", "-inf", "[1,2]", "++", "go", "-"}).values,
                ElementsAre("-5", "-.5", "-inf", "[1,2]", "++", "go", "-"));
    EXPECT_THAT(Program({"go", "--", "1/2/3", "--flag", "--"}).values, ElementsAre("--flag", "--"));
}

TEST(Parser, TakesTheLastOfAnOptionThatIsGivenTwice)
{
    EXPECT_EQ(Program({"go", "1/2/3", "-n", "4", "--number", "5"}).number, 5);
    EXPECT_TRUE(Program({"go", "1/2/3", "--flag", "--flag"}).flag);
}

TEST(Parser, TakesAllOfAList)
{
    const Program program({"go", "1/2/3", "--list", "a,b", "--each", "a,b", "--list=[c]", "--each", "-1"});
    EXPECT_THAT(program.list, ElementsAre("a", "b", "[c]"));
    EXPECT_THAT(program.each, ElementsAre("a,b", "-1"));
    EXPECT_THAT(Program({"go", "1/2/3", "--list", "a,"}).list, ElementsAre("a"));
    EXPECT_THAT(Program({"go", "1/2/3", "--list", ""}).list, ElementsAre(""));
}

TEST(Parser, TakesListsAndDividersInTheOrderOfTheCommandLine)
{
    EXPECT_THAT(
        Program({"go", "--list", "a,b", "--divider", "1/2/3", "--each", "c", "--list=d", "--divider", "--each=e"})
            .order,
        ElementsAre("a", "b", "|", "c", "d", "|", "e"));
    EXPECT_THAT(Program({"go", "1/2/3", "--divider", "--divider", "--list", "a"}).order, ElementsAre("|", "|", "a"));
}

TEST(Parser, TakesDecimalNumbersInTheirRange)
{
    EXPECT_EQ(Program({"go", "1/2/3", "-n", "010"}).number, 10);
    for (const char* const number : {"", "x", "1x", "0x10", "101", "-1", "99999999999999999999", " 1", "+1"})
    {
        EXPECT_EQ(Complaint({"go", "1/2/3", "--number", number}),
                  "--number takes 0 to 100, not '" + std::string(number) + "'");
    }
    for (const char* const rate : {"nan", "-nan", "inf", "-inf", "0", "1e6"})
    {
        EXPECT_EQ(Complaint({"go", "1/2/3", "--rate", rate}),
                  "--rate takes 0.001 to 100000, not '" + std::string(rate) + "'");
    }
}

TEST(Parser, SaysInOneLineWhatIsWrong)
{
    EXPECT_EQ(Complaint({"jump", "-n", "1"}), "'jump' is not understood");
    EXPECT_EQ(Complaint({"-5"}), "'-5' is not understood");
    EXPECT_EQ(Complaint({"go", "1/2/3", "--jump=high"}), "'--jump=high' is not understood");
    EXPECT_EQ(Complaint({"go", "1/2/3", "--="}), "'--=' is not understood");
    EXPECT_EQ(Complaint({"go", "1/2/3", "-="}), "'-=' is not understood");
    EXPECT_EQ(Complaint({"go"}), "GROUP is required");
    EXPECT_EQ(Complaint({"go", "--jump"}), "'--jump' is not understood");
    EXPECT_EQ(Complaint({"go", "1/2/3", "--number"}), "--number: 1 required value missing");
    EXPECT_EQ(Complaint({"go", "1/2/3", "--letter", "four"}), "--letter takes one, two or three, not 'four'");
    EXPECT_EQ(Complaint({"go", "1/2/3", "--list", "a,wrong"}), "--list: 'wrong' is wrong");
    EXPECT_EQ(Complaint({"go", "1/2/3", "--flag", "--rate", "2"}), "--rate excludes --flag");
    EXPECT_EQ(Complaint({"go", "1/2/3", "--each", "a"}), "--each requires --list");
    EXPECT_EQ(Complaint({"go", "1/2/3", "-n", "13"}), "13 is not wanted");
}

TEST(Parser, PrintsHelpAndVersionWhateverElseIsWrong)
{
    EXPECT_EQ(Program({"-v"}).printed, "program 1\n");
    EXPECT_EQ(Program({"--version", "--jump"}).printed, "program 1\n");
    EXPECT_EQ(Program({"go", "-n", "x", "-h"}).printed, Program({"go", "--help"}).printed);
    EXPECT_EQ(Program({"go", "--list", "wrong", "-h"}).printed, Program({"go", "--help"}).printed);
    EXPECT_EQ(Program({"go", "-h", "-n"}).printed, Program({"go", "--help"}).printed);
    EXPECT_EQ(Program({"--help"}).printed, "Has a command.\n"
                                           "\n"
                                           "Usage:\n"
                                           "  program COMMAND\n"
                                           "\n"
                                           "  -h, --help     Print this help message and exit.\n"
                                           "  -v, --version  Print version and revision and exit.\n");
}

TEST(Parser, WrapsTheHelpOfACommand)
{
    const std::string help = Program({"go", "--help"}).printed;
    EXPECT_THAT(help, HasSubstr("Usage:\n  program go [OPTION...] GROUP [VALUE...]\n\n  -h, --help        Print"));
    EXPECT_THAT(help, HasSubstr("\n      --text arg    A text for the help with so many words that they are more\n"
                                "                    than a line has room for.\n"
                                "  -n, --number arg  A number.\n"));
    EXPECT_THAT(help, EndsWith("\n      --other       Another one.\n"));
}

} // namespace
