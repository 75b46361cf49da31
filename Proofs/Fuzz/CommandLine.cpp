// Fuzzes the daemon's command line. The input is the arguments after the program's name, each with a zero byte at its
// end.

#include "CommandLine.h"

#include "Expect.h"
#include "Input.h"
#include "Output.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    std::vector<std::string> arguments = Fuzz::TakeArguments(data, size);
    arguments.insert(arguments.begin(), "orvel");
    const std::vector<const char*> argv = Fuzz::Argv(arguments);

    const UnitTests::Output output;
    OrvelDriver::CommandLine commandLine;
    const bool taken = commandLine.Parse(static_cast<int>(arguments.size()), argv.data());
    Fuzz::ExpectEqual("silence when it is taken", output.str().empty(), taken);
    Fuzz::ExpectEqual("the device, whatever is given", commandLine.device, std::string("/dev/ttymxc2"));
    Fuzz::ExpectEqual("the number of LEDs", commandLine.ledNames.size(), std::size_t{5});
    if (taken)
    {
        Fuzz::Expect("a queue for the button", !commandLine.progButtonQueues.empty());
    }
    return 0;
}
