#pragma once

#include "Messages.h"

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

/// What the daemons have put into their queues for applications, as their logs tell. OnLine and OnEnd come from any thread.
class DaemonLog
{
public:
    struct Entry
    {
        Messages::Item item;
        bool isSure; ///< or the daemon was killed while it put the frame into its queue
    };

    /// So many lines of each kind.
    struct Counts
    {
        long full = 0;      ///< no room for a frame in the queue
        long refused = 0;   ///< frames to the link that it did not take
        long invalid = 0;   ///< messages that no application may send
        long listeners = 0; ///< that have registered: two of each daemon
    };

    /// The log configuration that this needs.
    static const char* Properties();

    void OnLine(const std::string& line);

    /// A daemon has ended, and all its lines have been told.
    void OnEnd();

    /// The frames since the last time, in their order.
    std::vector<Entry> TakeFrames();

    Counts Count() const;

private:
    mutable std::mutex mutex;
    std::string receiver; // the thread of the link library
    Entry last{};         // frame that it received
    bool isOpen = false;  // nobody has told yet what became of that
    std::vector<Entry> frames;
    Counts counts;
};
