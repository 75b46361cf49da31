#pragma once

#include "BenchKit/TemporaryDirectory.h"

#include <memory>
#include <string>
#include <vector>

class Daemon;

/// A terminal with a window, as a person has it: tmux, with its own server for the test.
class TerminalWindow
{
public:
    /// Whether tmux is installed.
    static bool CanBeMade();

    /// Runs `script` with the shell in a window of this size. The window stays when the script has ended. The
    /// script's variable WINDOW is Directory().
    explicit TerminalWindow(const std::string& script, int rows = 24, int columns = 80);

    /// Ends what runs in the window.
    ~TerminalWindow();

    TerminalWindow(const TerminalWindow&) = delete;
    TerminalWindow& operator=(const TerminalWindow&) = delete;

    /// Presses keys by the names that tmux has for them: "b", "Enter", "C-c".
    void Press(const std::string& key) const;

    void Resize(int rows, int columns) const;

    /// What is visible.
    std::vector<std::string> Rows() const;

    /// Waits until a line contains `text`, even if the line has left the window at its top or goes on in
    /// another row. If none does for long, the test fails and prints everything.
    bool AwaitText(const std::string& text) const;

    /// Waits until a value of tmux, such as "alternate_on", is this one.
    bool AwaitValue(const std::string& name, const std::string& value) const;

    /// A directory that is removed with the window.
    const std::string& Directory() const
    {
        return directory.Path().native();
    }

private:
    struct Answer
    {
        int status;
        std::vector<std::string> lines;
    };

    Answer Tmux(std::vector<std::string> command) const;
    std::vector<std::string> Ask(const std::vector<std::string>& command) const;

    TemporaryDirectory directory;
    std::unique_ptr<Daemon> server;
};
