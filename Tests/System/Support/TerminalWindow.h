#pragma once

#include <memory>
#include <string>
#include <vector>

class Daemon;

/// A terminal with a window, as a person has it: tmux, with a server of the test's own.
class TerminalWindow
{
public:
    /// Whether tmux is installed.
    static bool CanBeMade();

    /// Runs `script` with the shell in a window of this size; the window stays when it has ended. Its variable WINDOW is
    /// Directory().
    explicit TerminalWindow(const std::string& script, int rows = 24, int columns = 80);

    /// Ends what runs in it.
    ~TerminalWindow();

    TerminalWindow(const TerminalWindow&) = delete;
    TerminalWindow& operator=(const TerminalWindow&) = delete;

    /// As tmux calls them: "b", "Enter", "C-c".
    void Press(const std::string& key) const;

    void Resize(int rows, int columns) const;

    /// What is visible.
    std::vector<std::string> Rows() const;

    /// Waits until a line contains `text`, also one that has left the window at its top or goes on in another row. When none
    /// does for long, the test fails and prints all.
    bool AwaitText(const std::string& text) const;

    /// Waits until a value of tmux, such as "alternate_on", is this.
    bool AwaitValue(const std::string& name, const std::string& value) const;

    /// A directory that is gone with the window.
    const std::string& Directory() const
    {
        return directory;
    }

private:
    struct Answer
    {
        int status;
        std::vector<std::string> lines;
    };

    Answer Tmux(std::vector<std::string> command) const;
    std::vector<std::string> Ask(const std::vector<std::string>& command) const;

    std::string directory;
    std::unique_ptr<Daemon> server;
};
