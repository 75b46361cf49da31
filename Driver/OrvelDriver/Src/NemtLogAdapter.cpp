#include "NemtLogAdapter.h"

#include <log4cplus/logger.h>
#include <log4cplus/loggingmacros.h>

#include <array>
#include <cstdarg>
#include <cstdio>
#include <sstream>

namespace
{

// Before main and until exit, because the library may log whenever it is loaded; the later configuration applies to it.
// The static initialiser cannot throw anything that the process could outlive.
const log4cplus::Logger nemtLogger = log4cplus::Logger::getInstance("Nemt"); // NOLINT(cert-err58-cpp)

constexpr std::size_t FormattedSize = 256; // bytes, terminating zero included; longer output is cut

using FormattedText = std::array<char, FormattedSize>;

// The level is tested after this, by the caller: the cost of a call does not change with the level.
FormattedText Format(const char* format, va_list arguments)
{
    FormattedText text;
    text[0] = '\0';
    std::vsnprintf(text.data(), text.size(), format, arguments);
    return text;
}

// A space and one or two digits for each byte, written in blocks: the link library may dump every frame.
void AppendHex(std::ostream& stream, const unsigned char* data, unsigned int length)
{
    constexpr char Digits[] = "0123456789abcdef";
    std::array<char, 192> block; // room for 64 bytes at three characters each
    std::size_t used = 0;
    for (unsigned int index = 0; index < length; ++index)
    {
        if (used + 3 > block.size())
        {
            stream.write(block.data(), static_cast<std::streamsize>(used));
            used = 0;
        }
        const unsigned int value = data[index];
        block[used++] = ' ';
        if (value >= 0x10)
        {
            block[used++] = Digits[value >> 4U];
        }
        block[used++] = Digits[value & 0x0FU];
    }
    stream.write(block.data(), static_cast<std::streamsize>(used));
}

} // namespace

void NemtLog_Debug(char* text)
{
    LOG4CPLUS_DEBUG(nemtLogger, text);
}

void NemtLog_Warn(char* text)
{
    LOG4CPLUS_WARN(nemtLogger, text);
}

void NemtLog_Error(char* text)
{
    LOG4CPLUS_ERROR(nemtLogger, text);
}

void NemtLog_DebugFmt(char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const FormattedText text = Format(format, arguments);
    va_end(arguments);
    LOG4CPLUS_DEBUG(nemtLogger, text.data());
}

void NemtLog_WarnFmt(char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const FormattedText text = Format(format, arguments);
    va_end(arguments);
    LOG4CPLUS_WARN(nemtLogger, text.data());
}

void NemtLog_ErrorFmt(char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const FormattedText text = Format(format, arguments);
    va_end(arguments);
    LOG4CPLUS_ERROR(nemtLogger, text.data());
}

void NemtLog_DebugHex(char* text, unsigned char* data, unsigned int length)
{
    std::ostringstream line;
    line << text; // a null text fails the stream, so that the bytes do not follow and an empty line is logged
    AppendHex(line, data, length);
    LOG4CPLUS_DEBUG(nemtLogger, line.str());
}
