#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

/// An account of what the daemon's log says about each message. The log must have the form of Ledger::Properties. Any
/// thread may call.
class Ledger
{
public:
    /// What became of a message that the daemon took from "/cemiToLL".
    enum class Fate : uint8_t
    {
        Enqueued,
        Refused, ///< by the link
        Invalid,
        Empty
    };

    /// The log configuration, and its place in the board's own directory.
    static const char* Properties();
    static constexpr const char* PropertiesFile = "/dev/soak.properties";

    void OnLine(const std::string& line);

    /// How many lines of a kind there were; the source names the kinds.
    long Count(const std::string& kind) const;

    /// The messages, in the order of the queue.
    std::vector<Fate> Fates() const;
    std::size_t FateCount() const;

    /// Numbers of the frames that the link library put on the line.
    std::vector<uint32_t> SentOnLine() const;

    /// Numbers of the frames that the daemon put into "/cemiFromLL".
    std::vector<uint32_t> SentToUser() const;

    /// The bytes that it put into "/progButton".
    std::vector<uint8_t> ButtonStates() const;

    /// Lines at WARN and above that belong to no kind.
    std::vector<std::string> Unexpected() const;

private:
    void Enter(const std::string& kind, const std::string& rest, bool mainThread);

    mutable std::mutex mutex;
    std::string mainThreadName; // which logs first
    std::map<std::string, long> counts;
    std::vector<Fate> fates;
    std::vector<uint32_t> sentOnLine;
    std::vector<uint32_t> sentToUser;
    std::vector<uint8_t> buttonStates;
    std::vector<std::string> unexpected;
    uint32_t receivedFrame = 0; // the last one that the library handed over
};
