#pragma once

#include "Message.h"

#include "Knx/CemiMessage.h"
#include "Knx/CemiText.h"

#include <string>

namespace OrvelClient
{

/// What the message says, in one line of words: "L_Data.ind 1.1.1 -> 1/2/3 low hops=6 ...", "link usable", "button pressed",
/// "dropped 5". What is wrong with it comes last, behind an exclamation mark.
std::string Describe(const Message& message, Knx::Detail detail = Knx::Detail::All);

/// What kind of message it is: "L_Data.ind", "link usable", "dropped".
std::string KindOf(const Message& message);

/// What a message says that is not of the bus: "link usable", "dropped 5".
std::string NoticeText(const Bytes& frame);

/// The frame taken apart, with a wrong size byte among its problems. A message that is not of the bus has nothing but
/// these.
Knx::CemiMessage TakenApart(const Message& message);

} // namespace OrvelClient
