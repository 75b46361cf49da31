#include "Top.h"

#include "BusReader.h"
#include "CommonOptions.h"
#include "Description.h"
#include "TopPicture.h"

#include "System/Deadline.h"
#include "System/Terminal/Terminal.h"
#include "System/Terminal/TerminalGuard.h"
#include "System/WakeUp.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <exception>
#include <map>
#include <mutex>
#include <thread>
#include <utility>

namespace OrvelClient
{

namespace
{

using System::Terminal;
using Clock = GroupTable::Clock;
using Order = GroupTable::Order;

// Between two pictures, while no key is pressed. Ages are in seconds, and nobody reads faster.
constexpr std::chrono::milliseconds DrawEvery{250};

constexpr std::size_t AllGroups = 65536;

// What the bus has told, as one thread hears it and the other shows it.
class Heard
{
public:
    explicit Heard(const KnownGroups& groups)
        : table(groups, Clock::now())
    {
    }

    void Take(const Message& message, const Filter& filter)
    {
        const std::lock_guard lock(mutex);
        if (const auto lost = LostMessages(message.frame))
        {
            dropped += *lost;
        }
        else if (LinkState(message.frame))
        {
            const std::string text = NoticeText(message.frame); // "link usable"
            link = text.substr(text.find(' ') + 1);
        }
        else if (filter.Passes(message))
        {
            table.Add(message, Clock::now());
        }
    }

    void Tell(const std::string& line)
    {
        const std::lock_guard lock(mutex);
        notice = line;
        link.clear(); // it is told again by whoever comes
    }

    System::Picture Draw(TopView& view, int rows, int columns)
    {
        const std::lock_guard lock(mutex);
        const auto now = Clock::now();
        const auto groups = table.Groups(view.order, view.reversed, now);
        const std::size_t room = RoomForGroups(rows);
        view.first =
            std::min(view.first, groups.size() - std::min(groups.size(), room)); // of a list that fills the screen
        view.notice = notice;
        view.link = link;
        view.dropped = dropped;
        return DrawTop(groups, table.BusLoad(now), view, now, rows, columns);
    }

private:
    std::mutex mutex; // for all that follows
    GroupTable table;
    std::string notice;
    std::string link;
    uint64_t dropped = 0;
};

// Reads on a thread of its own: however slow the terminal is, nothing waits in the queue, where it would be lost.
class Reading
{
public:
    Reading(Bus& bus, const StopSignals& stopSignals, const Output& output, const Filter& chosen, Heard& whatIsHeard)
        : stop(stopSignals)
        , filter(chosen)
        , heard(whatIsHeard)
        , reader(bus, stopSignals, output, [this](const std::string& line) { heard.Tell(line); })
        , thread([this] { Run(); })
    {
    }

    ~Reading()
    {
        End();
    }

    Reading(const Reading&) = delete;
    Reading& operator=(const Reading&) = delete;

    /// For poll: readable once nothing more comes.
    int Ended() const
    {
        return ended.Descriptor();
    }

    /// Ends it. Throws what ended it before, if that was a failure.
    void Finish()
    {
        End();
        if (failure)
        {
            std::rethrow_exception(failure);
        }
    }

private:
    void Run()
    {
        try
        {
            while (const auto received = reader.Next())
            {
                heard.Take(FromQueue(*received, Now()), filter);
            }
        }
        catch (...)
        {
            failure = std::current_exception();
        }
        ended.Signal();
    }

    void End()
    {
        if (thread.joinable())
        {
            stop.Ask();
            thread.join();
        }
    }

    const StopSignals& stop;
    const Filter& filter;
    Heard& heard;
    BusReader reader;
    std::exception_ptr failure; // of the thread, until it has ended
    System::WakeUp ended;
    std::thread thread; // last: it uses the others
};

// The picture and the keys.
class Screen
{
public:
    Screen(Heard& whatIsHeard, TopView firstView)
        : heard(whatIsHeard)
        , view(std::move(firstView))
    {
    }

    void Show()
    {
        terminal.Show(heard.Draw(view, terminal.Rows(), terminal.Columns()));
    }

    void OnSignal(int signal)
    {
        terminal.OnSignal(signal);
    }

