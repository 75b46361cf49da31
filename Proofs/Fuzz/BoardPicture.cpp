// Fuzzes what the board shows in a terminal. The input is the size of the screen, rows and columns in a byte each, then
// what to show: lines of the daemon, events of the board after the byte 1, or answers to a person after the byte 2. An event is
// a byte for its kind and a byte for its number, both from 'a' on, then its bytes in hexadecimal or its text.

#include "Picture.h"

#include "Expect.h"
#include "Input.h"

#include <algorithm>
#include <sstream>

using namespace Simulator;
using namespace std::chrono_literals;

namespace
{

constexpr std::size_t MaxLine = 4096; // bytes; longer ones are cut before

Bytes BytesOf(const std::string& text)
{
    try
    {
        return Knx::FromHex(text);
    }
    catch (const Knx::NotHex&)
    {
        return {text.begin(), text.end()};
    }
}

// Of any kind, with whatever that kind has.
Event EventOf(const std::string& line)
{
    const auto letter = [&line](std::size_t position)
    { return position < line.size() ? static_cast<uint8_t>(line[position] - 'a') : uint8_t{0}; };
    const std::string rest = line.substr(std::min<std::size_t>(line.size(), 2));
    Event event(static_cast<Event::Kind>(letter(0) % Event::Kinds), rest);
    event.bytes = BytesOf(rest);
    const bool isLed = event.kind == Event::LedOn || event.kind == Event::LedOff;
    event.number = isLed ? OrangeDeviceLed + letter(1) % 4 : letter(1);
    return event;
}

BoardState StateAfter(Fuzz::Input& input)
{
    BoardState state;
    const std::vector<uint8_t> rest = input.TakeBytes(SIZE_MAX);
    std::istringstream lines(std::string(rest.begin(), rest.end()));
    for (std::string line; std::getline(lines, line);)
    {
        line.resize(std::min(line.size(), MaxLine));
        switch (line.empty() ? 0 : line.front())
        {
        case 1:
            state.OnEvent(1s, EventOf(line.substr(1)));
            break;
        case 2:
            state.OnAnswer(1s, line.substr(1));
            break;
        default:
            state.OnDaemonLine(1s, line);
        }
    }
    return state;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    Fuzz::Input input(data, size);
    const int rows = input.TakeByte();
    const int columns = input.TakeByte();
    View view;
    const BoardState state = StateAfter(input);
    for (const bool help : {false, true})
    {
        view.help = help;
        const Picture picture = Draw(state, view, rows, columns);
        for (int row = 0; row < picture.Rows(); ++row)
        {
            for (int column = 0; column < picture.Columns(); ++column)
            {
                const wchar_t character = picture.At(row, column).character;
                Fuzz::Expect("a character that can be shown", character >= L' ' && character <= L'~');
            }
        }
    }
    return 0;
}
