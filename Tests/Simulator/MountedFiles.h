#pragma once

#include "KernelFiles.h"

#include "BenchKit/Await.h"
#include "System/Descriptor.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <linux/uleds.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

/// What the tests of the mounted files have in common.
namespace MountedFiles
{

namespace fs = std::filesystem;

constexpr long RecordSize = 68;
constexpr short DriverEvents = POLLIN | POLLPRI | POLLRDBAND;
constexpr short AllEvents = DriverEvents | POLLERR | POLLHUP;

class Directory
{
public:
    Directory()
    {
        std::string name = (fs::temp_directory_path() / "orvel-test-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr)
        {
            throw std::runtime_error("cannot create a directory");
        }
        path = name;
    }

    ~Directory()
    {
        rmdir(path.c_str());
    }

    Directory(const Directory&) = delete;
    Directory& operator=(const Directory&) = delete;

    fs::path path;
};

class File
{
public:
    File(const fs::path& path, int flags)
        : descriptor(open(path.c_str(), flags | O_CLOEXEC, 0))
        , error(descriptor.IsOpen() ? 0 : errno)
    {
    }

    void Close()
    {
        descriptor.Close();
    }

    /// The count, or the error negated.
    long Write(const std::string& text) const
    {
        const ssize_t count = write(descriptor.Number(), text.data(), text.size());
        return count == -1 ? -errno : count;
    }

    System::Descriptor descriptor;
    int error;
};

/// The error that opening or writing gives; 0 when both go well.
inline int WriteTo(const fs::path& path, const std::string& text)
{
    const File file(path, O_WRONLY);
    const long result = file.error != 0 ? -file.error : file.Write(text);
    return result < 0 ? static_cast<int>(-result) : 0;
}

inline std::string ReadFrom(const fs::path& path)
{
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline std::vector<std::string> Names(const fs::path& directory)
{
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(directory))
    {
        names.push_back(entry.path().filename());
    }
    return names;
}

inline std::string Record(const std::string& name, int maxBrightness = 100)
{
    uleds_user_dev record{};
    name.copy(record.name, sizeof(record.name));
    record.max_brightness = maxBrightness;
    return {reinterpret_cast<const char*>(&record), sizeof(record)};
}

/// A handle of the device. The results are values, or errors negated.
class Handle : public File
{
public:
    explicit Handle(const fs::path& device, int flags = O_NONBLOCK)
        : File(device, O_RDWR | flags)
    {
    }

    long Register(const std::string& name, int maxBrightness = 100) const
    {
        return Write(Record(name, maxBrightness));
    }

    /// The brightness; what is not a whole report is an error.
    long Read() const
    {
        int32_t brightness = 0;
        const ssize_t count = read(descriptor.Number(), &brightness, sizeof(brightness));
        return count == sizeof(brightness) ? brightness : count == -1 ? -errno : -ENODATA;
    }

    /// The count of bytes, for a read of so many.
    long ReadBytes(std::size_t size) const
    {
        std::string buffer(size, '\0');
        const ssize_t count = read(descriptor.Number(), buffer.data(), size);
        return count == -1 ? -errno : count;
    }

    short Poll(int timeout = 0, short events = DriverEvents) const
    {
        pollfd set{descriptor.Number(), events, 0};
        return poll(&set, 1, timeout) == -1 ? short{-1} : set.revents;
    }
};

/// Another process.
class Child
{
public:
    enum class Inherits
    {
        Nothing, // not the connection to the kernel either
        Everything
    };

    explicit Child(const std::function<int()>& function, Inherits inherits = Inherits::Nothing)
        : pid(fork())
    {
        if (pid == 0)
        {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            if (inherits == Inherits::Nothing)
            {
                close_range(STDERR_FILENO + 1, ~0U, 0);
            }
            _exit(function());
        }
    }

    ~Child()
    {
        if (pid > 0)
        {
            kill(pid, SIGKILL);
            Wait();
        }
    }

    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    /// The exit status, or 128 and the signal.
    int Wait()
    {
        int status = 0;
        waitpid(std::exchange(pid, -1), &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }

    pid_t pid;
};

class Mounted : public testing::Test
{
protected:
    fs::path At(const std::string& path) const
    {
        return directory.path / path;
    }

    bool HasLed(const std::string& name) const
    {
        return fs::exists(At("class/leds/" + name));
    }

    int SetBrightness(const std::string& led, const std::string& text) const
    {
        return WriteTo(At("class/leds/" + led + "/brightness"), text);
    }

    unsigned Calls(Simulator::Operation operation)
    {
        return files->TheFaults().Calls(operation);
    }

    bool AwaitCalls(Simulator::Operation operation, unsigned count)
    {
        return Await([&] { return Calls(operation) >= count; });
    }

    /// Pin, driven, high.
    std::vector<std::tuple<int, bool, bool>> PinChanges()
    {
        const std::lock_guard<std::mutex> lock(mutex);
        return pinChanges;
    }

    std::vector<std::pair<std::string, bool>> LedChanges()
    {
        const std::lock_guard<std::mutex> lock(mutex);
        return ledChanges;
    }

private:
    Simulator::KernelFiles::Listeners Listeners()
    {
        return {[this](int pin, bool driven, bool high)
                {
                    const std::lock_guard<std::mutex> lock(mutex);
                    pinChanges.emplace_back(pin, driven, high);
                },
                [this](const std::string& name, bool present)
                {
                    const std::lock_guard<std::mutex> lock(mutex);
                    ledChanges.emplace_back(name, present);
                }};
    }

    std::mutex mutex;
    std::vector<std::tuple<int, bool, bool>> pinChanges;
    std::vector<std::pair<std::string, bool>> ledChanges;

protected:
    Directory directory;
    std::unique_ptr<Simulator::KernelFiles> files =
        std::make_unique<Simulator::KernelFiles>(directory.path, Listeners());
};

} // namespace MountedFiles
