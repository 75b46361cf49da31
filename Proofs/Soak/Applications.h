#pragma once

#include "Arrivals.h"
#include "BenchKit/Queue.h"
#include "Board.h"
#include "Ledger.h"
#include "Traffic.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <random>
#include <thread>
#include <vector>

/// How far the whole run has come.
struct Progress
{
    std::atomic<long> losses{0};
    std::atomic<long> framesToLink{0};
    std::atomic<long> framesFromLink{0};
    std::atomic<long> buttons{0};
    std::atomic<long> brightness{0};
};

/// The users of a daemon on both sides, each on a thread of its own: applications that write and read frames, set LEDs
/// and read the button; the bus that sends frames; and somebody who presses the button.
class Applications
{
public:
    static constexpr uint32_t Invalid = 0; ///< instead of the number of a frame

    /// What they have sent and received, in order.
    struct Record
    {
        std::vector<uint32_t> sent; ///< accepted by the queue
        std::vector<uint32_t> received;
        std::vector<uint8_t> buttons;
        long pressed = 0;    ///< and released
        long brightness = 0; ///< times that one was set to another value
        long usable = 0;     ///< states of the link
        long lost = 0;
        long strange = 0; ///< messages that nobody has sent
    };

    /// Starts all threads.
    Applications(Simulator::Board& theBoard, const Ledger& theLedger, const Arrivals& theArrivals,
                 const Amounts& theAmounts, Progress& theProgress, uint32_t theSeed);
    ~Applications();

    Applications(const Applications&) = delete;
    Applications& operator=(const Applications&) = delete;

    /// Whether they have done as much as they may do before the next loss.
    bool AreDone() const;

    /// Stops sending; everything is still read.
    void StopSending();

    /// Reads what is left. Call it when the daemon has ended, or after StopSending when nothing comes any more.
    const Record& Finish();

    long Sent() const
    {
        return sent;
    }

    long Received() const
    {
        return received;
    }

    long ButtonsRead() const
    {
        return buttonsRead;
    }

    long Injected() const
    {
        return injected;
    }

    /// Messages that nobody has taken from the queue to the link.
    long Unsent() const
    {
        return toLink->Pending();
    }

    /// What the threads can be told to do.
    void SendInvalid(long messages);
    void Burst(long frames, long buttons); ///< from the co-processor, without waiting for the readers
    void PauseReaders(bool pause);
    void ComeAndGo(bool yes); ///< the readers open their queues again and again

    /// Gives away the reader's queue, which then outlives its daemon. The application cannot be used any more.
    std::unique_ptr<Queue> TakeQueue();

private:
    // What is under way in one direction, so that the sender does not get far ahead of the receiver.
    struct Window
    {
        long lost = 0;
        long told = 0; // states of the link
    };

    bool May(long done, long all) const;
    template<typename Done>
    void KeepBack(Window& window, long count, const Done& done) const;

    void WriteToLink();
    bool SendOneInvalid(std::mt19937& random);
    void InjectFromLink();
    void ReadFromLink();
    void ReadAllFromLink();
    void SetLeds();
    void PressButton();
    void ReadButton();
    void ReadAllFromButton();

    Simulator::Board& board;
    const Ledger& ledger;
    const Arrivals& arrivals;
    const Amounts amounts;
    Progress& progress;
    const uint32_t seed;
    std::unique_ptr<Queue> toLink;
    std::unique_ptr<Queue> fromLink;
    std::unique_ptr<Queue> button;

    std::atomic<bool> sending{true};
    std::atomic<bool> reading{true};
    std::atomic<bool> paused{false};
    std::atomic<bool> comingAndGoing{false};
    std::atomic<long> invalid{0};
    std::atomic<long> burst{0};
    std::atomic<long> buttonBurst{0};
    std::atomic<long> sent{0};
    std::atomic<long> received{0};
    std::atomic<long> buttonsRead{0};
    std::atomic<long> injected{0};
    Record record; // each part of one thread
    std::vector<std::thread> senders;
    std::vector<std::thread> readers;
};
