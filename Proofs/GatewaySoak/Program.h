#pragma once

#include "Connection.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <random>
#include <string>

/// One of the programs that use the gateway. It connects again whenever the connection has ended.
class Program
{
public:
    enum class Kind : uint8_t
    {
        Observer,    ///< reads, and is the measure for all others
        Reader,      ///< reads
        Application, ///< asks a few things at a time
        Flooder,     ///< sends as much as there is room for
        Sleeper,     ///< reads nothing for longer than the gateway keeps its messages
        Garbler,     ///< sends much that is no message
        Vanisher     ///< leaves without having read what it was sent
    };

    static const char* NameOf(Kind kind);

    /// What all programs know of the whole.
    struct Whole
    {
        std::string socket;
        Heard heard;          ///< by the observer of this gateway
        bool maySend = false; ///< requests and other frames
        bool allRead = false; ///< nobody sleeps, nobody vanishes
        long open = 0;        ///< requests of all
        uint32_t connections = 0;
        uint32_t trouble = 0;
        uint32_t injected = 0;
        Requests requests;
        Sums sums; ///< of this gateway
    };

    Program(Kind itsKind, std::size_t itsNumber, Whole& theWhole, std::mt19937& theRandom);

    const std::string& Name() const
    {
        return name;
    }

    /// Null while it is not connected.
    const Connection* TheConnection() const
    {
        return connection ? &*connection : nullptr;
    }

    /// It is connected, knows the state of the link, and is not about to leave.
    bool IsThere() const
    {
        return connection && connection->HasBegun() && !leaves;
    }

    /// Connects if it is not connected; false if that is not possible.
    bool Connect();

    /// Reads, unless it sleeps.
    void Read();

    /// What the observer reads, everybody has heard.
    Heard TakeRead()
    {
        return connection ? connection->TakeRead() : Heard();
    }

    void Compare();

    /// Does what its kind does.
    void Act();

    /// The gateway has gone: reads what that has sent, compares it, and forgets the connection.
    void End();

private:
    static constexpr long MostOpen = 600; // requests of all; fewer than the gateway keeps messages for the observer

    long Random(long from, long to);
    bool OneOf(long times);
    bool MaySend() const;
    bool SendOne();
    void Flood();
    void Doze();
    void Garble();
    void Vanish();

    const Kind kind;
    const std::string name;
    Whole& whole;
    std::mt19937& random;
    std::optional<Connection> connection;
    long pause = 0;        // turns
    std::size_t until = 0; // messages that all have heard; then a sleeper wakes up, a vanisher leaves
    bool sleeps = false;
    bool leaves = false; // reads nothing any more
};
