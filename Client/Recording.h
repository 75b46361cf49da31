#pragma once

#include "MessageReader.h"
#include "Source.h"

#include <memory>

namespace OrvelClient
{

/// A file of messages in any form that orvelctl knows: lines of the monitor or of the daemon's log, JSON, hexadecimal digits,
/// a capture, a telegram log. It is read as it comes, and never as a whole.
class Recording
{
public:
    /// Recognises the form by the first bytes. Throws Failure, as Next does.
    explicit Recording(Source& file);

    /// False at the end. Throws Failure, whose line begins with the name of the file.
    bool Next(Message& message);

    /// Tells the person what could not be used at the end.
    void TellRemark() const;

private:
    Source& source;
    std::unique_ptr<MessageReader> reader;
};

} // namespace OrvelClient
