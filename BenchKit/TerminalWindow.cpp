#include "BenchKit/TerminalWindow.h"

#include "BenchKit/Await.h"
#include "BenchKit/Daemon.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

bool TerminalWindow::CanBeMade()
{
    return Daemon({"sh", "-c", "command -v tmux"}, {}).Wait() == 0;
}

// The server stays in the foreground, so that it ends with the test in any case.
TerminalWindow::TerminalWindow(const std::string& script, int rows, int columns)
    : server(std::make_unique<Daemon>(
          std::vector<std::string>{"tmux", "-D", "-S", directory.File("server"), "-f", "/dev/null"},
          Daemon::Environment{{"WINDOW", Directory()}}))
{
    const std::vector<std::string> open{"new-session",        "-d", "-x", std::to_string(columns), "-y",
                                        std::to_string(rows), "cat"};
    if (!Await([&] { return Tmux(open).status == 0; }))
    {
        throw std::runtime_error("tmux opens no window");
    }
    Ask({"set-option", "-g", "remain-on-exit", "on"});
    Ask({"set-option", "-g", "status", "off"});
    Ask({"resize-window", "-x", std::to_string(columns), "-y", std::to_string(rows)});
    Ask({"respawn-pane", "-k", script});
}

TerminalWindow::~TerminalWindow()
{
    Tmux({"kill-server"});
    server->Wait();
}

TerminalWindow::Answer TerminalWindow::Tmux(std::vector<std::string> command) const
{
    const std::vector<std::string> tmux{"tmux", "-N", "-S", directory.File("server")};
    command.insert(command.begin(), tmux.begin(), tmux.end());
    Daemon client(command, {});
    const int status = client.Wait();
    return {status, client.Lines()};
}

std::vector<std::string> TerminalWindow::Ask(const std::vector<std::string>& command) const
{
    const Answer answer = Tmux(command);
    EXPECT_EQ(answer.status, 0) << command[0] << ": " << testing::PrintToString(answer.lines);
    return answer.lines;
}

void TerminalWindow::Press(const std::string& key) const
{
    Ask({"send-keys", key});
}

void TerminalWindow::Resize(int rows, int columns) const
{
    Ask({"resize-window", "-x", std::to_string(columns), "-y", std::to_string(rows)});
}

std::vector<std::string> TerminalWindow::Rows() const
{
    return Ask({"capture-pane", "-p"});
}

bool TerminalWindow::AwaitText(const std::string& text) const
{
    std::vector<std::string> rows;
    const bool found = Await(
        [&]
        {
            rows = Tmux({"capture-pane", "-p", "-J", "-S", "-"}).lines;
            return std::any_of(rows.begin(), rows.end(),
                               [&](const std::string& row) { return row.find(text) != std::string::npos; });
        });
    std::string window;
    for (const std::string& row : rows)
    {
        window += row + '\n';
    }
    EXPECT_TRUE(found) << "not in the window: " << text << "\n" << window;
    return found;
}

bool TerminalWindow::AwaitValue(const std::string& name, const std::string& value) const
{
    return Await(
        [&] {
            return Tmux({"display-message", "-p", "#{" + name + "}"}).lines == std::vector<std::string>{value};
        });
}
