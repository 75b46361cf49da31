#pragma once

#include "BenchKit/Await.h"
#include "BenchKit/ClientProgram.h"
#include "BenchKit/Daemon.h"
#include "BenchKit/Paths.h"
#include "BenchKit/TemporaryDirectory.h"

#include <string>
#include <utility>
#include <vector>

/// A running gateway with a socket of its own.
class GatewayProgram
{
public:
    explicit GatewayProgram(std::vector<std::string> options = {})
        : path(directory.File("gateway"))
        , program(Command(path, std::move(options)), {})
    {
    }

    static std::vector<std::string> Command(const std::string& socket, std::vector<std::string> options)
    {
        options.insert(options.begin(), {Paths::Gateway(), "--socket", socket});
        return options;
    }

    const std::string& Socket() const
    {
        return path;
    }

    Daemon* operator->()
    {
        return &program;
    }

private:
    TemporaryDirectory directory;
    std::string path;
    Daemon program;
};
