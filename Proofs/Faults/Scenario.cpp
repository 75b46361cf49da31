#include "Scenario.h"

#include "BenchKit/Await.h"
#include "BenchKit/Daemon.h"
#include "BenchKit/Messages.h"
#include "BenchKit/Paths.h"
#include "Board.h"
#include "Trial.h"

#include "System/MessageQueue.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>

using Knx::Bytes;
using Simulator::Event;
using System::MessageQueue;

namespace
{

constexpr int ResetGpio = 3;
constexpr int RoundsBeforeLoss = 2;
constexpr int MaxRounds = 40;                 // until the call that is to fail has come
constexpr const char* Usable = "03 b9 00 01"; // the state of the link
const Point Period{"clock_nanosleep", "250ms"};
const Point Direction{"openat", "/sys/class/gpio/gpio3/direction"};

// An application's end of a queue, opened as soon as the queue exists.
class Application
{
public:
    Application(const char* queueName, MessageQueue::For queueAccess)
        : name(queueName)
        , access(queueAccess)
    {
    }

    bool Open()
    {
        if (!queue)
        {
            queue = MessageQueue::TryOpen(name, access);
        }
        return queue.has_value();
    }

    bool Send(const Bytes& message) const
    {
        return queue && queue->Send(message);
    }

    std::optional<Bytes> Receive() const
    {
        return queue ? queue->Receive() : std::nullopt;
    }

private:
    const char* const name;
    const MessageQueue::For access;
    std::optional<MessageQueue> queue;
};

class Scenario : private Trial
{
public:
    Scenario(const std::optional<Watch::Plan>& plan, const Expectation& theExpectation)
        : Trial(plan, theExpectation)
        , board(events, ResetGpio)
    {
    }

    Report Play()
    {
        // Applications left two frames while no daemon was running.
        const System::OwnMessageQueue left("/cemiToLL", MessageQueue::For::Writing, 14, 261);
        left.Send({0x02, 0xEE, 0x01});
        left.Send({0x02, 0xEE, 0x02});
        Daemon daemon(watch.Command({Paths::Driver()}), {{"LD_LIBRARY_PATH", Paths::StandInLibrary()}});
        Begin(daemon);
        PlayTraffic();
        End(daemon);
        Collect(daemon);
        return report;
    }

private:
    void PlayTraffic()
    {
        report.deliveries["state"].sent = {Usable};
        const auto isOpen = [&] { return fromLink.Open() && button.Open() && toLink.Open() && HasAllStates(); };
        if (!Step(isOpen))
        {
            return;
        }
        const auto triesLeds = [&] { return watch.Calls({"openat", "/dev/uleds"}) == 4 || WillEnd() || HasEnded(); };
        report.disturbed = !Await(triesLeds, GivingUp);
        if (report.disturbed || !Step([&] { return Leds().size() >= 4; }))
        {
            return;
        }
        while (round < RoundsBeforeLoss)
        {
            if (!PlayRound())
            {
                return;
            }
        }
        if (!LoseLink())
        {
            return;
        }
        do
        {
            if (!PlayRound())
            {
                return;
            }
        } while (IsAwaited() && round < MaxRounds);
    }

    // One message each way, an LED, a press of the button.
    bool PlayRound()
    {
        const auto number = static_cast<uint8_t>(++round);
        const bool on = round % 2 == 1;
        return SendToLink({0x02, 0xF0, number}) && SendFromLink({0x29, number}) && SetLed(on) &&
               PressButton(true, "00") && PressButton(false, "01");
    }

    bool SendToLink(const Bytes& message)
    {
        const std::string frame = Knx::ToHex({message.begin() + 1, message.end()});
        report.deliveries["to"].sent.push_back(frame);
        return Step([&] { return toLink.Send(message); }) && Step([&] { return Has(ToKnx(), frame); });
    }

    bool SendFromLink(const Bytes& frame)
    {
        board.TheCoProcessor().InjectTelegram(frame);
        const std::string message = Knx::ToHex(WithSize(frame));
        report.deliveries["from"].sent.push_back(message);
        return Step([&] { return Received("from", message); });
    }

    bool SetLed(bool on)
    {
        std::ofstream("/sys/class/leds/prg1/brightness") << (on ? 100 : 0);
        auto& sent = report.deliveries["led"].sent;
        sent.emplace_back(on ? "on" : "off");
        return Step([&] { return RedKnx().size() == sent.size() + 1; }); // the first was at its registration
    }

    bool PressButton(bool pressed, const char* message)
    {
        board.TheCoProcessor().SetButton(pressed);
        Delivery& delivery = report.deliveries["button"];
        delivery.sent.emplace_back(message);
        const auto isReceived = [&]
        {
            const auto state = button.Receive();
            if (state)
            {
                delivery.received.push_back(Knx::ToHex(*state));
            }
            return state.has_value();
        };
        return Step(isReceived);
    }

