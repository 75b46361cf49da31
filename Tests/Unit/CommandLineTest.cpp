#include "CommandLine.h"

#include "BenchKit/ResourceLimit.h"
#include "ComponentTest.h"
#include "Output.h"
#include "Revision.h"

#include <cctype>
#include <initializer_list>
#include <map>
#include <sstream>
#include <stdexcept>

namespace
{

using namespace UnitTests;

using LedNames = std::map<int, std::string>;

const LedNames DefaultLedNames{{0, "prg1"}, {1, "prg2"}, {2, "system"}, {3, "knx"}, {4, "rs485termination"}};

// No option of the daemon has such a value: a failure with it is none of the parser's own exceptions.
struct Unreadable
{
};

std::istream& operator>>(std::istream& /*stream*/, Unreadable& /*value*/)
{
    throw std::runtime_error("not the parser's");
}

// The parser makes the layout of the help: line breaks and indentation do not matter here.
std::string OnOneLine(const std::string& text)
{
    std::istringstream words(text);
    std::string line;
    for (std::string word; words >> word;)
    {
        line += (line.empty() ? "" : " ") + word;
    }
    return line;
}

class CommandLine : public ComponentTest
{
protected:
    bool Parse(std::initializer_list<const char*> arguments)
    {
        return commandLine.Parse(static_cast<int>(arguments.size()), arguments.begin());
    }

    // The text with which the parser itself rejects the arguments.
    static std::string Rejection(std::initializer_list<const char*> arguments)
    {
        OrvelDriver::CommandLine fresh;
        try
        {
            fresh.options.parse(static_cast<int>(arguments.size()), arguments.begin());
        }
        catch (const cxxopts::exceptions::exception& rejected)
        {
            return rejected.what();
        }
        return "not rejected";
    }

    void ExpectRejected(std::initializer_list<const char*> arguments)
    {
        testing::internal::CaptureStderr();
        {
            const Output output;
            EXPECT_FALSE(Parse(arguments));
            EXPECT_NE(Rejection(arguments), "not rejected");
            EXPECT_EQ(output.Flushed(), Rejection(arguments) + "\n");
        }
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    }

    void ExpectAccepted(std::initializer_list<const char*> arguments)
    {
        const Output output;
        EXPECT_TRUE(Parse(arguments));
        EXPECT_EQ(output.str(), "");
    }

    void ExpectDefaults() const
    {
        EXPECT_FALSE(commandLine.help);
        EXPECT_FALSE(commandLine.version);
        EXPECT_EQ(commandLine.device, "/dev/ttymxc2");
        EXPECT_EQ(commandLine.logConfigFile, "");
        EXPECT_EQ(commandLine.ledNames, DefaultLedNames);
        EXPECT_EQ(commandLine.progButtonQueues, Texts{"/progButton"});
        EXPECT_EQ(commandLine.resetGpio, 3);
        EXPECT_FALSE(commandLine.enableRs485);
    }

