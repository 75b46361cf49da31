// Fuzzes what a person types to the running board. The input is the lines.

#include "Commands.h"

#include "Expect.h"

#include <sstream>

using namespace Simulator;

namespace
{

struct Running
{
    EventLog events;
    SerialLine line;
    CoProcessor coProcessor{line, events};
};

// Commands that only answer.
bool IsCommandThatAnswers(const std::string& line)
{
    return line.find("help") != std::string::npos;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    static Running running;
    Commands commands(running.coProcessor);
    std::istringstream lines(std::string(data, data + size));
    for (std::string line; std::getline(lines, line);)
    {
        const std::size_t before = running.events.Count();
        const std::string answer = commands.Execute(line);
        const std::size_t after = running.events.Count();
        Fuzz::Expect("an answer, or something that happened, or an end, or nothing that was asked",
                     (answer.empty() && (after > before || commands.QuitRequested() ||
                                         line.find_first_not_of(" \t\r\v\f") == std::string::npos)) ||
                         (!answer.empty() && after == before));
        Fuzz::Expect("one line as the answer", answer.find('\n') == std::string::npos || IsCommandThatAnswers(line));
    }
    return 0;
}
