#pragma once

#include "KnownGroups.h"
#include "Message.h"

#include "Knx/CemiMessage.h"
#include "Knx/CemiText.h"
#include "Knx/TextBuffer.h"

#include <string>

namespace OrvelClient
{

/// What the message says, in one line of words: "L_Data.ind 1.1.1 -> 1/2/3 low hops=6 ...", "link usable", "button pressed",
/// "dropped 5". What is wrong with it comes last, behind an exclamation mark.
/// Of a known group it also says the name, and the value in words: "... value=0x01 = On  Living room/Ceiling".
std::string Describe(const Message& message, Knx::Detail detail = Knx::Detail::All,
                     const KnownGroups& groups = KnownGroups());
void AddDescription(Knx::TextBuffer& text, const Message& message, Knx::Detail detail, const KnownGroups& groups);

/// What kind of message it is: "L_Data.ind", "link usable", "dropped".
std::string KindOf(const Message& message);

/// What a message says that is not of the bus: "link usable", "dropped 5".
std::string NoticeText(const Bytes& frame);

/// What is wrong with a value that is none of its group's type.
std::string WrongValueText(const Meaning& meaning);

/// The frame taken apart, with a wrong size byte among its problems. A message that is not of the bus has nothing but
/// these.
Knx::CemiMessage TakenApart(const Message& message);

/// Whether it is a telegram that was on the bus: one of a device, or a confirmed one of an application.
bool WasOnBus(const Knx::CemiMessage& cemi);

} // namespace OrvelClient
