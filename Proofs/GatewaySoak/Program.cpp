#include "Program.h"

#include <array>
#include <utility>

namespace
{

// No valid message, each for another reason.
const std::array<Bytes, 7>& Garbage()
{
    static const std::array<Bytes, 7> All{
        Bytes{},          Bytes{0x00},     Bytes{0x0B}, Bytes{0x05, 0x29, 0x00}, Bytes{0x04, 0x11, 0x00, 0xBC, 0xE0},
        Bytes(300, 0x11), Bytes(600, 0xFC)};
    return All;
}

} // namespace

const char* Program::NameOf(Kind kind)
{
    constexpr std::array<const char*, 7> Names{"observer", "reader",  "application", "flooder",
                                               "sleeper",  "garbler", "vanisher"};
    return Names.at(static_cast<std::size_t>(kind));
}

Program::Program(Kind itsKind, std::size_t itsNumber, Whole& theWhole, std::mt19937& theRandom)
    : kind(itsKind)
    , name(std::string(NameOf(itsKind)) + " " + std::to_string(itsNumber))
    , whole(theWhole)
    , random(theRandom)
{
}

bool Program::Connect()
{
    if (!connection)
    {
        auto connected = Connection::TryConnect(whole.socket);
        if (!connected)
        {
            return false;
        }
        const Connection::Context context{whole.requests, whole.heard, whole.sums, whole.trouble, whole.injected};
        connection.emplace(std::move(*connected), name, ++whole.connections, kind == Kind::Sleeper, context);
        sleeps = false;
        until = whole.heard.size() + static_cast<std::size_t>(Random(0, 300));
    }
    return true;
}

void Program::Read()
{
    if (sleeps && (whole.allRead || whole.heard.size() >= until))
    {
        sleeps = false;
        pause = Random(0, 2000);
    }
    if (connection && !sleeps && !leaves)
    {
        const auto before = static_cast<long>(connection->Open());
        connection->Read();
        whole.open += static_cast<long>(connection->Open()) - before;
    }
}

void Program::Compare()
{
    if (connection)
    {
        connection->Compare();
    }
}

void Program::Act()
{
    if (!connection || connection->HasEnded() || sleeps || !connection->HasBegun() || --pause > 0)
    {
        return;
    }
    switch (kind)
    {
    case Kind::Application:
        if (OneOf(30) && connection->Open() < 4)
        {
            SendOne();
        }
        break;
    case Kind::Flooder:
        Flood();
        break;
    case Kind::Sleeper:
        Doze();
        break;
    case Kind::Garbler:
        Garble();
        break;
    case Kind::Vanisher:
        Vanish();
        break;
    case Kind::Observer:
    case Kind::Reader:
        break;
    }
}

void Program::End()
{
    if (!connection)
    {
        return;
    }
    sleeps = false;
    leaves = false;
    Read();
    connection->Compare();
    whole.open -= static_cast<long>(connection->Open());
    connection->Close();
    connection.reset();
}

long Program::Random(long from, long to)
{
    return std::uniform_int_distribution<long>(from, to)(random);
}

bool Program::OneOf(long times)
{
    return Random(1, times) == 1;
}

bool Program::MaySend() const
{
    return whole.maySend && whole.open < MostOpen;
}

// While the link is lost all are refused at once: a few are enough.
bool Program::SendOne()
{
    if (!MaySend() || (connection->IsLost() && !OneOf(50)) || !connection->SendRequest())
    {
        return false;
    }
    ++whole.open;
    return true;
}

void Program::Flood()
{
    for (long most = Random(50, 500); most > 0 && SendOne(); --most)
    {
    }
    pause = Random(1, 300);
}

void Program::Doze()
{
    if (!whole.maySend || whole.allRead || !OneOf(200))
    {
        return;
    }
    for (long requests = Random(0, 20); requests > 0 && SendOne(); --requests)
    {
    }
    sleeps = true;
    until = whole.heard.size() + static_cast<std::size_t>(Random(500, 3000));
}

void Program::Garble()
{
    if (!whole.maySend || !OneOf(100))
    {
        return;
    }
    for (long packets = Random(1, 20); packets > 0; --packets)
    {
        switch (Random(0, 9))
        {
        case 0:
            SendOne();
            break;
        case 1:
            connection->SendProperty();
            break;
        default:
            connection->SendInvalid(
                Garbage().at(static_cast<std::size_t>(Random(0, static_cast<long>(Garbage().size()) - 1))));
            break;
        }
    }
}

// Some of its requests wait in the gateway when it leaves, others are on their way to the bus.
void Program::Vanish()
{
    if (leaves)
    {
        leaves = false;
        whole.open -= static_cast<long>(connection->Open());
        connection->Close();
        connection.reset();
        pause = Random(1, 300);
    }
    else if (whole.maySend && !whole.allRead && whole.heard.size() >= until)
    {
        for (long requests = Random(0, 1) == 0 ? Random(1, 3) : Random(0, 30); requests > 0 && SendOne(); --requests)
        {
        }
        leaves = true;
        pause = Random(0, 5);
    }
}
