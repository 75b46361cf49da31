#pragma once

#include "MessageReader.h"
#include "Source.h"

#include <cstdint>
#include <string_view>
#include <vector>

namespace OrvelClient
{

constexpr std::size_t PcapNgBegin = 4; ///< bytes by which such a capture is recognised

/// Whether `begin`, the first bytes of a file, are those of a capture in the format pcapng.
bool IsPcapNg(std::string_view begin);

/// Reads a capture in the format pcapng, which consists of blocks: sections, in these interfaces, and packets of theirs.
/// Other blocks are skipped.
class PcapNgReader : public MessageReader
{
public:
    explicit PcapNgReader(Source& file)
        : source(file)
    {
    }

    bool Next(Message& message) override;

private:
    // A network interface, as a section describes it.
    struct Interface
    {
        uint32_t linkType;
        uint64_t unitsPerSecond; // of the packets' times
        int64_t offset;          // s, added to these
    };

    enum class Block
    {
        Packet,
        Other,
        CutOff
    };

    Block TakeBlock(Message& message);
    void BeginSection(std::string_view head);
    void AddInterface(std::string_view body);
    void ReadPacket(std::string_view body, Message& message) const;
    void ReadSimplePacket(std::string_view body, Message& message) const;
    const Interface& InterfaceOf(std::size_t index) const;

    uint32_t Number(std::string_view bytes, std::size_t position, std::size_t size = 4) const;

    Source& source;
    bool bigEndian = false;
    std::vector<Interface> interfaces; // of the section
    std::size_t number = 0;            // of the block
};

} // namespace OrvelClient
