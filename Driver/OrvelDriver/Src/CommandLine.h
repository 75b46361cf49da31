#pragma once

#include <cxxopts.hpp>

#include <map>
#include <string>
#include <vector>

namespace OrvelDriver
{

/// The daemon's settings: defaults, overwritten by what Parse finds. Main thread only.
struct CommandLine
{
    bool help = false;
    bool version = false;
    std::string device = "/dev/ttymxc2"; ///< serial device of the link
    std::string logConfigFile;           ///< log4cplus property file; empty selects the built-in console set-up
    std::map<int, std::string> ledNames; ///< name of each virtual LED, by LED key
    std::vector<std::string> progButtonQueues;
    cxxopts::Options options;
    int resetGpio = 3; ///< sysfs number of the GPIO wired to the co-processor's reset
    bool enableRs485 = false;

    CommandLine();

    /// Takes over the given options. False when they were rejected; the parser's line is then on standard output.
    bool Parse(int argc, const char* const* argv);

    /// Both write to standard output and flush.
    void PrintHelp() const;
    void PrintVersion() const;
};

} // namespace OrvelDriver
