// The command line of orvel-gateway. The input is the arguments behind the program's name, each with a zero byte at its end.

#include "Failure.h"
#include "Options.h"

#include "Expect.h"
#include "Input.h"

#include <net/if.h>

using namespace OrvelGateway;
using namespace std::chrono_literals;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    std::vector<std::string> arguments = Fuzz::TakeArguments(data, size);
    arguments.insert(arguments.begin(), "orvel-gateway");
    const std::vector<const char*> argv = Fuzz::Argv(arguments);
    try
    {
        const Options options = ParseOptions(static_cast<int>(arguments.size()), argv.data());
        Fuzz::Expect("a number of programs", options.hub.programs >= 1 && options.hub.programs <= 1000);
        Fuzz::Expect("a time", options.hub.confirmTimeout >= 100ms && options.hub.confirmTimeout <= 1h);
        Fuzz::Expect("the name of a queue", options.buttonQueue.size() > 1 && options.buttonQueue.rfind('/') == 0);
        Fuzz::Expect("an interface", !options.network || (!options.network->place.interface.empty() &&
                                                          options.network->place.interface.size() < IFNAMSIZ));
    }
    catch (const Failure& failure)
    {
        Fuzz::Expect("a wrong option", failure.ExitStatus() == Status::WrongOption);
        Fuzz::Expect("what is wrong", *failure.what() != '\0');
    }
    return 0;
}
