#include "LiveBoard.h"

#include "System/Deadline.h"

#include "TypedTelegram.h"
#include "TypedText.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstring>
#include <string_view>

namespace Simulator
{

namespace
{

using namespace std::chrono_literals;
using System::Terminal;

constexpr auto DrawEvery = 50ms;       // at most; more a person does not see
constexpr std::size_t MaxTyped = 3072; // bytes; the longest telegram
constexpr int MaxPause = 3600;         // seconds; that of the commands

} // namespace

LiveBoard::LiveBoard(const std::string& boardName, bool demonstration, const Knx::KnownGroups& knownGroups)
    : groups(knownGroups)
    , state(knownGroups)
    , demonstrating(demonstration)
    , signals(Terminal::Signals)
{
    view.name = boardName;
    fcntl(daemon.reading.Number(), F_SETFL, O_NONBLOCK); // the daemon's end blocks, as a terminal does
    terminal = std::make_unique<Terminal>();
    thread = std::thread(&LiveBoard::ThreadFunction, this);
}

LiveBoard::~LiveBoard()
{
    End();
}

void LiveBoard::OnEvent(std::chrono::microseconds since, const Event& event)
{
    {
        const std::lock_guard lock(mutex);
        state.OnEvent(since, event);
        demonstrating =
            demonstrating && event.kind != Event::DemonstrationEnded && event.kind != Event::DemonstrationFailed;
    }
    wakeUp.Signal();
}

void LiveBoard::OnAnswer(const std::string& answer)
{
    {
        const std::lock_guard lock(mutex);
        state.OnAnswer(Since(), answer);
    }
    wakeUp.Signal();
}

void LiveBoard::End()
{
    running = false;
    wakeUp.Signal();
    if (thread.joinable())
    {
        thread.join();
    }
    terminal.reset();
}

std::string LiveBoard::LastLines() const
{
    constexpr std::ptrdiff_t Lines = 10;
    const std::lock_guard lock(mutex);
    const auto& log = state.Log();
    std::string text;
    for (auto entry = log.end() - std::min<std::ptrdiff_t>(Lines, static_cast<std::ptrdiff_t>(log.size()));
         entry != log.end(); ++entry)
    {
        text += entry->text + '\n';
    }
    return text;
}

void LiveBoard::ThreadFunction()
{
    while (running)
    {
        std::array<pollfd, 4> set{{{wakeUp.Descriptor(), POLLIN, 0},
                                   {signals.Descriptor(), POLLIN, 0},
                                   {daemon.reading.Number(), POLLIN, 0},
                                   {readsKeys ? STDIN_FILENO : -1, POLLIN, 0}}};
        poll(set.data(), set.size(), PollTimeout());
        if (wakeUp.Clear())
        {
            dirty = true;
        }
        if (ReadSignals())
        {
            dirty = true;
        }
        ReadDaemon();
        if ((set[3].revents & (POLLHUP | POLLERR | POLLNVAL)) != 0)
        {
            readsKeys = false;
            kill(getpid(), SIGHUP); // the terminal is gone, and its last signal may have gone to another process
        }
        else if (set[3].revents != 0)
        {
            ReadKeys();
        }
        if (dirty && Clock::now() - drawn >= DrawEvery)
        {
            Redraw();
        }
    }
    ReadDaemon();
}

// ms until the next picture; -1 while it need not change.
int LiveBoard::PollTimeout() const
{
    return System::PollTimeout(dirty ? drawn + DrawEvery : System::NoDeadline);
}

// True when the picture is to be drawn anew.
bool LiveBoard::ReadSignals()
{
    bool any = false;
    while (const int signal = signals.Take())
    {
        any = true;
        terminal->OnSignal(signal);
    }
    return any;
}

void LiveBoard::ReadDaemon()
{
    constexpr int AtOnce = 16; // a flood is not to keep keys waiting
    std::array<char, 4096> buffer{};
    for (int count = 0; count < AtOnce; ++count)
    {
        const ssize_t size = read(daemon.reading.Number(), buffer.data(), buffer.size());
        if (size <= 0)
        {
            return;
        }
        dirty = true;
        const std::lock_guard lock(mutex);
        daemonLines.Take({buffer.data(), static_cast<std::size_t>(size)},
                         [this](const std::string& line) { state.OnDaemonLine(Since(), line); });
    }
}

void LiveBoard::ReadKeys()
{
    for (int key = terminal->ReadKey(); key != Terminal::NoKey; key = terminal->ReadKey())
    {
        if (view.prompt)
        {
            OnPromptKey(key);
        }
        else
        {
            OnKey(key);
        }
        dirty = true;
    }
}

void LiveBoard::OnKey(int key)
{
    bool pressed = false;
    bool plugged = false;
    bool demonstration = false;
    {
        const std::lock_guard lock(mutex);
        pressed = state.IsButtonPressed();
        plugged = state.IsPlugged();
        demonstration = demonstrating;
    }
    const bool wasHelp = view.help;
    view.help = false;
    switch (key)
    {
    case 'q':
        kill(getpid(), SIGINT); // as Ctrl-C does, also while no command is taken
        return;
    case 'h':
    case '?':
        view.help = !wasHelp;
        return;
    default:
        break;
    }
    if (demonstration && key < 0x80 &&
        std::string_view("bumtrk").find(static_cast<char>(key)) != std::string_view::npos)
    {
        OnAnswer("wait until the demonstration is over");
        return;
    }
    switch (key)
    {
    case 'b':
        Type(pressed ? "release" : "press");
        break;
    case 'u':
        Type(plugged ? "unplug" : "plug");
        break;
    case 'm':
        Type("mute");
        break;
    case 't':
        view.prompt = telegram;
        break;
    case 'r':
        TypeWithPause("restart");
        break;
    case 'k':
        TypeWithPause("kill");
        break;
    default:
        break;
    }
    if (key >= '0' && key <= '9' && !demonstration)
    {
        OnDigit(key - '0');
    }
    else
    {
        view.pause.reset();
    }
}

void LiveBoard::OnDigit(int digit)
{
    const int pause = view.pause.value_or(0) * 10 + digit;
    if (pause <= MaxPause)
    {
        view.pause = pause;
    }
}

void LiveBoard::TypeWithPause(const std::string& command)
{
    Type(command + (view.pause ? " " + std::to_string(*view.pause) : ""));
}

void LiveBoard::OnPromptKey(int key)
{
    std::string& typed = *view.prompt;
    switch (key)
    {
    case Terminal::Enter:
        telegram = typed;
        if (TypeTelegram(typed)) // otherwise the answer tells what is wrong, and the text stays to be corrected
        {
            view.prompt.reset();
        }
        break;
    case Terminal::Escape:
        view.prompt.reset();
        break;
    case Terminal::Backspace:
        RemoveLast(typed);
        break;
    case Terminal::ClearLine:
        typed.clear();
        break;
    default:
        if (IsCharacter(key) && typed.size() < MaxTyped)
        {
            typed += static_cast<char>(key);
        }
        break;
    }
}

// False if it is none: the one who takes the commands answers that.
bool LiveBoard::TypeTelegram(const std::string& typed) const
{
    constexpr std::string_view read = "read ";
    const bool isRead = typed.compare(0, read.size(), read) == 0;
    Type(isRead ? typed : "telegram " + typed);
    try
    {
        isRead ? ReadFrom(typed.substr(read.size()), groups) : TelegramFrom(typed, groups);
        return true;
    }
    catch (const NotATelegram&)
    {
        return false;
    }
}

// Where nobody takes commands any more, one is lost.
void LiveBoard::Type(const std::string& command) const
{
    const std::string line = command + '\n';
    static_cast<void>(write(commands.writing.Number(), line.data(), line.size()) == -1);
}

void LiveBoard::Redraw()
{
    dirty = false;
    drawn = Clock::now();
    const Picture picture = [this]
    {
        const std::lock_guard lock(mutex);
        return Draw(state, view, terminal->Rows(), terminal->Columns());
    }();
    terminal->Show(picture); // which may take its time, and holds up nobody
}

std::chrono::microseconds LiveBoard::Since() const
{
    return std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - began);
}

} // namespace Simulator
