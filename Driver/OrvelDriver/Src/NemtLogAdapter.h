#pragma once

/// The link library writes its own log lines through these functions, under the logger "Nemt". They are in the
/// executable's dynamic symbol table by these plain names, and the library binds to them when it is loaded.
///
/// Any thread, also several at once. A null `text` logs an empty line.
extern "C"
{
    void NemtLog_Debug(char* text);
    void NemtLog_Warn(char* text);
    void NemtLog_Error(char* text);

    /// printf formatting; the text is cut after 255 characters.
    void NemtLog_DebugFmt(char* format, ...) __attribute__((format(printf, 1, 2)));
    void NemtLog_WarnFmt(char* format, ...) __attribute__((format(printf, 1, 2)));
    void NemtLog_ErrorFmt(char* format, ...) __attribute__((format(printf, 1, 2)));

    /// `text`, then for each byte a space and its value in lower-case hexadecimal without padding: "text 0 a 10".
    void NemtLog_DebugHex(char* text, unsigned char* data, unsigned int length);
}
