// service-co-processor PORT: the simulated co-processor at a serial port of a machine with a real kernel, whose reset input
// follows pin 3. Takes commands on standard input and prints what happens, as orvel-board --json does.

#include "Commands.h"
#include "EventJson.h"
#include "WiredCoProcessor.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>

using namespace Simulator;

int main(int argc, char** argv)
{
    constexpr int resetGpio = 3;
    if (argc != 2)
    {
        std::fputs("usage: service-co-processor PORT\n", stderr);
        return EXIT_FAILURE;
    }
    try
    {
        EventLog events(
            [](std::chrono::microseconds since, const Event& event)
            {
                std::printf("%s\n", JsonOf(since, event).c_str());
                std::fflush(stdout);
            });
        SerialLine line(argv[1]);
        WiredCoProcessor coProcessor(line, events, resetGpio);
        Commands commands(coProcessor.TheCoProcessor());
        events.Add({Event::Note, "co-processor runs"});
        for (std::string command; !commands.QuitRequested() && std::getline(std::cin, command);)
        {
            if (const std::string answer = commands.Execute(command); !answer.empty())
            {
                events.Add({Event::Note, answer});
            }
        }
        return EXIT_SUCCESS;
    }
    catch (const std::exception& failure)
    {
        std::fprintf(stderr, "service-co-processor: %s\n", failure.what());
        return EXIT_FAILURE;
    }
}
