#pragma once

#include "Table.h"
#include "Watch.h"

#include <map>
#include <string>
#include <vector>

/// The messages of one kind, in order.
struct Delivery
{
    std::vector<std::string> sent;
    std::vector<std::string> received;
};

/// What the daemon did in a run.
struct Report
{
    bool hung = false; ///< it had to be killed
    int status = 0;    ///< 128 and the signal's number when it was killed by one

    /// The run says nothing about the daemon: the LED worker came before its table, or the machine was so busy that the
    /// link was lost although nothing cut it.
    bool disturbed = false;
    std::map<std::string, Delivery> deliveries; ///< "to", "from", "state", "button", "led"
    std::vector<std::string> lines; ///< at WARN and above, of the daemon's own loggers, less those of lost links
    std::vector<std::string> queuesLeft;
    unsigned struck = 0;
    Point callBehind;
    std::size_t threadsAtExit = 0;
    unsigned sleepsToEnd = 0; ///< periods that the main thread began between what ended the daemon and its end
    std::chrono::milliseconds timeToEnd{0};
    std::map<Point, unsigned> calls;
};

/// Runs the daemon on a board of its own from start to end: frames in the queue from before the start, traffic in all
/// directions, a link that is lost and recovers, SIGINT. `expectation` says how the run will end.
Report Run(const std::optional<Watch::Plan>& plan, const Expectation& expectation);
