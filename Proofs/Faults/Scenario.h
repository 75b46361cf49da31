#pragma once

#include "Expectations.h"
#include "Watch.h"

#include <map>
#include <set>
#include <string>
#include <vector>

/// The messages of one kind, in order.
struct Delivery
{
    std::vector<std::string> sent;
    std::vector<std::string> received;
};

/// What the program did in a run.
struct Report
{
    bool hung = false;  ///< it had to be killed
    int status = 0;     ///< 128 and the signal's number when it was killed by one
    std::set<int> ends; ///< the statuses with which it ends by itself

    /// The run says nothing about the daemon: the LED worker came before its table, or the machine was so busy that the
    /// link was lost although nothing cut it.
    bool disturbed = false;
    std::map<std::string, Delivery> deliveries; ///< by what it is: "to", "from", "state", ...
    std::vector<std::string> lines; ///< at WARN and above, of the program's own loggers, less those of every run
    std::vector<std::string> left;  ///< queues, or files
    unsigned struck = 0;
    Point callBehind;
    std::size_t threadsAtExit = 0;
    unsigned sleepsToEnd = 0; ///< periods that the main thread began between what ended the daemon and its end
    std::chrono::milliseconds timeToEnd{0};
    std::map<Point, unsigned> calls;
};

/// Runs the daemon on a board of its own from start to end: frames in the queue from before the start, traffic in all
/// directions, a link that is lost and recovers, SIGINT. `expectation` says how the run will end.
Report RunDaemon(const std::optional<Watch::Plan>& plan, const Expectation& expectation);

/// Runs the gateway from start to end, with metrics and in a network of its own: a socket that a killed gateway has left,
/// programs before there is a daemon, queues that a test makes in the daemon's place, traffic in all directions, programs that
/// come and go, queues that are made anew, SIGINT.
Report RunGateway(const std::optional<Watch::Plan>& plan, const Expectation& expectation);

/// The same, with a socket that the service manager has made.
Report RunActivatedGateway(const std::optional<Watch::Plan>& plan, const Expectation& expectation);
