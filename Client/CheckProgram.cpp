#include "CheckProgram.h"

#include "System/Descriptor.h"

#include <fcntl.h>
#include <link.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace OrvelClient
{

namespace
{

using Level = Finding::Level;

constexpr const char* LinkLibrary = "libNemt.so";

// Where the daemon is relative to this program, in an installation and in the build tree.
std::string Beside()
{
    std::error_code ignored;
    const auto own = std::filesystem::read_symlink("/proc/self/exe", ignored).parent_path();
    return (own / ORVEL_DRIVER_FROM_BIN).lexically_normal();
}

std::string ReadToEnd(int descriptor)
{
    std::string text;
    std::array<char, 4096> buffer{};
    for (ssize_t size = 0; (size = read(descriptor, buffer.data(), buffer.size())) > 0;)
    {
        text.append(buffer.data(), static_cast<std::size_t>(size));
    }
    return text;
}

// Whether the loader starts it. Everything else, such as a static program or a script, would run at once.
bool HasLoader(const std::string& program)
{
    std::ifstream file(program, std::ios::binary);
    ElfW(Ehdr) header{};
    file.read(reinterpret_cast<char*>(&header), sizeof(header));
    if (!file || std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0)
    {
        return false;
    }
    file.seekg(static_cast<std::streamoff>(header.e_phoff));
    ElfW(Phdr) part{};
    for (int count = 0; count < header.e_phnum && file.read(reinterpret_cast<char*>(&part), sizeof(part)); ++count)
    {
        if (part.p_type == PT_INTERP)
        {
            return true;
        }
    }
    return false;
}

// What the loader says about the libraries of a program, without running it. `error` is why it could not even try.
std::string Trace(const std::string& program, int& error)
{
    System::Pipe output;
    const pid_t child = fork();
    if (child == 0)
    {
        for (const char* const variable : {"LD_TRACE_LOADED_OBJECTS", "LD_WARN", "LD_BIND_NOW"})
        {
            setenv(variable, "1", 1);
        }
        dup2(output.writing.Number(), STDOUT_FILENO);
        dup2(output.writing.Number(), STDERR_FILENO);
        execl(program.c_str(), program.c_str(), nullptr);
        const int reason = errno;
        _exit(reason);
    }
    output.writing.Close();
    std::string text = child == -1 ? "" : ReadToEnd(output.reading.Number());
    int status = 0;
    error = child == -1 ? EAGAIN : 0;
    if (child != -1 && waitpid(child, &status, 0) == child && text.empty())
    {
        error = WIFEXITED(status) && WEXITSTATUS(status) != 0 ? WEXITSTATUS(status) : ENOEXEC;
    }
    return text;
}

// Takes apart lines such as "libNemt.so => /usr/lib/libNemt.so (0x7f...)" and "undefined symbol: name (program)".
Findings Evaluate(const std::string& trace)
{
    Findings findings;
    std::string link;         // where the loader has found the link library
    std::string firstLacking; // symbol
    int lacking = 0;
    std::istringstream lines(trace);
    for (std::string line; std::getline(lines, line);)
    {
        static const std::string undefined = "undefined symbol: ";
        static const std::string unusable = "error while loading shared libraries: ";
        line.erase(0, line.find_first_not_of(" \t"));
        const std::string library = line.substr(0, line.find(' '));
        const auto arrow = line.find(" => ");
        if (const auto error = line.find(unusable); error != std::string::npos)
        {
            findings.push_back(
                {Level::Failure, LinkLibrary, "cannot be loaded: " + line.substr(error + unusable.size())});
        }
        else if (line.rfind(undefined, 0) == 0)
        {
            const std::string symbol = line.substr(undefined.size());
            firstLacking = lacking++ == 0 ? symbol.substr(0, symbol.find_first_of(" \t")) : firstLacking;
        }
        else if (arrow != std::string::npos && line.find("not found", arrow) != std::string::npos)
        {
            findings.push_back({Level::Failure, library,
                                "is not found: install it where the loader looks (ldconfig), or set LD_LIBRARY_PATH"});
        }
        else if (arrow != std::string::npos && library == LinkLibrary)
        {
            link = line.substr(arrow + 4, line.rfind(" (") - arrow - 4);
        }
    }
    if (!findings.empty())
    {
        return findings; // what is undefined would be in there
    }
    if (link.empty())
    {
        return {{Level::Failure, LinkLibrary, "is not what this program asks for: is it the daemon?"}};
    }
    if (lacking > 0)
    {
        return {{Level::Failure, LinkLibrary,
                 link + " is for another version of the daemon: " + std::to_string(lacking) +
                     " undefined symbols, such as " + firstLacking}};
    }
    return {{Level::Ok, LinkLibrary, "is " + link}};
}

} // namespace

Findings CheckProgram(const std::string& driver)
{
    const std::string program = driver.empty() ? Beside() : driver;
    if (access(program.c_str(), X_OK) == -1)
    {
        return {{Level::Failure, "daemon",
                 program + " cannot be run: " + strerror(errno) + "; --driver says where the daemon is"}};
    }
    if (!HasLoader(program))
    {
        return {{Level::Failure, "daemon", program + " is no dynamically linked program: is it the daemon?"}};
    }
    int error = 0;
    const std::string trace = Trace(program, error);
    if (trace.empty())
    {
        return {{Level::Failure, "daemon", program + " cannot be run: " + strerror(error)}};
    }
    Findings findings{{Level::Ok, "daemon", "is " + program}};
    for (const Finding& finding : Evaluate(trace))
    {
        findings.push_back(finding);
    }
    return findings;
}

} // namespace OrvelClient
