// Fuzzes what the driver says to the simulated co-processor over the serial line. The input is a row of items: a byte
// that chooses what happens, then what that needs. Whatever happened, the co-processor must answer a greeting
// afterwards.

#include "CoProcessor.h"

#include "Expect.h"
#include "Input.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <chrono>

using namespace Simulator;

namespace
{

constexpr std::size_t MaxPayload = 300;
constexpr int Patience = 10'000; // ms

struct TheBoard
{
    EventLog events;
    SerialLine line;
    CoProcessor coProcessor{line, events};
    const int driver = open(line.Device().c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
};

Bytes TakePayload(Fuzz::Input& input)
{
    return input.TakeBytes(input.TakeNumber() % (MaxPayload + 1));
}

// The bytes for the line; none if the item is something else that happens on the board.
Bytes TakeItem(Fuzz::Input& input, CoProcessor& coProcessor)
{
    constexpr unsigned int Items = 7;
    constexpr unsigned int Kinds = 5;
    switch (input.TakeByte() % Items)
    {
    case 0:
        return Wire::Encode({Wire::Kind::Message, 256, TakePayload(input)});
    case 1:
        return Wire::Encode({Wire::Kind::Message, 257, TakePayload(input)});
    case 2:
    {
        const auto kind = static_cast<Wire::Kind>(input.TakeByte() % Kinds + 1);
        const uint16_t topic = input.TakeNumber();
        return Wire::Encode({kind, topic, TakePayload(input)});
    }
    case 3:
        return TakePayload(input);
    case 4:
        coProcessor.SetButton(input.TakeByte() % 2 != 0);
        return {};
    case 5:
        coProcessor.InjectTelegram(TakePayload(input));
        return {};
    default:
        coProcessor.SetResetLine(false);
        coProcessor.SetResetLine(true);
        return {};
    }
}

class Driver
{
public:
    explicit Driver(int lineDescriptor)
        : descriptor(lineDescriptor)
    {
    }

    /// Meanwhile reads what the co-processor says.
    void Write(const Bytes& bytes)
    {
        for (std::size_t written = 0; written < bytes.size();)
        {
            const short ready = Await(POLLIN | POLLOUT);
            if ((ready & POLLIN) != 0)
            {
                Read();
            }
            if ((ready & POLLOUT) != 0)
            {
                const ssize_t count = write(descriptor, &bytes[written], bytes.size() - written);
                written += count > 0 ? static_cast<std::size_t>(count) : 0;
            }
        }
    }

    /// Greets until the co-processor answers: it may be booting, and does not hear then.
    void Greet()
    {
        ++session;
        welcome = false;
        const Bytes payload{static_cast<uint8_t>(session), static_cast<uint8_t>(session >> 8U),
                            static_cast<uint8_t>(session >> 16U), static_cast<uint8_t>(session >> 24U)};
        const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(Patience);
        while (!welcome)
        {
            Fuzz::Expect("an answer to the greeting", std::chrono::steady_clock::now() < end);
            Write(Wire::Encode({Wire::Kind::Hello, 0, payload}));
            pollfd entry{descriptor, POLLIN, 0};
            poll(&entry, 1, 1);
            Read(&payload);
        }
    }

private:
    short Await(short events) const
    {
        pollfd entry{descriptor, events, 0};
        Fuzz::Expect("the line moves", poll(&entry, 1, Patience) > 0);
        return entry.revents;
    }

    void Read(const Bytes* awaited = nullptr)
    {
        std::array<uint8_t, 4096> bytes{};
        const ssize_t count = read(descriptor, bytes.data(), bytes.size());
        const auto take = [&](const Wire::Frame& frame) {
            welcome = welcome || (awaited != nullptr && frame.kind == Wire::Kind::Welcome && frame.payload == *awaited);
        };
        decoder.Feed(bytes.data(), count > 0 ? static_cast<std::size_t>(count) : 0, take);
        Fuzz::ExpectEqual("damaged frames", decoder.Rejected(), uint64_t{0});
    }

    int descriptor;
    Wire::Decoder decoder;
    uint32_t session = 0;
    bool welcome = false;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    static TheBoard board;
    static Driver driver(board.driver);
    for (Fuzz::Input input(data, size); !input.IsEmpty();)
    {
        driver.Write(TakeItem(input, board.coProcessor));
    }
    driver.Greet();
    return 0;
}
