#pragma once

#include "Messages.h"
#include "Requests.h"

#include "System/Descriptor.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

/// What the observer has heard from one gateway: all that goes to everybody, in the order of the gateway.
using Heard = std::vector<Messages::Item>;

/// The sums of all connections.
struct Sums
{
    long requests = 0; ///< valid ones
    long confirmed = 0;
    long refused = 0;
    long unknown = 0; ///< requests whose sender or gateway ended before they were answered
    long properties = 0;
    long invalid = 0;
    long delivered = 0; ///< messages that were read, those about lost ones not
    long lost = 0;      ///< messages, as the gateway told
    long connections = 0;
    long slowestAnswer = 0; ///< ms, to a program that reads

    void Add(const Sums& other);
};

/// A program's connection to the gateway, and its account: each request is answered exactly once, and whatever else comes is
/// what the observer has heard, in the same order, but for those messages that the gateway tells to be lost.
class Connection
{
public:
    using Clock = Requests::Clock;

    struct Context
    {
        Requests& requests;
        const Heard& heard;
        Sums& sums;
        const uint32_t& trouble;  ///< how often daemon or link have gone so far
        const uint32_t& injected; ///< number of the last telegram from the bus
    };

    /// Nothing while nobody serves the socket.
    static std::optional<System::Descriptor> TryConnect(const std::string& path);

    /// `who`: for people. `loses`: it reads too late on purpose.
    Connection(System::Descriptor connected, std::string who, uint32_t connectionNumber, bool loses,
               const Context& itsContext);

    int Descriptor() const
    {
        return connection.Number();
    }

    // False if there is no room now.

    bool SendRequest();
    bool SendProperty();
    bool SendInvalid(const Bytes& packet);

    /// Reads all that is there. Throws Mismatch.
    void Read();

    /// Whatever was read and is not compared yet: as far as the observer has come. Throws Mismatch.
    void Compare();

    /// The gateway has ended it.
    bool HasEnded() const
    {
        return hasEnded;
    }

    /// The observer takes its messages from here, and compares nothing.
    Heard TakeRead();

    std::size_t Open() const
    {
        return open;
    }

    /// All is answered, and all that the observer has heard was read.
    bool IsEven() const;

    /// Nothing is missing in a sentence that says what is.
    std::string WhatIsMissing() const;

    /// As this program was told.
    bool IsUsable() const;
    bool IsLost() const;
    bool HasBegun() const
    {
        return state || hasLost;
    }

    /// No answer can come any more.
    void Close();

private:
    bool Send(const Bytes& packet);
    void Enter(const Messages::Item& item);
    void Answer(uint32_t request, bool isConfirmed);
    void CheckRefusal(const Requests::Request& request, uint32_t itsNumber) const;
    bool Place();
    bool SkipLost();
    void TakeOwedState();
    bool IsLate(const Messages::Item& item);
    bool IsSame(const Messages::Item& mine, const Messages::Item& others) const;
    [[noreturn]] void Fail(const std::string& what) const;

    System::Descriptor connection;
    const std::string name;
    const uint32_t number;
    const bool mayLose;
    Context context;
    std::size_t open = 0;
    bool hasEnded = false;
    std::optional<uint32_t> state; // of the link, as it was told; none while it may have lost that
    bool hasLost = false;
    const uint32_t firstRequest;
    std::deque<Messages::Item> pending;  // read, and not compared; refusals are not among them
    std::optional<std::size_t> position; // in what the observer has heard: of the next message
    const std::size_t beginsFrom;        // there at the earliest
    uint32_t knows = 0;                  // all telegrams with later numbers must come
    uint32_t toSkip = 0;                 // lost messages
    uint32_t toldState = 0;              // of the link, as far as it is compared
    std::optional<uint32_t> owedState;   // which it has lost, and which differs from what it was told
};
