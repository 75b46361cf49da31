// Fuzzes what the board shows in a terminal. The input is the size of the screen, rows and columns in a byte each, then
// what to show: lines of the daemon, lines of the board after the byte 1, or answers to a person after the byte 2.

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
            state.OnEvent(1s, line.substr(1));
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
