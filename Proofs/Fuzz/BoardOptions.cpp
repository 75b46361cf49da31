// Fuzzes the command line of orvel-board. The input is the arguments after the program's name, each with a zero byte at
// its end.

#include "Options.h"

#include "Expect.h"
#include "Input.h"

#include <algorithm>
#include <stdexcept>

using Simulator::Options;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    std::vector<std::string> arguments = Fuzz::TakeArguments(data, size);
    arguments.insert(arguments.begin(), "orvel-board");
    const std::vector<const char*> argv = Fuzz::Argv(arguments);
    try
    {
        const Options options = Simulator::ParseOptions(static_cast<int>(arguments.size()), argv.data());
        Fuzz::Expect("a pin of the chip", options.resetGpio >= 0 && options.resetGpio <= 31);
        Fuzz::Expect("one reader of the queues", !options.demo || !options.gateway);
        Fuzz::Expect("a command to execute", options.mode != Options::Mode::Exec || !options.command.empty());
        Fuzz::ExpectEqual("a text", !options.text.empty(), options.mode == Options::Mode::Print);
        const auto separator = std::find(arguments.begin(), arguments.end(), "--");
        const bool isShell = options.mode == Options::Mode::Exec && arguments[1] == "shell"; // has a command of its own
        if (options.mode != Options::Mode::Print && !isShell && separator != arguments.end())
        {
            Fuzz::ExpectEqual("the command", options.command, std::vector<std::string>(separator + 1, arguments.end()));
        }
    }
    catch (const std::runtime_error& wrong)
    {
        Fuzz::Expect("what is wrong", *wrong.what() != '\0');
    }
    return 0;
}
