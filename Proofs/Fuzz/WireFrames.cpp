// Fuzzes the frames on the stand-in's serial line. The input is a byte that says in pieces of which size the line
// delivers what follows, then a row of items: bytes as they are, or a whole frame that is made of them.

#include "Frame.h"

#include "Expect.h"
#include "Input.h"

#include <algorithm>

using namespace Simulator;

namespace
{

bool IsSame(const Wire::Frame& left, const Wire::Frame& right)
{
    return left.kind == right.kind && left.topic == right.topic && left.payload == right.payload;
}

bool AreSame(const std::vector<Wire::Frame>& left, const std::vector<Wire::Frame>& right)
{
    return std::equal(left.begin(), left.end(), right.begin(), right.end(), &IsSame);
}

struct Line
{
    std::vector<uint8_t> bytes;
    std::vector<Wire::Frame> frames; // that have to arrive, whatever else does
};

Wire::Frame TakeFrame(Fuzz::Input& input)
{
    constexpr unsigned int Kinds = 5;
    const auto kind = static_cast<Wire::Kind>(input.TakeByte() % Kinds + 1);
    const uint16_t topic = input.TakeNumber();
    return {kind, topic, input.TakeBytes(input.TakeNumber() % (Wire::MaxPayload + 1))};
}

Line TakeLine(Fuzz::Input& input)
{
    Line line;
    while (!input.IsEmpty())
    {
        const bool asTheyAre = input.TakeByte() % 2 == 0;
        if (!asTheyAre)
        {
            line.frames.push_back(TakeFrame(input));
        }
        const std::vector<uint8_t> bytes =
            asTheyAre ? input.TakeBytes(input.TakeNumber()) : Wire::Encode(line.frames.back());
        line.bytes.insert(line.bytes.end(), bytes.begin(), bytes.end());
    }
    return line;
}

struct Received
{
    std::vector<Wire::Frame> frames;
    uint64_t rejected;
};

Received Receive(const std::vector<uint8_t>& bytes, std::size_t pieceSize)
{
    Wire::Decoder decoder;
    Received received{{}, 0};
    for (std::size_t begin = 0; begin < bytes.size(); begin += pieceSize)
    {
        // The bytes are on the heap, without a byte to spare.
        const std::vector<uint8_t> piece(bytes.begin() + static_cast<std::ptrdiff_t>(begin),
                                         bytes.begin() +
                                             static_cast<std::ptrdiff_t>(std::min(begin + pieceSize, bytes.size())));
        decoder.Feed(piece.data(), piece.size(), [&](const Wire::Frame& frame) { received.frames.push_back(frame); });
    }
    received.rejected = decoder.Rejected();
    return received;
}

// Whether all of `wanted` are among `frames`, in this order.
bool Contains(const std::vector<Wire::Frame>& frames, const std::vector<Wire::Frame>& wanted)
{
    auto next = wanted.begin();
    for (const Wire::Frame& frame : frames)
    {
        if (next != wanted.end() && IsSame(frame, *next))
        {
            ++next;
        }
    }
    return next == wanted.end();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    Fuzz::Input input(data, size);
    const std::size_t pieceSize = input.TakeByte() + 1U;
    const Line line = TakeLine(input);

    const Received whole = Receive(line.bytes, line.bytes.size() + 1);
    const Received pieces = Receive(line.bytes, pieceSize);
    Fuzz::Expect("the same frames in pieces", AreSame(whole.frames, pieces.frames));
    Fuzz::ExpectEqual("rejected in pieces", pieces.rejected, whole.rejected);
    Fuzz::Expect("every frame that was sent", Contains(whole.frames, line.frames));
    for (const Wire::Frame& frame : whole.frames)
    {
        Fuzz::Expect("a payload that is allowed", frame.payload.size() <= Wire::MaxPayload);
        const Received again = Receive(Wire::Encode(frame), pieceSize);
        Fuzz::Expect("the frame again", AreSame(again.frames, {frame}) && again.rejected == 0);
    }
    return 0;
}
