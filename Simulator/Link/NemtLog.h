#pragma once

/// The log functions of the program that loads the library, with the types that they have there. The library leaves
/// them undefined; the loader binds them to the executable. Any thread, also several at once.
extern "C"
{
    void NemtLog_Debug(char* text);
    void NemtLog_Warn(char* text);
    void NemtLog_Error(char* text);

    /// printf formatting; the text is cut after 255 characters.
    void NemtLog_DebugFmt(char* format, ...) __attribute__((format(printf, 1, 2)));
    void NemtLog_WarnFmt(char* format, ...) __attribute__((format(printf, 1, 2)));
    void NemtLog_ErrorFmt(char* format, ...) __attribute__((format(printf, 1, 2)));

    /// `text`, then the bytes in hexadecimal.
    void NemtLog_DebugHex(char* text, unsigned char* data, unsigned int length);
}

namespace Simulator
{

/// A text for the functions above, which only read it although their types do not say so.
__attribute__((format_arg(1))) inline char* LogText(const char* text)
{
    return const_cast<char*>(text);
}

} // namespace Simulator
