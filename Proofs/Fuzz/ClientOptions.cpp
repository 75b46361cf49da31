// Fuzzes the command line of orvelctl. The input is the arguments after the program's name, each with a zero byte at
// its end.

#include "Failure.h"
#include "Options.h"

#include "Expect.h"
#include "Input.h"

using namespace std::chrono_literals;
using OrvelClient::Options;

namespace
{

bool IsWait(std::chrono::milliseconds wait)
{
    return wait >= 0ms && wait <= 24h;
}

void Check(const Options& options)
{
    Fuzz::ExpectEqual("a text for help", !options.help.empty(), options.command == Options::Command::Help);
    Fuzz::Expect("a wait of a day at the most",
                 IsWait(options.send.wait) && IsWait(options.replay.wait) && IsWait(options.generate.wait));
    Fuzz::Expect("a speed that can be kept",
                 options.replay.speed == 0 || (options.replay.speed >= 0.001 && options.replay.speed <= 1000));
    Fuzz::Expect("a rate that can be kept", options.generate.rate >= 0.001 && options.generate.rate <= 100000);
    if (options.led.brightness)
    {
        Fuzz::Expect("a brightness", *options.led.brightness >= 0 && *options.led.brightness <= 100);
    }
    Fuzz::Expect("a pin", options.check.resetGpio >= 0);
    Fuzz::Expect("a queue for the button", !options.check.buttonQueues.empty());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    std::vector<std::string> arguments = Fuzz::TakeArguments(data, size);
    arguments.insert(arguments.begin(), "orvelctl");
    const std::vector<const char*> argv = Fuzz::Argv(arguments);
    try
    {
        Check(OrvelClient::ParseOptions(static_cast<int>(arguments.size()), argv.data()));
    }
    catch (const OrvelClient::Failure& failure)
    {
        Fuzz::Expect("a wrong option", failure.ExitStatus() == OrvelClient::Status::WrongOption);
        Fuzz::Expect("what is wrong", *failure.what() != '\0');
    }
    return 0;
}
