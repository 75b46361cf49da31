#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

/// What the two ends of the simulated serial line say to each other. The driver's end is the host.
///
/// On the line, a frame stands between flag bytes 0x7E. Its body is kind (1 byte), topic (2 bytes, little endian),
/// payload, and CRC-16/CCITT of all these (2 bytes, little endian; initial value 0xFFFF). Inside the body 0x7E and 0x7D
/// are sent as 0x7D and the byte xor 0x20.
///
/// The conversation: the host sends Hello with a session number of 4 bytes that changes with each connection, and
/// repeats it until the co-processor answers with Welcome and the same number. From then on both may send Message. The
/// host sends Ping with the session number periodically; the co-processor answers with Pong and the same number, but
/// only if that session is the current one since it booted, so that a reboot is noticed as silence. Any valid frame is
/// a sign of life.
namespace Simulator::Wire
{

constexpr std::size_t MaxPayload = 1024; // bytes

enum class Kind : uint8_t
{
    Hello = 1,
    Welcome = 2,
    Ping = 3,
    Pong = 4,
    Message = 5,
};

struct Frame
{
    Kind kind;
    uint16_t topic = 0; // of a Message; 0 in all others
    std::vector<uint8_t> payload{};
};

/// The bytes for the line, including the flags. The payload must not be longer than MaxPayload, because nobody would
/// accept the frame.
std::vector<uint8_t> Encode(const Frame& frame);

/// Finds the frames in a stream of bytes. Whatever comes in, it needs no more memory than one frame; after damage it
/// goes on with the next flag. Only one thread at a time may call.
class Decoder
{
public:
    using Handler = std::function<void(const Frame&)>;

    /// Takes the next bytes of the stream, however they are cut, and calls `onFrame` for each frame that they complete.
    void Feed(const uint8_t* data, std::size_t size, const Handler& onFrame);

    /// How many damaged pieces were dropped so far: everything between two flags that is no frame, except empty gaps.
    uint64_t Rejected() const
    {
        return rejected;
    }

private:
    void TakeByte(uint8_t byte);
    void EndPiece(const Handler& onFrame);

    std::vector<uint8_t> body; // unescaped, since the last flag
    bool escaped = false;      // the last byte announced an escaped one
    bool overlong = false;     // the piece is already known not to be a frame
    uint64_t rejected = 0;
};

} // namespace Simulator::Wire
