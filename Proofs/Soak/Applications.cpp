#include "Applications.h"

#include "BenchKit/Messages.h"
#include "Frames.h"
#include "Orvel/Protocol.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <fstream>

using Knx::Bytes;

namespace
{

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr auto MakingLimit = 300s; // until the daemon has made its queues; the machine may be very busy
constexpr auto Nap = 1ms;          // of whoever has nothing to do
constexpr auto Lost = 200ms;       // after this a message that does not arrive no longer keeps another one back
constexpr long MaxOnTheWay = 5;    // messages of a kind; the queues hold more

constexpr uint16_t CemiTopic = 0x100;
constexpr std::array<const char*, 5> Leds{"prg1", "prg2", "system", "knx", "rs485termination"};

long Random(std::mt19937& random, long from, long to)
{
    return std::uniform_int_distribution<long>(from, to)(random);
}

void Sleep()
{
    std::this_thread::sleep_for(Nap);
}

} // namespace

Applications::Applications(Simulator::Board& theBoard, const Ledger& theLedger, const Arrivals& theArrivals,
                           const Amounts& theAmounts, Progress& theProgress, uint32_t theSeed)
    : board(theBoard)
    , ledger(theLedger)
    , arrivals(theArrivals)
    , amounts(theAmounts)
    , progress(theProgress)
    , seed(theSeed)
    , toLink(std::make_unique<Queue>(ORVEL_CEMI_TO_LL_QUEUE, Queue::For::Writing, MakingLimit))
    , fromLink(std::make_unique<Queue>(ORVEL_CEMI_FROM_LL_QUEUE, Queue::For::Reading, MakingLimit))
    , button(std::make_unique<Queue>(ORVEL_PROG_BUTTON_QUEUE, Queue::For::Reading, MakingLimit))
{
    for (const auto work : {&Applications::ReadFromLink, &Applications::ReadButton})
    {
        readers.emplace_back(work, this);
    }
    for (const auto work : {&Applications::WriteToLink, &Applications::InjectFromLink, &Applications::SetLeds,
                            &Applications::PressButton})
    {
        senders.emplace_back(work, this);
    }
}

Applications::~Applications()
{
    Finish();
}

// A tenth of the traffic passes before the first loss of the link, the rest evenly until the last.
bool Applications::May(long done, long all) const
{
    constexpr double Share = 0.1;
    const double losses =
        amounts.losses == 0 ? 1 : static_cast<double>(progress.losses) / static_cast<double>(amounts.losses);
    return static_cast<double>(done) < static_cast<double>(all) * std::min(1.0, Share + losses);
}

bool Applications::AreDone() const
{
    return !May(progress.framesToLink, amounts.frames) && !May(progress.framesFromLink, amounts.frames) &&
           !May(progress.buttons, amounts.buttons) && !May(progress.brightness, amounts.brightness);
}

void Applications::StopSending()
{
    sending = false;
    for (std::thread& thread : senders)
    {
        thread.join();
    }
    senders.clear();
}

const Applications::Record& Applications::Finish()
{
    StopSending();
    reading = false;
    for (std::thread& thread : readers)
    {
        thread.join();
    }
    readers.clear();
    if (fromLink)
    {
        ReadAllFromLink();
    }
    ReadAllFromButton();
    return record;
}

void Applications::SendInvalid(long messages)
{
    invalid += messages;
}

void Applications::Burst(long frames, long buttons)
{
    burst += frames;
    buttonBurst += buttons;
}

void Applications::PauseReaders(bool pause)
{
    paused = pause;
}

void Applications::ComeAndGo(bool yes)
{
    comingAndGoing = yes;
}

std::unique_ptr<Queue> Applications::TakeQueue()
{
    return std::move(fromLink);
}

// Waits until `done` has come close to the count. What does not come for long counts as lost, message by message. When
// the link comes back, everything that has not arrived counts as lost.
template<typename Done>
void Applications::KeepBack(Window& window, long count, const Done& done) const
{
    const auto limit = Clock::now() + Lost;
    while (sending && count - done() - window.lost >= MaxOnTheWay)
    {
        Sleep();
        if (const long told = ledger.Count("states sent"); told != window.told)
        {
            window = {count - done(), told};
        }
        else if (Clock::now() > limit)
        {
            ++window.lost;
        }
    }
}

