#pragma once

#include "BenchKit/Daemon.h"
#include "BenchKit/MadeQueue.h"
#include "BenchKit/Paths.h"
#include "BenchKit/TemporaryDirectory.h"
#include "System/Descriptor.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <string>
#include <vector>

/// What a program wrote before it ended, and its exit status.
struct Outcome
{
    int status;
    std::vector<std::string> lines;
};

/// A running orvelctl, with a pipe to type into.
class ClientProgram
{
public:
    explicit ClientProgram(std::vector<std::string> arguments)
        : ClientProgram(System::Pipe(), Command(std::move(arguments)))
    {
    }

    /// Runs a shell command in which "$ORVELCTL" is the program.
    static ClientProgram InShell(const std::string& command)
    {
        return {System::Pipe(), {"sh", "-c", command}};
    }

    void Type(const std::string& text) const
    {
        EXPECT_EQ(write(input.Number(), text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }

    void EndInput()
    {
        input.Close();
    }

    Outcome End()
    {
        const int status = program.Wait();
        return {status, program.Lines()};
    }

    Daemon* operator->()
    {
        return &program;
    }

private:
    static std::vector<std::string> Command(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), Paths::Client());
        return arguments;
    }

    ClientProgram(System::Pipe pipe, const std::vector<std::string>& command)
        : input(std::move(pipe.writing))
        , program(command, {{"ORVELCTL", Paths::Client()}}, pipe.reading.Number())
    {
        pipe.reading.Close();
    }

    System::Descriptor input;
    Daemon program;
};

/// Runs the program until it ends, with `input` as its standard input.
inline Outcome RunClient(const std::vector<std::string>& arguments, const std::string& input = "")
{
    ClientProgram client(arguments);
    client.Type(input);
    client.EndInput();
    return client.End();
}

/// What a shell command writes to a terminal. "$ORVELCTL" is the program.
inline std::string OnTerminal(const std::string& command)
{
    int number = -1;
    const pid_t child = forkpty(&number, nullptr, nullptr, nullptr);
    if (child == 0)
    {
        setenv("ORVELCTL", Paths::Client().c_str(), 1);
        execlp("sh", "sh", "-c", command.c_str(), nullptr);
        _exit(127);
    }
    System::Descriptor terminal(number);
    std::string text;
    std::array<char, 4096> buffer{};
    for (ssize_t size = 0; (size = read(terminal.Number(), buffer.data(), buffer.size())) > 0;)
    {
        text.append(buffer.data(), static_cast<std::size_t>(size));
    }
    terminal.Close();
    waitpid(child, nullptr, 0);
    return text;
}
