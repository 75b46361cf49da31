#pragma once

#include "Message.h"

#include <string>

namespace OrvelClient
{

/// Reads the messages of a recording, one after the other, whatever they were recorded in.
class MessageReader
{
public:
    virtual ~MessageReader() = default;

    /// False at the end. Throws Failure (NotUnderstood) that names the line or the packet.
    virtual bool Next(Message& message) = 0;

    /// What could not be used at the end, in one line: "line 7 is cut off"; empty when that is nothing.
    const std::string& Remark() const
    {
        return remark;
    }

protected:
    /// For Next: ends the reading here.
    bool EndWith(const std::string& text)
    {
        remark = text;
        return false;
    }

private:
    std::string remark;
};

} // namespace OrvelClient