    OrvelDriver::CommandLine commandLine;
};

TEST_F(CommandLine, HasItsDefaultsBeforeItIsParsed)
{
    ExpectDefaults();
}

TEST_F(CommandLine, KeepsItsDefaultsWithoutArguments)
{
    ExpectAccepted({"orvel"});
    ExpectDefaults();
}

TEST_F(CommandLine, TakesOverEveryLongOption)
{
    ExpectAccepted({"orvel",
                    "--help",
                    "--version",
                    "--log_config_file",
                    "/etc/log.properties",
                    "--device",
                    "/dev/ttyUSB7",
                    "--enable_rs485",
                    "--led_knx_red_name",
                    "red",
                    "--led_knx_yellow_name",
                    "yellow",
                    "--led_green_name",
                    "green",
                    "--led_orange_name",
                    "orange",
                    "--prog_button_message_queue",
                    "/button",
                    "--led_rs485_termination_name",
                    "termination",
                    "--reset_gpio",
                    "42"});
    EXPECT_TRUE(commandLine.help);
    EXPECT_TRUE(commandLine.version);
    EXPECT_EQ(commandLine.logConfigFile, "/etc/log.properties");
    EXPECT_TRUE(commandLine.enableRs485);
    EXPECT_EQ(commandLine.ledNames,
              (LedNames{{0, "red"}, {1, "yellow"}, {2, "green"}, {3, "orange"}, {4, "termination"}}));
    EXPECT_EQ(commandLine.progButtonQueues, Texts{"/button"});
    EXPECT_EQ(commandLine.resetGpio, 42);
}

TEST_F(CommandLine, TakesOverEveryShortOption)
{
    ExpectAccepted({"orvel",
                    "-h",
                    "-v",
                    "-l",
                    "/etc/log.properties",
                    "-d",
                    "/dev/ttyUSB7",
                    "-e",
                    "-r",
                    "red",
                    "-y",
                    "yellow",
                    "-g",
                    "green",
                    "-o",
                    "orange",
                    "-p",
                    "/button",
                    "-s",
                    "termination",
                    "-n",
                    "42"});
    EXPECT_TRUE(commandLine.help);
    EXPECT_TRUE(commandLine.version);
    EXPECT_EQ(commandLine.logConfigFile, "/etc/log.properties");
    EXPECT_TRUE(commandLine.enableRs485);
    EXPECT_EQ(commandLine.ledNames,
              (LedNames{{0, "red"}, {1, "yellow"}, {2, "green"}, {3, "orange"}, {4, "termination"}}));
    EXPECT_EQ(commandLine.progButtonQueues, Texts{"/button"});
    EXPECT_EQ(commandLine.resetGpio, 42);
}

TEST_F(CommandLine, ReplacesOnlyTheNamesThatAreGiven)
{
    ExpectAccepted({"orvel", "--led_green_name", "power"});
    LedNames expected = DefaultLedNames;
    expected[2] = "power";
    EXPECT_EQ(commandLine.ledNames, expected);
}

TEST_F(CommandLine, TakesOverAnEmptyName)
{
    ExpectAccepted({"orvel", "--led_green_name="});
    EXPECT_EQ(commandLine.ledNames[2], "");
}

TEST_F(CommandLine, CountsASwitchByItsPresenceWhateverItsValue)
{
    ExpectAccepted({"orvel", "--help=false", "--version=false", "--enable_rs485=false"});
    EXPECT_TRUE(commandLine.help);
    EXPECT_TRUE(commandLine.version);
    EXPECT_TRUE(commandLine.enableRs485);
}

TEST_F(CommandLine, ReplacesTheDefaultQueueByAllGivenOnes)
{
    ExpectAccepted({"orvel", "-p", "/first", "--prog_button_message_queue", "/second"});
    EXPECT_EQ(commandLine.progButtonQueues, (Texts{"/first", "/second"}));
}

TEST_F(CommandLine, AcceptsADeviceWithoutEffect)
{
    ExpectAccepted({"orvel", "--device", "/dev/ttyUSB7"});
    ExpectDefaults();
}

TEST_F(CommandLine, AcceptsWhatIsNoOptionWithoutEffect)
{
    ExpectAccepted({"orvel", "stray", "-", "another", "--", "--enable_rs485", "-h"});
    ExpectDefaults();
}

TEST_F(CommandLine, TakesOverOptionsBetweenWhatIsNone)
{
    ExpectAccepted({"orvel", "stray", "--led_green_name", "power", "another", "-e", "third"});
    EXPECT_EQ(commandLine.ledNames[2], "power");
    EXPECT_TRUE(commandLine.enableRs485);
}

TEST_F(CommandLine, AcceptsANegativeGpio)
{
    ExpectAccepted({"orvel", "--reset_gpio=-1"});
    EXPECT_EQ(commandLine.resetGpio, -1);
}

TEST_F(CommandLine, RejectsAnUnknownOptionWithTheParsersLine)
{
    ExpectRejected({"orvel", "--no_such_option"});
}

TEST_F(CommandLine, RejectsAGpioThatIsNotANumberWithTheParsersLine)
{
    ExpectRejected({"orvel", "--reset_gpio", "three"});
}

TEST_F(CommandLine, RejectsAMissingArgumentWithTheParsersLine)
{
    ExpectRejected({"orvel", "--log_config_file"});
}

TEST_F(CommandLine, RejectsABadlyFormedOptionWithTheParsersLine)
{
    ExpectRejected({"orvel", "--="});
}

TEST_F(CommandLine, RejectsASwitchWithAValueThatIsNoTruthValue)
{
    ExpectRejected({"orvel", "--help=perhaps"});
}

TEST_F(CommandLine, TakesArgumentsOf16384Bytes)
{
    // The frames of a sanitizer's build are larger than those of the daemon.
    const ResourceLimit moreStack(RLIMIT_STACK, rlim_t{64} << 20U);
    const std::string option = "--led_green_name=";
    const std::string name(16384 - option.size(), 'x');
    const std::string grouped = "-o" + std::string(16382, 'y');
    ExpectAccepted({"orvel", (option + name).c_str(), grouped.c_str()});
    EXPECT_EQ(commandLine.ledNames[2], name);
    EXPECT_EQ(commandLine.ledNames[3], grouped.substr(2));
}

TEST_F(CommandLine, DoesNotLookAtTheLengthOfItsOwnName)
{
    const std::string program(16385, 'o');
    ExpectAccepted({program.c_str(), "-e"});
    EXPECT_TRUE(commandLine.enableRs485);
}

TEST_F(CommandLine, KeepsASwitchThatIsOnWhenTheOptionDoesNotOccur)
{
    commandLine.help = true;
    commandLine.version = true;
    commandLine.enableRs485 = true;
    ExpectAccepted({"orvel"});
    EXPECT_TRUE(commandLine.help);
    EXPECT_TRUE(commandLine.version);
    EXPECT_TRUE(commandLine.enableRs485);
}

// The kernel passes on up to 128 KiB, for which the parser would need more stack than there is.
TEST_F(CommandLine, RejectsALongerArgumentWithALineOfItsOwn)
{
    constexpr std::size_t Largest = 128 * 1024 - 1;
    for (const char* const option : {"--led_green_name=", "--", "-o", "-", "", "--reset_gpio="})
    {
        for (const std::size_t size : {std::size_t{16385}, Largest})
        {
            std::string argument = option;
            argument.resize(size, 'a');
            const Output output;
            EXPECT_FALSE(Parse({"orvel", "-e", argument.c_str()}));
            EXPECT_EQ(output.Flushed(), "Argument of more than 16384 bytes\n");
        }
    }
    ExpectDefaults();
}

TEST_F(CommandLine, RejectsALongerArgumentThatIsTheOnlyOne)
{
    const std::string argument(16385, 'a');
    const Output output;
    EXPECT_FALSE(Parse({"orvel", argument.c_str()}));
    EXPECT_EQ(output.Flushed(), "Argument of more than 16384 bytes\n");
}

TEST_F(CommandLine, KeepsItsDefaultsWhenItRejects)
{
    ExpectRejected({"orvel", "-h", "-e", "--led_green_name", "power", "--no_such_option"});
    ExpectDefaults();
}

TEST_F(CommandLine, LetsExceptionsPassThatAreNotTheParsers)
{
    commandLine.options.add_options()("unreadable", "", cxxopts::value<Unreadable>());
    EXPECT_THROW(Parse({"orvel", "--unreadable=x"}), std::runtime_error);
}

TEST_F(CommandLine, PrintsAndFlushesTheHelp)
{
    const Output output;
    commandLine.PrintHelp();
    EXPECT_EQ(output.Flushed(), commandLine.options.help() + "\n");
}

TEST_F(CommandLine, DescribesEveryOptionInTheHelp)
{
    const Output output;
    commandLine.PrintHelp();
    EXPECT_EQ(
        OnOneLine(output.Flushed()),
        "ORVEL userspace driver Usage: orvel [OPTION...] "
        "-h, --help Print this help message and exit. "
        "-v, --version Print version information. "
        "-l, --log_config_file arg Specify the log configuration file. "
        "-d, --device arg Use this device for serial communication, default is: /dev/ttymxc2 "
        "-e, --enable_rs485 Enable control of RS485 termination via led. "
        "-r, --led_knx_red_name arg Name for virtual device for red KNX led, default is: prg1 "
        "-y, --led_knx_yellow_name arg Name for virtual device for yellow KNX led, default is: prg2 "
        "-g, --led_green_name arg Name for virtual device for green device led (top), default is: system "
        "-o, --led_orange_name arg Name for virtual device for orange device led (bottom), default is: knx "
        "-p, --prog_button_message_queue arg One or multiple message queues on which programming button events shall "
        "be provided, repeat for multiple, default is: /progButton "
        "-s, --led_rs485_termination_name arg Name for virtual device that represents the RS485 termination setting, "
        "default is: rs485termination "
        "-n, --reset_gpio arg ber of the GPIO pin that is connected to the STM32 reset line, default is:");
}

TEST_F(CommandLine, SeparatesTheDescriptionFromTheUsageByAnEmptyLine)
{
    EXPECT_EQ(commandLine.options.help().rfind("ORVEL userspace driver\n\nUsage:\n", 0), 0U);
}

// Including its width and the text of its usage line.
TEST_F(CommandLine, LeavesTheLayoutOfTheHelpToTheParser)
{
    cxxopts::Options same("orvel", "ORVEL userspace driver\n");
    for (const auto& option : commandLine.options.group_help("").options)
    {
        same.add_options()(option.s + "," + option.l.at(0), option.desc,
                           option.is_boolean ? cxxopts::value<bool>() : cxxopts::value<std::string>());
    }
    EXPECT_EQ(commandLine.options.help(), same.help());
}

TEST_F(CommandLine, KeepsAllTheHelpInTheUnnamedGroup)
{
    EXPECT_EQ(commandLine.options.groups(), Texts{""});
}

// The default of the GPIO is skipped from the text instead of appended to it.
TEST_F(CommandLine, BeginsTheHelpOfTheGpioInTheMiddleOfAWord)
{
    const auto& options = commandLine.options.group_help("").options;
    EXPECT_EQ(options.back().l, cxxopts::OptionNames{"reset_gpio"});
    EXPECT_EQ(options.back().desc, "ber of the GPIO pin that is connected to the STM32 reset line, default is: ");
}

TEST_F(CommandLine, KeepsTheHelpOfTheGpioWhenAnotherGpioIsGiven)
{
    const std::string before = commandLine.options.help();
    ExpectAccepted({"orvel", "--reset_gpio", "12"});
    EXPECT_EQ(commandLine.resetGpio, 12);
    EXPECT_EQ(commandLine.options.help(), before);
}

TEST_F(CommandLine, PrintsAndFlushesTheVersion)
{
    const Output output;
    commandLine.PrintVersion();
    EXPECT_EQ(output.Flushed(), std::string("Version ") + OrvelDriver::BuildRevision + "\n");
}

TEST_F(CommandLine, KnowsTheRevisionAsFortyLowerCaseHexadecimalDigits)
{
    const std::string revision = OrvelDriver::BuildRevision;
    EXPECT_EQ(revision.size(), 40U);
    EXPECT_EQ(revision.find_first_not_of("0123456789abcdef"), std::string::npos);
}

TEST_F(CommandLine, LogsNothing)
{
    {
        const Output output;
        Parse({"orvel", "--no_such_option"});
        commandLine.PrintHelp();
        commandLine.PrintVersion();
    }
    EXPECT_EQ(log->Lines(), Texts{});
}

} // namespace
