#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

/// What does not add up, in one line. It ends the proof.
class Mismatch : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// All requests of all programs, by number; 0 is none.
class Requests
{
public:
    using Clock = std::chrono::steady_clock;

    enum class Fate : uint8_t
    {
        Open,
        Confirmed,
        Refused,
        Unknown ///< the program or the gateway ended before
    };

    struct Request
    {
        uint32_t connection; ///< of its sender
        uint32_t trouble;    ///< how often daemon or link had gone when it was sent
        Clock::time_point sentAt;
        Fate fate = Fate::Open;
        bool hasArrived = false; ///< on the bus
    };

    /// The number that the next one has.
    uint32_t Next() const
    {
        return static_cast<uint32_t>(all.size());
    }

    /// `sentAt`: or later.
    void Add(uint32_t connection, uint32_t trouble, Clock::time_point sentAt)
    {
        all.push_back({connection, trouble, sentAt});
    }

    Request& At(uint32_t number)
    {
        if (number == 0 || number >= all.size())
        {
            throw Mismatch("request " + std::to_string(number) + " was never sent");
        }
        return all[number];
    }

    /// The bus has it.
    void Arrive(uint32_t number)
    {
        Request& request = At(number);
        lastArrived.resize(std::max<std::size_t>(lastArrived.size(), request.connection + 1), 0);
        uint32_t& last = lastArrived[request.connection];
        if (number <= last)
        {
            throw Mismatch("request " + std::to_string(number) + " arrives on the bus " +
                           (request.hasArrived ? "twice"
                                               : "behind request " + std::to_string(last) +
                                                     " of the same program, which was sent after it"));
        }
        last = number;
        request.hasArrived = true;
    }

    /// The machine was so busy that the gateway's time for this request was over before the bus had confirmed it.
    void BeSlow(const Request& request)
    {
        slow = request.trouble;
    }

    /// Whether that happened to a request that was sent between the same troubles.
    bool WasSlow(const Request& request) const
    {
        return slow == request.trouble;
    }

private:
    std::vector<Request> all = std::vector<Request>(1);
    std::vector<uint32_t> lastArrived; // by connection
    uint32_t slow = 0;                 // the last trouble before it
};