    // Until the daemon resets the co-processor.
    bool LoseLink()
    {
        report.deliveries["state"].sent.emplace_back(Usable);
        const unsigned before = watch.Calls(Direction);
        board.TheCoProcessor().SetDead(true);
        const bool noticed = Step([&] { return watch.Calls(Direction) > before; });
        board.TheCoProcessor().SetDead(false);
        return noticed && Step([&] { return HasAllStates(); });
    }

    void End(Daemon& daemon)
    {
        unsigned sleeps = watch.CallsWhenStruck(Period);
        Trial::End(daemon,
                   [&]
                   {
                       // A wrongly set flag would show in the meantime.
                       const unsigned before = watch.Calls(Period);
                       Await([&] { return HasEnded() || watch.Struck() == 0 || watch.Calls(Period) >= before + 2; },
                             HangLimit);
                       sleeps = watch.Calls(Period);
                   });
        report.sleepsToEnd = watch.Calls(Period) - sleeps;
    }

    void Collect(const Daemon& daemon)
    {
        Received("from", "");
        const Delivery& states = report.deliveries["state"];
        report.disturbed = report.disturbed || states.received.size() > states.sent.size() ||
                           daemon.Count("ERROR Main Failed to reconnect to STM32, aborting.") > 0;
        report.deliveries["to"].received = ToKnx();
        auto& led = report.deliveries["led"];
        led.received = RedKnx();
        if (!led.received.empty())
        {
            led.received.erase(led.received.begin()); // what the LED was when it was registered
        }
        for (const std::string& line : daemon.LogLines())
        {
            const bool isFailure =
                line.rfind("ERROR", 0) == 0 || line.rfind("FATAL", 0) == 0 || line.rfind("WARN", 0) == 0;
            const bool isOther = line.find(" Nemt ") != std::string::npos ||
                                 line == "ERROR Main Lost connection to STM32, resetting and trying to reconnect.";
            if (isFailure && !isOther)
            {
                report.lines.push_back(line);
            }
        }
        for (const auto& queue : std::filesystem::directory_iterator("/dev/mqueue"))
        {
            report.left.push_back("/" + queue.path().filename().string());
        }
        CollectCalls();
        report.ends = {255};
    }

    // The application reads everything that is there. Returns whether it has this message now.
    bool Received(const std::string& what, const std::string& message)
    {
        for (auto next = fromLink.Receive(); next; next = fromLink.Receive())
        {
            const std::string kind = next->size() == 4 && next->at(1) == 0xB9 ? "state" : "from";
            report.deliveries[kind].received.push_back(Knx::ToHex(*next));
        }
        const auto& received = report.deliveries[what].received;
        return !received.empty() && received.back() == message;
    }

    bool HasAllStates()
    {
        Received("state", "");
        const Delivery& states = report.deliveries["state"];
        return states.received.size() >= states.sent.size();
    }

    // The frames that have come to KNX.
    std::vector<std::string> ToKnx() const
    {
        std::vector<std::string> frames;
        for (const Event& event : events.Events())
        {
            if (event.kind == Event::TelegramToKnx)
            {
                frames.push_back(Knx::ToHex(event.bytes));
            }
        }
        return frames;
    }

    // Of every LED.
    std::vector<Event> Leds() const
    {
        std::vector<Event> states = events.Events();
        states.erase(std::remove_if(states.begin(), states.end(),
                                    [](const Event& event)
                                    { return event.kind != Event::LedOn && event.kind != Event::LedOff; }),
                     states.end());
        return states;
    }

    // What the red KNX LED was, one after the other.
    std::vector<std::string> RedKnx() const
    {
        std::vector<std::string> states;
        for (const Event& event : Leds())
        {
            if (event.number == Simulator::RedKnxLed)
            {
                states.emplace_back(event.kind == Event::LedOn ? "on" : "off");
            }
        }
        return states;
    }

    static bool Has(const std::vector<std::string>& all, const std::string& one)
    {
        return std::find(all.begin(), all.end(), one) != all.end();
    }

    Simulator::EventLog events;
    Simulator::Board board;
    Application fromLink{"/cemiFromLL", MessageQueue::For::Reading};
    Application toLink{"/cemiToLL", MessageQueue::For::Writing};
    Application button{"/progButton", MessageQueue::For::Reading};
    int round = 0;
};

} // namespace

Report RunDaemon(const std::optional<Watch::Plan>& plan, const Expectation& expectation)
{
    return Scenario(plan, expectation).Play();
}
