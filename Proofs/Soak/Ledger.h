#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

/// What the daemon says in its log about each message, as an account. Its log has to be in the form of Ledger::Properties.
/// Any thread.
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

    /// The log configuration, and where it is to be, in the board's own directory.
    static const char* Properties();
    static constexpr const char* PropertiesFile = "/dev/soak.properties";

    void OnLine(const std::string& line);

    /// How many lines of a kind there were; the kinds are named in the source.
    long Count(const std::string& kind) const;

    /// In the order of the queue.
    std::vector<Fate> Fates() const;
    std::size_t FateCount() const;

    /// Numbers of the frames that the link library put on the line.
    std::vector<uint32_t> SentOnLine() const;

    /// Numbers of the frames that the daemon put into "/cemiFromLL".
    std::vector<uint32_t> SentToUser() const;

    /// The bytes that it put into "/progButton".
    std::vector<uint8_t> ButtonStates() const;

    /// Lines at WARN and above that are of no kind.
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
