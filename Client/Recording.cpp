#include "Recording.h"

#include "Capture.h"
#include "Failure.h"
#include "TelegramLog.h"
#include "TextRecording.h"

#include <cstdio>

namespace OrvelClient
{

namespace
{

std::unique_ptr<MessageReader> ReaderFor(Source& source)
{
    if (IsCapture(source.Ahead(CaptureBegin)))
    {
        return std::make_unique<CaptureReader>(source);
    }
    if (IsXml(source.Ahead(4)))
    {
        return std::make_unique<TelegramLogReader>(source);
    }
    return std::make_unique<TextRecordingReader>(source);
}

// An interruption is no fault of the file.
template<typename Action>
auto Named(const Source& source, const Action& action)
{
    try
    {
        return action();
    }
    catch (const Failure& failure)
    {
        throw Failure(failure.ExitStatus(), failure.ExitStatus() == Status::NotUnderstood
                                                ? source.Name() + ": " + failure.what()
                                                : failure.what());
    }
}

} // namespace

Recording::Recording(Source& file)
    : source(file)
    , reader(Named(file, [&file] { return ReaderFor(file); }))
{
}

bool Recording::Next(Message& message)
{
    return Named(source, [&] { return reader->Next(message); });
}

void Recording::TellRemark() const
{
    if (!reader->Remark().empty())
    {
        std::fprintf(stderr, "orvelctl: %s: %s\n", source.Name().c_str(), reader->Remark().c_str());
    }
}

} // namespace OrvelClient
