// Fuzzes the log functions that the link library calls. The input is a row of calls: a byte that chooses the function,
// then its arguments. The formats are those of a library that knows what it does; the arguments are arbitrary.

#include "NemtLogAdapter.h"

#include "CapturedLog.h"
#include "Expect.h"
#include "Input.h"

#include <array>
#include <cstdio>
#include <sstream>

namespace
{

using Calls = std::vector<void (*)(Fuzz::Input&, std::vector<std::string>&)>;

// What a format makes of its arguments if there is room for all of it, cut as the daemon cuts it.
template<typename... Arguments>
std::string Cut(const char* format, Arguments... arguments)
{
    constexpr std::size_t MaxText = 255;
    std::array<char, 4096> text{};
    std::snprintf(text.data(), text.size(), format, arguments...); // NOLINT(clang-diagnostic-format-nonliteral)
    return std::string(text.data()).substr(0, MaxText);
}

char* Writable(const char* format)
{
    return const_cast<char*>(format);
}

// The text as a C function reads it.
std::string UpToZero(const std::string& text)
{
    return text.substr(0, text.find('\0'));
}

std::string HexOf(const std::vector<uint8_t>& bytes)
{
    std::ostringstream text;
    for (const uint8_t byte : bytes)
    {
        text << ' ' << std::hex << static_cast<unsigned int>(byte);
    }
    return text.str();
}

void Plain(void (*function)(char*), const std::string& level, Fuzz::Input& input, std::vector<std::string>& lines)
{
    std::string text = input.TakeText();
    function(text.data());
    lines.push_back(level + " Nemt " + UpToZero(text));
}

const Calls calls{
    [](Fuzz::Input& input, std::vector<std::string>& lines) { Plain(&NemtLog_Debug, "DEBUG", input, lines); },
    [](Fuzz::Input& input, std::vector<std::string>& lines) { Plain(&NemtLog_Warn, "WARN", input, lines); },
    [](Fuzz::Input& input, std::vector<std::string>& lines) { Plain(&NemtLog_Error, "ERROR", input, lines); },
    [](Fuzz::Input& /*input*/, std::vector<std::string>& lines)
    {
        NemtLog_Debug(nullptr);
        NemtLog_DebugHex(nullptr, nullptr, 0);
        lines.insert(lines.end(), 2, "DEBUG Nemt ");
    },
    [](Fuzz::Input& input, std::vector<std::string>& lines)
    {
        const std::string text = input.TakeText();
        const int precision = input.TakeByte();
        NemtLog_DebugFmt(Writable("%s|%.*s"), text.c_str(), precision, text.c_str());
        lines.push_back("DEBUG Nemt " + Cut("%s|%.*s", text.c_str(), precision, text.c_str()));
    },
    [](Fuzz::Input& input, std::vector<std::string>& lines)
    {
        const unsigned int number = input.TakeNumber() | static_cast<unsigned int>(input.TakeNumber()) << 16U;
        const int width = input.TakeNumber() - 0x8000;
        NemtLog_WarnFmt(Writable("%d %u %#x %c %*d"), static_cast<int>(number), number, number, 'a', width,
                        static_cast<int>(number));
        const std::string text = std::to_string(static_cast<int>(number));
        std::ostringstream line;
        line << "WARN Nemt " << text << ' ' << number << ' ' << std::showbase << std::hex << number << " a ";
        const std::string begin = line.str();
        const auto wide = static_cast<std::size_t>(std::abs(width));
        const std::string padding(wide > text.size() ? wide - text.size() : 0, ' ');
        constexpr std::size_t MaxLine = 10 + 255; // "WARN Nemt " and what is kept
        lines.push_back((begin + (width < 0 ? text + padding : padding + text)).substr(0, MaxLine));
    },
    // This is no text in this locale: the format fails in the middle, and the line is what came before.
    [](Fuzz::Input& input, std::vector<std::string>& lines)
    {
        const std::array<wchar_t, 2> wide{static_cast<wchar_t>(input.TakeNumber()), 0};
        NemtLog_ErrorFmt(Writable("before %ls after"), wide.data());
        lines.push_back("ERROR Nemt " + Cut("before %ls after", wide.data()));
    },
    [](Fuzz::Input& input, std::vector<std::string>& lines)
    {
        std::string text = input.TakeText();
        std::vector<uint8_t> bytes = input.TakeBytes(input.TakeNumber());
        NemtLog_DebugHex(text.data(), bytes.data(), static_cast<unsigned int>(bytes.size()));
        lines.push_back("DEBUG Nemt " + UpToZero(text) + HexOf(bytes));
    },
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    static const auto log = UnitTests::CapturedLog::Attach();
    log->Clear();
    std::vector<std::string> lines;
    for (Fuzz::Input input(data, size); !input.IsEmpty();)
    {
        calls[input.TakeByte() % calls.size()](input, lines);
    }
    Fuzz::ExpectEqual("the lines", log->Lines(), lines);
    return 0;
}
