#include "Output.h"

#include "Failure.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace OrvelClient
{

namespace
{

constexpr std::size_t Block = 65536; // bytes that are written at once where there are many

} // namespace

Output::Output()
    : name("standard output")
    , stream(stdout)
{
}

Output::Output(const std::string& file)
    : name(file == "-" ? "standard output" : file)
    , stream(file == "-" ? stdout : std::fopen(file.c_str(), "we"))
{
    if (stream == nullptr)
    {
        throw Failure(Status::Failed, "cannot write " + name + ": " + strerror(errno));
    }
}

Output::~Output()
{
    static_cast<void>(WriteWaiting()); // nothing waits, unless the command has failed
    if (stream != stdout)
    {
        static_cast<void>(std::fclose(stream));
    }
}

void Output::Write(std::string_view text)
{
    Add(text);
    Flush();
}

void Output::Add(std::string_view text)
{
    waiting.Add(text);
    FlushIfMuch();
}

void Output::FlushIfMuch()
{
    if (waiting.Size() >= Block)
    {
        Flush();
    }
}

// Whether it can be written; errno says why not. Nothing is tried twice.
bool Output::WriteWaiting()
{
    const std::size_t size = waiting.Size();
    const bool isGiven =
        size == 0 || std::fwrite(waiting.Text().data(), 1, size, stream) == size; // of nothing, not even null
    const bool isWritten = isGiven && std::fflush(stream) == 0;
    waiting.Clear();
    return isWritten;
}

void Output::Flush()
{
    if (WriteWaiting())
    {
        return;
    }
    if (errno == EPIPE)
    {
        throw Failure(Status::Done, name + " is closed");
    }
    throw Failure(Status::Failed, "cannot write " + name + ": " + strerror(errno));
}

int Output::Descriptor() const
{
    return fileno(stream);
}

bool Output::IsTerminal() const
{
    return isatty(Descriptor()) != 0;
}

std::size_t Output::Columns() const
{
    winsize size{};
    return ioctl(Descriptor(), TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

void Notice(const Output& output, const std::string& text)
{
    if (output.IsTerminal())
    {
        std::fprintf(stderr, "orvelctl: %s\n", text.c_str());
    }
}

} // namespace OrvelClient
