#pragma once

#include "Daemon.h"
#include "Knx/HexDigits.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <mqueue.h>
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
        : ClientProgram(MakePipe(), Command(std::move(arguments)))
    {
    }

    /// Runs a shell command in which "$ORVELCTL" is the program.
    static ClientProgram InShell(const std::string& command)
    {
        return {MakePipe(), {"sh", "-c", command}};
    }

    ~ClientProgram()
    {
        close(input);
    }

    ClientProgram(const ClientProgram&) = delete;
    ClientProgram& operator=(const ClientProgram&) = delete;

    void Type(const std::string& text) const
    {
        EXPECT_EQ(write(input, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }

    void EndInput()
    {
        close(input);
        input = -1;
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
    static std::array<int, 2> MakePipe()
    {
        std::array<int, 2> ends{};
        EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
        return ends;
    }

    static std::vector<std::string> Command(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), CLIENT);
        return arguments;
    }

    ClientProgram(std::array<int, 2> ends, const std::vector<std::string>& command)
        : input(ends[1])
        , program(command, {{"ORVELCTL", CLIENT}}, ends[0])
    {
        close(ends[0]);
    }

    int input;
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
    int terminal = -1;
    const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
    if (child == 0)
    {
        setenv("ORVELCTL", CLIENT, 1);
        execlp("sh", "sh", "-c", command.c_str(), nullptr);
        _exit(127);
    }
    std::string text;
    std::array<char, 4096> buffer{};
    for (ssize_t size = 0; (size = read(terminal, buffer.data(), buffer.size())) > 0;)
    {
        text.append(buffer.data(), static_cast<std::size_t>(size));
    }
    close(terminal);
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
    explicit MadeQueue(std::string queueName, long messages = 14, long size = 261, mode_t mode = 0644)
        : name(std::move(queueName))
    {
        mq_attr attributes{};
        attributes.mq_maxmsg = messages;
        attributes.mq_msgsize = size;
        queue = mq_open(name.c_str(), O_CREAT | O_EXCL | O_RDWR | O_NONBLOCK | O_CLOEXEC, mode, &attributes);
        EXPECT_NE(queue, -1) << name;
    }

    ~MadeQueue()
    {
        mq_close(queue);
        mq_unlink(name.c_str());
    }

    MadeQueue(const MadeQueue&) = delete;
    MadeQueue& operator=(const MadeQueue&) = delete;

    void Put(const Knx::Bytes& message) const
    {
        const std::string bytes(message.begin(), message.end()); // has an address also when it is empty
        EXPECT_EQ(mq_send(queue, bytes.data(), bytes.size(), 0), 0) << name;
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
        Knx::Bytes message(8192);
        const ssize_t size = mq_receive(queue, reinterpret_cast<char*>(message.data()), message.size(), nullptr);
        if (size == -1)
        {
            return "nothing";
        }
        message.resize(static_cast<std::size_t>(size));
        return Knx::ToHex(message);
    }

    long Waiting() const
    {
        mq_attr attributes{};
        mq_getattr(queue, &attributes);
        return attributes.mq_curmsgs;
    }

private:
    std::string name;
    mqd_t queue;
};