void Applications::WriteToLink()
{
    std::mt19937 random(seed);
    Window window;
    while (sending)
    {
        if (invalid > 0)
        {
            if (SendOneInvalid(random))
            {
                record.sent.push_back(Invalid);
                ++sent;
                --invalid;
            }
            continue;
        }
        if (!May(progress.framesToLink, amounts.frames))
        {
            Sleep();
            continue;
        }
        const auto number = static_cast<uint32_t>(progress.framesToLink + 1);
        if (!toLink->Send(WithSize(Frames::ToLink(number))))
        {
            Sleep(); // full
            continue;
        }
        record.sent.push_back(number);
        ++sent;
        ++progress.framesToLink;
        const auto arrived = [this]
        { return static_cast<long>(arrivals.Count()) + ledger.Count("invalid") + ledger.Count("empty"); };
        KeepBack(window, sent, arrived);
    }
}

bool Applications::SendOneInvalid(std::mt19937& random)
{
    const std::array<Bytes, 5> messages{Bytes{}, Bytes{0x00}, Bytes{0x00, 0x29, 0x00}, Bytes{0x05, 0x29, 0x00},
                                        Bytes(ORVEL_CEMI_MESSAGE_SIZE, 0x04)};
    return toLink->Send(messages.at(static_cast<std::size_t>(Random(random, 0, messages.size() - 1))));
}

void Applications::InjectFromLink()
{
    Window window;
    while (sending)
    {
        const bool atOnce = burst > 0;
        if (!atOnce && !May(progress.framesFromLink, amounts.frames))
        {
            Sleep();
            continue;
        }
        board.TheCoProcessor().Flood(CemiTopic, Frames::FromLink(static_cast<uint32_t>(progress.framesFromLink + 1)),
                                     1);
        ++progress.framesFromLink;
        ++injected;
        if (atOnce)
        {
            --burst;
            continue;
        }
        KeepBack(window, injected, [this] { return received.load(); });
    }
}

void Applications::ReadFromLink()
{
    while (reading)
    {
        if (!paused)
        {
            ReadAllFromLink();
        }
        if (comingAndGoing)
        {
            fromLink->OpenAgain();
        }
        Sleep();
    }
}

void Applications::ReadAllFromLink()
{
    for (auto message = fromLink->ReceiveNow(); message; message = fromLink->ReceiveNow())
    {
        const Bytes frame(message->begin() + 1, message->end());
        const auto size = static_cast<uint8_t>(frame.size());
        if (message->size() == ORVEL_LINK_STATE_MESSAGE_SIZE && frame[0] == ORVEL_LINK_STATE_CODE)
        {
            const int state = frame[1] << 8U | frame[2];
            ++(state == ORVEL_LINK_STATE_USABLE ? record.usable
               : state == ORVEL_LINK_STATE_LOST ? record.lost
                                                : record.strange);
        }
        else if (message->front() == size && frame.size() >= Frames::HeaderSize &&
                 frame == Frames::FromLink(Frames::Number(frame.data())))
        {
            record.received.push_back(Frames::Number(frame.data()));
            ++received;
        }
        else
        {
            ++record.strange;
        }
    }
}

void Applications::SetLeds()
{
    std::mt19937 random(seed + 1);
    std::array<long, Leds.size()> brightness{};
    while (sending)
    {
        if (!May(progress.brightness, amounts.brightness))
        {
            Sleep();
            continue;
        }
        const auto led = static_cast<std::size_t>(Random(random, 0, Leds.size() - 1));
        brightness.at(led) = (brightness.at(led) + Random(random, 1, 100)) % 101; // another one than before
        std::ofstream file("/sys/class/leds/" + std::string(Leds.at(led)) + "/brightness");
        file << brightness.at(led) << std::flush;
        if (file.good())
        {
            ++record.brightness;
            ++progress.brightness;
        }
    }
}

void Applications::PressButton()
{
    Window window;
    while (sending)
    {
        const bool atOnce = buttonBurst > 0;
        if (!atOnce && !May(progress.buttons, amounts.buttons))
        {
            Sleep();
            continue;
        }
        board.TheCoProcessor().SetButton(++record.pressed % 2 == 1);
        ++progress.buttons;
        if (atOnce)
        {
            --buttonBurst;
            continue;
        }
        KeepBack(window, record.pressed, [this] { return buttonsRead.load(); });
    }
    if (board.TheCoProcessor().SetButton(false)) // for the next daemon
    {
        ++record.pressed;
    }
}

void Applications::ReadButton()
{
    while (reading)
    {
        if (!paused)
        {
            ReadAllFromButton();
        }
        if (comingAndGoing)
        {
            button->OpenAgain();
        }
        Sleep();
    }
}

void Applications::ReadAllFromButton()
{
    for (auto message = button->ReceiveNow(); message; message = button->ReceiveNow())
    {
        record.buttons.push_back(message->at(0));
        ++buttonsRead;
    }
}
