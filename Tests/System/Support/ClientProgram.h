#pragma once

#include "Daemon.h"
#include "Knx/HexDigits.h"
#include "System/Descriptor.h"
#include "System/MessageQueue.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>
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
        arguments.insert(arguments.begin(), CLIENT);
        return arguments;
    }

    ClientProgram(System::Pipe pipe, const std::vector<std::string>& command)
        : input(std::move(pipe.writing))
        , program(command, {{"ORVELCTL", CLIENT}}, pipe.reading.Number())
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
        setenv("ORVELCTL", CLIENT, 1);
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

/// A directory that is removed with this object.
class TemporaryDirectory
{
public:
    TemporaryDirectory()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "orvelctl-XXXXXX").string();
        path = mkdtemp(pattern.data());
    }

    ~TemporaryDirectory()
    {
        std::filesystem::remove_all(path);
    }

    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    std::string File(const std::string& name) const
    {
        return path / name;
    }

private:
    std::filesystem::path path;
};

/// A queue that the test makes in the daemon's place.
class MadeQueue
{
public:
    explicit MadeQueue(const std::string& name, long messages = 14, long size = 261, mode_t mode = 0644)
        : queue(name, System::MessageQueue::For::Both, messages, size, mode)
    {
    }

    void Put(const Knx::Bytes& message) const
    {
        EXPECT_TRUE(queue.Send(message)) << Knx::ToHex(message);
    }

    /// A frame with its size byte.
    void PutFrame(const std::string& hex) const
    {
        auto message = Knx::FromHex(hex);
        message.insert(message.begin(), static_cast<uint8_t>(message.size()));
        Put(message);
    }

    /// The next message as hexadecimal digits; "nothing" if there is none.
    std::string Take() const
    {
        const auto message = queue.Receive();
        return message ? Knx::ToHex(*message) : "nothing";
    }

    long Waiting() const
    {
        return queue.Pending();
    }

private:
    System::OwnMessageQueue queue;
};
