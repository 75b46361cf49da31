#include "Output.h"

#include "Failure.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace OrvelClient
{

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
    if (stream != stdout)
    {
        static_cast<void>(std::fclose(stream)); // everything has been flushed
    }
}

void Output::Write(const std::string& text)
{
    Add(text);
    Flush();
}

void Output::Add(const std::string& text)
{
    Check(std::fwrite(text.data(), 1, text.size(), stream) == text.size());
}

void Output::Flush()
{
    Check(std::fflush(stream) == 0);
}

void Output::Check(bool isWritten) const
{
    if (isWritten)
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
