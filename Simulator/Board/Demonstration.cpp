#include "Demonstration.h"

#include "Orvel/Protocol.h"
#include "System/MessageQueue.h"
#include "System/ThrowErrno.h"

#include <poll.h>

#include <array>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <optional>
#include <stdexcept>

namespace Simulator
{

namespace
{

using System::MessageQueue;
using namespace std::chrono_literals;

constexpr auto Patience = 20s;  // with each step, on a busy machine
constexpr auto Glance = 50ms;   // between two looks at whether it has been cancelled
constexpr int MaxRestarts = 10; // each start without LEDs is a rare one

class Walk
{
public:
    Walk(Board& theBoard, EventLog& eventLog, const std::atomic<bool>& isCancelled,
         const std::function<void()>& restartDaemon)
        : board(theBoard)
        , events(eventLog)
        , cancelled(isCancelled)
        , restart(restartDaemon)
    {
    }

    void Run()
    {
        AwaitLeds();
        Await(Event::LinkUp);
        // The daemon opens its queues and registers its LEDs on threads of its own.
        AwaitFile("/dev/mqueue/cemiFromLL", "the daemon opens its queues");
        AwaitFile("/dev/mqueue/progButton", "the daemon opens its queue for the button");
        const MessageQueue fromLink(ORVEL_CEMI_FROM_LL_QUEUE, MessageQueue::For::Reading);
        const MessageQueue button(ORVEL_PROG_BUTTON_QUEUE, MessageQueue::For::Reading);
        Read(fromLink, "the link is usable");
        const MessageQueue toLink(ORVEL_CEMI_TO_LL_QUEUE, MessageQueue::For::Writing);

        Say("an application switches group address 1/2/3 on");
        if (!toLink.Send({0x0b, 0x11, 0x00, 0xbc, 0xe0, 0x00, 0x00, 0x0a, 0x03, 0x01, 0x00, 0x81}))
        {
            System::ThrowErrno("cannot write to " ORVEL_CEMI_TO_LL_QUEUE);
        }
        Read(fromLink, "the confirmation");

        Say("somebody on the bus switches it off");
        board.TheCoProcessor().InjectTelegram({0x29, 0x00, 0xbc, 0xe0, 0x11, 0x01, 0x0a, 0x03, 0x01, 0x00, 0x80});
        Read(fromLink, "the telegram");

        const auto brightness = std::filesystem::path("/sys/class/leds") / NameOfRedKnxLed() / "brightness";
        Say("an application writes 100 to " + brightness.string());
        SetLed(brightness, 100);
        Await(Event{Event::LedOn, RedKnxLed});

        Say("somebody presses the programming button");
        board.TheCoProcessor().SetButton(true);
        Read(button, "pressed");
        board.TheCoProcessor().SetButton(false);
        Read(button, "released");

        Say("the co-processor hangs; the daemon notices, resets it and reconnects");
        board.TheCoProcessor().Hang();
        Await(Event::ResetLineLow);
        Await(Event::LinkUp);
        Read(fromLink, "the link is usable again");
    }

private:
    // Tries again and again; each try takes a glance.
    template<typename Try>
    void Insist(const std::string& what, const Try& succeeds)
    {
        const auto limit = std::chrono::steady_clock::now() + Patience;
        while (!succeeds())
        {
            if (cancelled || std::chrono::steady_clock::now() > limit)
            {
                throw std::runtime_error("this did not happen: " + what);
            }
        }
    }

    void Say(const std::string& step)
    {
        events.Add({Event::Note, step});
    }

    // A kind is any event of that kind, an event that one with its data.
    template<typename KindOrEvent>
    void Await(const KindOrEvent& wanted)
    {
        Insist(TextOf(wanted),
               [&]
               {
                   const std::size_t next = events.Await(wanted, seen, Glance);
                   seen = next != 0 ? next : seen;
                   return next != 0;
               });
    }

    void AwaitLeds()
    {
        for (int restarts = 0; !LedsCome(); ++restarts)
        {
            if (restarts == MaxRestarts)
            {
                throw std::runtime_error("the LEDs never came");
            }
            Say("the daemon is started anew");
            restart();
            // Until then the LEDs and the events are those of the daemon that goes.
            Await(Event::DaemonStarted);
        }
    }

    // False when the board has told that this daemon will have none.
    bool LedsCome()
    {
        bool come = false;
        Insist("the daemon registers its LEDs",
               [&]
               {
                   come = !board.Files().TheUleds().Leds().empty();
                   const std::size_t next = come ? 0 : events.Await(Event::LedsDidNotCome, seen, Glance);
                   seen = next != 0 ? next : seen;
                   return come || next != 0;
               });
        return come;
    }

    // The kernel tells nobody of a new queue or LED.
    void AwaitFile(const std::filesystem::path& file, const std::string& meaning)
    {
        Insist(meaning,
               [&]
               {
                   std::error_code ignored;
                   const bool there = std::filesystem::exists(file, ignored);
                   if (!there)
                   {
                       poll(nullptr, 0, static_cast<int>(Glance.count()));
                   }
                   return there;
               });
    }

    void Read(const MessageQueue& queue, const std::string& meaning)
    {
        std::optional<Bytes> message;
        Insist(meaning, [&] { return (message = queue.ReceiveWithin(Glance)).has_value(); });
        Say("an application reads " + Knx::ToHex(*message) + " (" + meaning + ")");
    }

    // The daemon registers this one first. It bears the name that an option gives it, or its built-in one if the worker came
    // in the moment between the two.
    std::string NameOfRedKnxLed()
    {
        std::string name;
        Insist("the daemon registers its LEDs",
               [&]
               {
                   const auto leds = board.Files().TheUleds().Leds();
                   if (leds.empty())
                   {
                       poll(nullptr, 0, static_cast<int>(Glance.count()));
                       return false;
                   }
                   name = leds.front().name;
                   return true;
               });
        return name;
    }

    void SetLed(const std::filesystem::path& file, int brightness)
    {
        AwaitFile(file, "the LED has its files");
        std::ofstream stream(file);
        stream << brightness << std::endl;
        if (!stream)
        {
            throw std::runtime_error("cannot write to " + file.string());
        }
    }

    Board& board;
    EventLog& events;
    const std::atomic<bool>& cancelled;
    const std::function<void()>& restart;
    std::size_t seen = 0;
};

} // namespace

void Demonstrate(Board& board, EventLog& events, const std::atomic<bool>& cancelled,
                 const std::function<void()>& restart)
{
    try
    {
        Walk(board, events, cancelled, restart).Run();
        events.Add(Event::DemonstrationEnded);
    }
    catch (const std::runtime_error& failure)
    {
        if (!cancelled)
        {
            events.Add({Event::DemonstrationFailed, failure.what()});
        }
    }
}

} // namespace Simulator