    /// Takes all keys that were pressed; false if one of them ends the program.
    bool TakeKeys()
    {
        bool goesOn = true;
        for (int key = terminal.ReadKey(); key != Terminal::NoKey; key = terminal.ReadKey())
        {
            goesOn = goesOn && key != 'q';
            OnKey(key);
        }
        return goesOn;
    }

private:
    void OnKey(int key)
    {
        static const std::map<int, Order> orders{
            {'a', Order::Address}, {'n', Order::Name}, {'g', Order::Age}, {'m', Order::Rate}, {'c', Order::Count}};
        if (const auto chosen = orders.find(key); chosen != orders.end())
        {
            view.reversed = chosen->second == view.order && !view.reversed;
            view.order = chosen->second;
            view.first = 0;
            return;
        }
        const auto page = static_cast<int64_t>(RoomForGroups(terminal.Rows()));
        switch (key)
        {
        case Terminal::Up:
            Scroll(-1);
            break;
        case Terminal::Down:
            Scroll(1);
            break;
        case Terminal::PageUp:
            Scroll(-page);
            break;
        case Terminal::PageDown:
            Scroll(page);
            break;
        case Terminal::Home:
            view.first = 0;
            break;
        case Terminal::End:
            view.first = AllGroups;
            break;
        default:
            break;
        }
    }

    void Scroll(int64_t groups)
    {
        const auto first = static_cast<int64_t>(view.first) + groups;
        view.first = static_cast<std::size_t>(std::max<int64_t>(first, 0));
    }

    Heard& heard;
    TopView view;
    Terminal terminal;
};

// Until the person ends it, or nothing more comes.
void ShowUntilTheEnd(Screen& screen, const Reading& reading, const System::Signals& signals)
{
    for (bool goesOn = true; goesOn;)
    {
        screen.Show();
        std::array<pollfd, 3> set{
            {{reading.Ended(), POLLIN, 0}, {signals.Descriptor(), POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}}};
        poll(set.data(), set.size(), System::PollTimeout(Clock::now() + DrawEvery));
        while (const int signal = signals.Take())
        {
            screen.OnSignal(signal);
        }
        constexpr short gone = POLLHUP | POLLERR | POLLNVAL;
        goesOn = set[0].revents == 0 && (set[2].revents & gone) == 0 && screen.TakeKeys();
    }
}

Status Show(const TopOptions& options, pid_t guard)
{
    System::EndWithGuard(guard);
    System::BlockSignals(Terminal::Signals);
    const StopSignals stop;
    const System::Signals signals(Terminal::Signals);
    const KnownGroups groups(ReadNames(options.names).groups);
    Filter filter = options.filter;
    filter.Resolve(groups.Addresses());
    Bus bus(options.bus, Bus::For::Messages, stop);
    const Output output;
    Heard heard(groups);
    Reading reading(bus, stop, output, filter, heard);
    TopView view;
    view.way = bus.Name();
    view.order = options.order;
    {
        Screen screen(heard, view);
        ShowUntilTheEnd(screen, reading, signals);
        System::LeaveTerminalWithout(guard);
    }
    reading.Finish();
    return Status::Done;
}

// The terminal is guarded by the process that was started, and shown by its child.
Status Top(const TopOptions& options)
{
    if (!Terminal::IsThere())
    {
        throw Failure(Status::WrongOption,
                      "top needs a terminal that it has for itself; 'monitor --stats' writes lines");
    }
    const pid_t guard = getpid();
    const auto ended = System::GuardTerminal("orvelctl: top was killed");
    return ended ? static_cast<Status>(*ended) : Show(options, guard);
}

} // namespace

void TopOptions::AddTo(Arguments::Parser& parser)
{
    parser.Choice<Order>("--sort", order,
                         {{"group", Order::Address},
                          {"name", Order::Name},
                          {"age", Order::Age},
                          {"rate", Order::Rate},
                          {"count", Order::Count}},
                         "Sort by group, name, age, rate or count, default is: rate");
    names.AddTo(parser);
    filter.AddTo(parser);
    AddBus(parser, bus);
}

Command TopCommand()
{
    return {"top",
            "",
            "show the last value of each group, and the load of the bus",
            "[OPTION...]",
            "Shows in the terminal the last value of each group, how old it is, how many telegrams there were, and the "
            "load of the bus. Keys sort and scroll.\n"
            "\n"
            "  orvelctl top\n"
            "  orvelctl top --group '1/2/*' --sort name",
            Define<TopOptions, Top>};
}

} // namespace OrvelClient
