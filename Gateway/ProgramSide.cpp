#include "ProgramSide.h"

#include "Report.h"

#include <log4cplus/loggingmacros.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <exception>
#include <optional>
#include <utility>

namespace OrvelGateway
{

namespace
{

// New programs, before others get their turn.
constexpr std::size_t Batch = 16;

// A program that makes trouble has one line of each kind in it, at most.
constexpr std::chrono::seconds ReportPeriod{1};

} // namespace

ProgramSide::ProgramSide(Loop& eventLoop, Hub& servedHub, const ListeningSocket& listeningSocket,
                         std::function<void()> onEvent)
    : loop(eventLoop)
    , hub(servedHub)
    , listening(listeningSocket)
    , tell(std::move(onEvent))
    , logger(log4cplus::Logger::getInstance("Programs"))
    , watch(loop, listening.Descriptor(), [this] { OnConnections(); })
    , programs(hub.Places())
{
    if (Accept(programs.size()))
    {
        watch.AwaitReadable();
    }
}

void ProgramSide::OnConnections()
{
    const bool goesOn = Accept(Batch);
    tell();
    if (goesOn)
    {
        watch.AwaitReadable();
    }
}

// False if the system cannot: waiting would only fail again at once, so it has to wait until Look.
bool ProgramSide::Accept(std::size_t most)
{
    for (std::size_t count = 0; count < most; ++count)
    {
        System::Descriptor accepted = listening.Accept();
        if (accepted.IsOpen())
        {
            Admit(std::move(accepted));
            continue;
        }
        const int error = errno;
        if (error == EAGAIN)
        {
            break;
        }
        if (error != EINTR && error != ECONNABORTED)
        {
            LOG4CPLUS_ERROR(logger, "Cannot accept a program: " << strerror(error));
            return false;
        }
    }
    return true;
}

// Who finds no place is told by the end of the connection.
void ProgramSide::Admit(System::Descriptor accepted)
{
    std::optional<Hub::Id> id;
    try
    {
        id = hub.ConnectProgram();
        if (!id)
        {
            return;
        }
        auto& program = programs[*id];
        program = std::make_unique<Program>(
            std::move(accepted), loop, [this, id = *id] { OnReadable(id); }, [this, id = *id] { OnWritable(id); });
        program->who = program->socket.Who();
        program->watch.AwaitReadable();
        ++changes;
        LOG4CPLUS_DEBUG(logger, "Program " << program->who << " has connected; there are " << hub.Programs());
    }
    catch (const std::exception& failure) // there is no memory
    {
        LOG4CPLUS_ERROR(logger, "Cannot serve a program: " << failure.what());
        if (id)
        {
            programs[*id].reset();
            hub.Disconnect(*id);
        }
    }
}

// One packet, so that whoever sends many takes no longer turns than others.
void ProgramSide::OnReadable(Hub::Id id)
{
    Program& program = *programs[id];
    std::array<uint8_t, ProgramSocket::MaxPacket> packet;
    std::size_t size = 0;
    const auto result = hub.CanSend(id) ? program.socket.Receive(packet.data(), size) : ProgramSocket::Result::NotNow;
    if (result == ProgramSocket::Result::Ended)
    {
        Part(id);
        tell();
        return;
    }
    if (result == ProgramSocket::Result::Done)
    {
        hub.Send(id, packet.data(), size, std::chrono::steady_clock::now());
    }
    program.isRead = hub.CanSend(id) && result != ProgramSocket::Result::Failed;
    if (program.isRead)
    {
        program.watch.AwaitReadable();
    }
    tell();
}

void ProgramSide::OnWritable(Hub::Id id)
{
    programs[id]->isFull = false;
    Serve(id);
    tell();
}

std::size_t ProgramSide::Serve(Hub::Id id)
{
    Program& program = *programs[id];
    std::size_t sent = 0;
    while (const Message* const message = program.isFull ? nullptr : hub.Next(id))
    {
        const auto result =
            program.isDeaf ? ProgramSocket::Result::Ended : program.socket.Send(message->Data(), message->Size());
        if (result == ProgramSocket::Result::NotNow)
        {
            program.isFull = true;
            program.watch.AwaitWritable();
            break;
        }
        if (result == ProgramSocket::Result::Failed)
        {
            break; // until Look, or until there is more for it
        }
        program.isDeaf = result == ProgramSocket::Result::Ended;
        program.isDeaf ? hub.Dropped(id) : hub.Taken(id);
        ++sent;
    }
    if (!program.isRead && hub.CanSend(id))
    {
        program.isRead = true;
        program.watch.AwaitReadable();
    }
    return sent;
}

void ProgramSide::Look(Time now)
{
    for (Hub::Id id = 0; id < programs.size(); ++id)
    {
        if (programs[id])
        {
            if (std::exchange(programs[id]->isSeen, true))
            {
                hub.Stay(id);
            }
            Report(*programs[id], hub.Count(id), now);
            Serve(id);
        }
    }
    ReportLeft();
    watch.AwaitReadable();
}

void ProgramSide::Report(Program& program, const ParticipantCounters& count, Time now)
{
    if (now - program.reportedAt < ReportPeriod)
    {
        return;
    }
    for (const std::string& line : TroubleOf(program.who, program.reported, count))
    {
        LOG4CPLUS_WARN(logger, line);
        program.reportedAt = now;
    }
    program.reported = count;
}

// Together, because a program can come and go as often as it likes.
void ProgramSide::ReportLeft()
{
    for (const std::string& line : TroubleOf(whoLeft, {}, left))
    {
        LOG4CPLUS_WARN(logger, line);
    }
    left = {};
}

void ProgramSide::Part(Hub::Id id)
{
    const Program& program = *programs[id];
    const ParticipantCounters& count = hub.Count(id);
    whoLeft = program.who +
              (left.invalid + left.lost + left.timedOut == 0 ? ", which has left" : " and others, which have left");
    left.invalid += count.invalid - program.reported.invalid;
    left.lost += count.lost - program.reported.lost;
    left.timedOut += count.timedOut - program.reported.timedOut;
    LOG4CPLUS_DEBUG(logger, "Program " << program.who << " has left");
    programs[id].reset();
    hub.Disconnect(id);
    ++changes;
}

} // namespace OrvelGateway
