#pragma once

#include <sys/types.h>

#include <filesystem>
#include <fstream>
#include <string>

// What the kernel tells of a process in its directory below /proc.

inline std::filesystem::path DirectoryOf(pid_t process)
{
    return "/proc/" + std::to_string(process);
}

/// What comes after "key:" and blanks in a file of such lines; empty if there is no such line or file.
inline std::string ValueIn(const std::filesystem::path& file, const std::string& key)
{
    std::ifstream stream(file);
    for (std::string line; std::getline(stream, line);)
    {
        if (line.rfind(key + ":", 0) == 0)
        {
            const std::size_t begin = line.find_first_not_of(" \t", key.size() + 1);
            return begin == std::string::npos ? "" : line.substr(begin);
        }
    }
    return "";
}

/// What its file "status" has of this.
inline std::string StatusOf(pid_t process, const std::string& key)
{
    return ValueIn(DirectoryOf(process) / "status", key);
}

struct ProcessState
{
    char state =
        'X'; ///< 'S' while it sleeps, 'Z' when it has ended and nobody has asked for its exit status; 'X': it is gone
    pid_t parent = -1;
    std::string program; ///< in parentheses; has no blanks
};

/// `process` is the name of its directory; of everything else there is no state.
inline ProcessState StateOf(const std::string& process)
{
    std::ifstream file("/proc/" + process + "/stat");
    pid_t id = -1;
    ProcessState found;
    file >> id >> found.program >> found.state >> found.parent;
    return found;
}

inline ProcessState StateOf(pid_t process)
{
    return StateOf(std::to_string(process));
}
