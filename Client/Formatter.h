#pragma once

#include "KnownGroups.h"
#include "Message.h"
#include "Output.h"
#include "TimeStamp.h"

#include "Knx/TextBuffer.h"

#include <chrono>
#include <string>
#include <string_view>

namespace OrvelClient
{

/// The forms in which messages are written.
enum class Form
{
    Text,
    Json,
    Capture,
    TelegramLog
};

/// How lines look.
struct Look
{
    bool color = false;
    const Output* terminal = nullptr; ///< whose width they fit; null: any width
};

/// Writes messages in one of the forms.
class Formatter
{
public:
    /// `knownGroups` have to live as long.
    Formatter(Form wantedForm, TimeStamp countsFrom, const KnownGroups& knownGroups, const Look& linesLook = {})
        : form(wantedForm)
        , stamper(countsFrom)
        , groups(knownGroups)
        , look(linesLook)
    {
    }

    /// What a file begins with; the first of its messages is of that time.
    std::string Begin(std::chrono::microseconds time) const;

    /// The message; empty where the form has no place for it. Valid until the next one.
    std::string_view Entry(const Message& message);

    /// The same at the end of a text.
    void AddEntry(Knx::TextBuffer& text, const Message& message);

    /// What a file ends with; the last of its messages was of that time.
    std::string End(std::chrono::microseconds time) const;

private:
    Form form;
    TimeStamper stamper;
    const KnownGroups& groups;
    Look look;
    Knx::TextBuffer entry;
};

} // namespace OrvelClient
