#pragma once

#include "Counters.h"
#include "Hub.h"
#include "ListeningSocket.h"
#include "Loop.h"
#include "ProgramSocket.h"

#include <log4cplus/logger.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace OrvelGateway
{

/// Carries messages between the hub and the programs on this machine.
class ProgramSide
{
public:
    using Time = Hub::Time;

    struct Program
    {
        Program(System::Descriptor accepted, Loop& loop, const std::function<void()>& onReadable,
                const std::function<void()>& onWritable)
            : socket(std::move(accepted))
            , watch(loop, socket.Descriptor(), onReadable, onWritable)
        {
        }

        ProgramSocket socket;
        Watch watch; // before the socket goes
        std::string who;
        ParticipantCounters reported; ///< in the log, then:
        Time reportedAt;
        bool isRead = true;  ///< or not, until the hub has room for its requests, or the system can
        bool isFull = false; ///< its socket, until it has read something
        bool isSeen = false; ///< by Look; by the next one it stays
        bool isDeaf = false; ///< has closed its socket; what it sent before is still read
    };

    /// Takes in the programs that wait already. `onEvent` is called after the hub has been given something later.
    ProgramSide(Loop& eventLoop, Hub& servedHub, const ListeningSocket& listeningSocket, std::function<void()> onEvent);

    /// Gives a program what the hub has for it; gives back how many messages it took.
    std::size_t Serve(Hub::Id id);

    /// Logs what has been odd since the last time, and tries again what the system could not do. To be called once in a
    /// second.
    void Look(Time now);

    /// Those that are connected, by their number in the hub; null where there is none.
    const std::vector<std::unique_ptr<Program>>& Programs() const
    {
        return programs;
    }

    /// How often one has come or gone.
    uint64_t Changes() const
    {
        return changes;
    }

private:
    void OnConnections();
    bool Accept(std::size_t most);
    void Admit(System::Descriptor accepted);
    void OnReadable(Hub::Id id);
    void OnWritable(Hub::Id id);
    void Report(Program& program, const ParticipantCounters& count, Time now);
    void ReportLeft();
    void Part(Hub::Id id);

    Loop& loop;
    Hub& hub;
    const ListeningSocket& listening;
    const std::function<void()> tell;
    log4cplus::Logger logger;
    Watch watch; // of the listening socket
    std::vector<std::unique_ptr<Program>> programs;
    uint64_t changes = 0;
    ParticipantCounters left; // of programs that have left, what has not been reported
    std::string whoLeft;      // the last of them
};

} // namespace OrvelGateway
