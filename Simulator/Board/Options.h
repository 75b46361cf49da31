#pragma once

#include "KnxIp.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace Simulator
{

/// What was asked of orvel-board.
struct Options
{
    enum class Mode
    {
        Run,  ///< start the board and the daemon
        Exec, ///< run `command` on a running board, which may be a shell
        List, ///< tell the running boards
        Print ///< `text`
    };

    Mode mode = Mode::Run;
    std::string name = "board";
    int resetGpio = 3;
    bool demo = false;
    bool plain = false; ///< lines, also in a terminal
    bool json = false;  ///< these lines as JSON; implies plain
    std::optional<KnxIp::Settings> knxIp;
    std::optional<std::string> names;   ///< the file with the names of group addresses
    std::optional<std::string> devices; ///< the file with the devices on the bus
    std::filesystem::path driver;       ///< the daemon
    std::filesystem::path library;      ///< directory of the link library that it loads
    bool gateway = false;               ///< run it too
    std::filesystem::path gatewayProgram;
    std::vector<std::string> command; ///< behind "--": the daemon's options, or the program and its arguments
    std::string text;                 ///< the help or the version
};

/// Throws std::runtime_error with one line when the options are wrong.
Options ParseOptions(int argc, const char* const* argv);

} // namespace Simulator
