// Compares the decoding of frames with tshark, which nobody here wrote. Random frames go through the monitor into a
// capture, and every field that tshark finds there must be what the decoder says.

#include "BenchKit/Paths.h"
#include "RandomFrames.h"

#include "BenchKit/Await.h"
#include "BenchKit/Daemon.h"
#include "BenchKit/Messages.h"
#include "BenchKit/TemporaryDirectory.h"
#include "Knx/CemiMessage.h"
#include "Knx/CemiNames.h"
#include "Message.h"

#include "Orvel/Protocol.h"
#include "System/MessageQueue.h"

#include <gtest/gtest.h>

#include <poll.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <optional>
#include <set>
#include <sstream>

using Knx::Bytes;
using Knx::CemiMessage;
using Knx::ToHex;

namespace
{

// The names that tshark gives them. Several fields of one name in a frame come in one column, separated by commas.
const std::vector<std::string> Columns{"cemi.mc",
                                       "cemi.ai.n",
                                       "cemi.ait.n",
                                       "cemi.aie.n",
                                       "cemi.ft",
                                       "cemi.rep",
                                       "cemi.bt",
                                       "cemi.prio",
                                       "cemi.ack",
                                       "cemi.ce",
                                       "cemi.at",
                                       "cemi.hc",
                                       "cemi.eff",
                                       "cemi.sa",
                                       "cemi.da",
                                       "cemi.len",
                                       "cemi.tpt",
                                       "cemi.st",
                                       "cemi.num",
                                       "cemi.tc",
                                       "cemi.ac",
                                       "cemi.ax",
                                       "cemi.ad",
                                       "cemi.ad.ml",
                                       "cemi.ad.ch",
                                       "cemi.ad.type",
                                       "cemi.ot",
                                       "cemi.oi",
                                       "cemi.pid",
                                       "cemi.n",
                                       "cemi.x",
                                       "cemi.data",
                                       "exported_pdu.exported_pdu",
                                       "_ws.expert.message"};
const std::string ProblemColumn = "_ws.expert.message";

using Row = std::map<std::string, std::string>;

long Setting(const char* name, long otherwise)
{
    const char* const text = std::getenv(name);
    return text == nullptr ? otherwise : std::strtol(text, nullptr, 10);
}

bool HasTshark()
{
    return std::system("tshark --version >/dev/null 2>&1") == 0; // NOLINT(cert-env33-c): a test may use the shell
}

std::string HexNumber(unsigned number, int digits)
{
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "0x%0*x", digits, number);
    return text.data();
}

std::vector<std::string> Split(const std::string& list)
{
    std::vector<std::string> parts;
    std::istringstream stream(list);
    for (std::string part; std::getline(stream, part, ',');)
    {
        parts.push_back(part);
    }
    return parts;
}

std::string Join(const std::vector<std::string>& parts)
{
    std::string list;
    for (const std::string& part : parts)
    {
        list += (list.empty() ? "" : ",") + part;
    }
    return list;
}

// What the decoder says, in tshark's columns.
class Expectation
{
public:
    explicit Expectation(const Bytes& frame)
    {
        Set("exported_pdu.exported_pdu", ToHex(frame, ""));
        if (OrvelClient::LinkState(frame))
        {
            return; // no frame: the capture says so
        }
        message = Knx::Decode(frame);
        const bool isKnown = message.code && !Knx::NameOfMessageCode(*message.code).empty();
        if (isKnown)
        {
            Set("cemi.mc", HexNumber(*message.code, 2));
        }
        SetInfo();
        SetControl();
        SetTransport();
        SetProperty();
        SetData(isKnown ? Bytes{} : Bytes{*message.code});
        if (!message.problems.empty())
        {
            Set(ProblemColumn, "yes");
        }
    }

    std::string Of(const std::string& column) const
    {
        const auto found = fields.find(column);
        return found == fields.end() ? "" : found->second;
    }

    const CemiMessage& TheMessage() const
    {
        return message;
    }

private:
    void Set(const std::string& column, const std::string& value)
    {
        fields[column] = value;
    }

    void Set(const std::string& column, unsigned value)
    {
        fields[column] = std::to_string(value);
    }

    void Add(const std::string& column, const std::string& value)
    {
        std::string& values = fields[column];
        values += (values.empty() ? "" : ",") + value;
    }

    void SetInfo()
    {
        if (message.infoLength)
        {
            Set("cemi.ai.n", *message.infoLength);
        }
        for (const auto& info : message.info)
        {
            Add("cemi.ait.n", HexNumber(info.type, 2));
            if (info.length)
            {
                Add("cemi.aie.n", std::to_string(*info.length));
            }
            if (info.data && !info.data->empty())
            {
                Add("cemi.data", ToHex(*info.data, ""));
            }
        }
    }

    void SetControl()
    {
        if (message.control1)
        {
            Set("cemi.ft", message.IsStandardFrame() ? 1 : 0);
            Set("cemi.rep", message.RepeatBit() ? 1 : 0);
            Set("cemi.bt", message.DomainBroadcastBit() ? 1 : 0);
            Set("cemi.prio", message.Priority());
            Set("cemi.ack", message.AcknowledgeBit() ? 1 : 0);
            Set("cemi.ce", message.ErrorBit() ? 1 : 0);
        }
        if (message.control2)
        {
            Set("cemi.at", message.IsGroupAddressed() ? 1 : 0);
            Set("cemi.hc", message.Hops());
            Set("cemi.eff", HexNumber(message.Format(), 2));
        }
        if (message.source)
        {
            Set("cemi.sa", HexNumber(*message.source, 4));
        }
        if (message.destination)
        {
            Set("cemi.da", HexNumber(*message.destination, 4));
        }
    }

    void SetTransport()
    {
        if (message.length)
        {
            Set("cemi.len", *message.length);
        }
        if (message.tpci)
        {
            Set("cemi.tpt", message.IsControl() ? 1 : 0);
            Set("cemi.st", message.IsNumbered() ? 1 : 0);
            if (message.IsNumbered() || message.Sequence() != 0)
            {
                Set("cemi.num", message.Sequence());
            }
            if (message.IsControl())
            {
                Set("cemi.tc", HexNumber(message.ControlService(), 2));
            }
        }
        if (message.apci)
        {
            SetService(Knx::ServiceOf(*message.apci));
        }
    }

    void SetService(const Knx::Service& service)
    {
        static const std::map<std::string, std::string> columns{
            {"A_ADC_Read", "cemi.ad.ch"},
            {"A_ADC_Response", "cemi.ad.ch"},
            {"A_Memory_Read", "cemi.ad.ml"},
            {"A_Memory_Response", "cemi.ad.ml"},
            {"A_Memory_Write", "cemi.ad.ml"},
            {"A_DeviceDescriptor_Read", "cemi.ad.type"},
            {"A_DeviceDescriptor_Response", "cemi.ad.type"},
        };
        if (!service.isShort)
        {
            Set("cemi.ax", HexNumber(*message.apci, 4));
            return;
        }
        Set("cemi.ac", HexNumber(*message.apci >> 6U, 4));
        const bool isGroupValue = service.name == "A_GroupValue_Write" || service.name == "A_GroupValue_Response";
        const auto column = columns.find(std::string(service.name));
        if (column != columns.end())
        {
            Set(column->second, HexNumber(service.value, 2));
        }
        else if (service.value != 0 || (isGroupValue && message.payload.empty()))
        {
            Set("cemi.ad", HexNumber(service.value, 2));
        }
    }

    void SetProperty()
    {
        if (message.objectType)
        {
            Set("cemi.ot", *message.objectType);
        }
        if (message.objectInstance)
        {
            Set("cemi.oi", *message.objectInstance);
        }
        if (message.property)
        {
            Set("cemi.pid", *message.property);
        }
        if (message.count)
        {
            Set("cemi.n", *message.count);
            Set("cemi.x", *message.index);
        }
    }

    // tshark takes everything without a field of its own for data.
    void SetData(Bytes data)
    {
        if (message.reserved)
        {
            Add("cemi.data", ToHex(*message.reserved, ""));
        }
        for (const auto& byte : {message.slots, message.error})
        {
            if (byte)
            {
                data.push_back(*byte);
            }
        }
        data.insert(data.end(), message.payload.begin(), message.payload.end());
        if (!data.empty())
        {
            Add("cemi.data", ToHex(data, ""));
        }
    }

    CemiMessage message;
    Row fields;
};

// What tshark finds wrong with the frame's structure. It also knows the fields of application services, properties and
// additional information, which mean nothing to the decoder.
std::string StructuralProblem(const std::string& complaints, const CemiMessage& message)
{
    static const std::set<std::string> structural{"Expected: 2 bytes", "Expected: 6 bytes", "Expected: zero",
                                                  "Expected: max 1 byte"};
    const auto parts = Split(complaints);
    const bool isThere = std::any_of(parts.begin(), parts.end(),
                                     [&](const std::string& part)
                                     {
                                         return structural.count(part) != 0 || part.rfind("Available: ", 0) == 0 ||
                                                part.find(": expected 1 byte") != std::string::npos ||
                                                (part == "Unexpected" && !message.apci);
                                     });
    return isThere ? "yes" : "";
}

// The text as tshark writes it, without what it writes for fields of no bytes.
std::string Normalized(const std::string& column, const std::string& value, const CemiMessage& message)
{
    if (column == ProblemColumn)
    {
        return StructuralProblem(value, message);
    }
    auto parts = Split(value);
    parts.erase(std::remove(parts.begin(), parts.end(), "<MISSING>"), parts.end());
    return Join(parts);
}

// Services in whose data tshark finds further fields, which the decoder leaves together.
bool HasParameters(uint16_t apci)
{
    static const std::vector<std::pair<uint16_t, uint16_t>> services{{0x180, 0x2C2}, {0x2C4, 0x2C4}, {0x2C7, 0x2C9},
                                                                     {0x3C1, 0x3C3}, {0x3C8, 0x3CA}, {0x3D0, 0x3DE},
                                                                     {0x3E4, 0x3E4}, {0x3E8, 0x3EE}, {0x3F1, 0x3F1}};
    return std::any_of(services.begin(), services.end(),
                       [apci](const auto& range) { return apci >= range.first && apci <= range.second; });
}

// Why the two may differ in this column, or nothing. Each reason is as narrow as it can be.
std::string Explain(const std::string& column, const CemiMessage& message, const std::string& expected,
                    const std::string& found)
{
    static const std::set<std::string> parameters{"cemi.data", "cemi.ot", "cemi.oi",     "cemi.pid",
                                                  "cemi.n",    "cemi.x",  ProblemColumn, "cemi.ad"};
    if (!message.apci)
    {
        if (column == "cemi.data" && message.tpci && !message.IsControl() &&
            found == expected + (expected.empty() ? "" : ",") + ToHex({*message.tpci}))
        {
            return "tshark shows the byte of the TPCI again as half an APCI";
        }
        if (column == ProblemColumn && message.destination && !message.length && !message.slots)
        {
            return "tshark does not miss the slots of an L_Poll_Data";
        }
        if (column == ProblemColumn && message.Is(Knx::MessageCode::MPropWriteCon) && message.count != 0 &&
            message.payload.size() == 1)
        {
            return "tshark allows one byte of data in a positive M_PropWrite.con";
        }
        return "";
    }
    const std::string service(Knx::ServiceOf(*message.apci).name);
    if (service == "A_PropertyExtValue_InfoReport" &&
        (column == "cemi.ac" || column == "cemi.ax" || column == "cemi.ad.ch"))
    {
        return "tshark does not know A_PropertyExtValue_InfoReport";
    }
    if (column == "cemi.ad" && service.rfind("A_IndividualAddress_", 0) == 0 && found.empty())
    {
        return "tshark does not show the last six bits of the APCI of A_IndividualAddress services";
    }
    if (column == "cemi.ad.ml" && message.payload.size() < 2 && found.empty())
    {
        return "tshark does not show the length of A_Memory services without an address";
    }
    if (column == ProblemColumn && !message.IsControl() && !message.IsNumbered() && message.Sequence() == 1 &&
        expected.empty())
    {
        return "tshark does not know T_Data_Tag_Group";
    }
    // Compares what comes before the service's data all the same.
    const auto before = [&message](const std::string& list)
    {
        auto parts = Split(list);
        const auto infos = std::count_if(message.info.begin(), message.info.end(),
                                         [](const auto& info) { return info.data && !info.data->empty(); });
        const auto kept = static_cast<std::size_t>(infos) + (message.reserved ? 1 : 0);
        parts.resize(std::min(parts.size(), kept));
        return parts;
    };
    if (HasParameters(*message.apci) && parameters.count(column) != 0 &&
        (column != "cemi.data" || before(expected) == before(found)))
    {
        return "tshark finds further fields in the data of application services";
    }
    return "";
}

class Oracle : public testing::Test
{
protected:
    void SetUp() override
    {
        if (!HasTshark())
        {
            GTEST_SKIP() << "there is no tshark: Scripts/prove decoding installs it";
        }
        queue.emplace(ORVEL_CEMI_FROM_LL_QUEUE, System::MessageQueue::For::Writing, ORVEL_CEMI_QUEUE_CAPACITY,
                      ORVEL_CEMI_MESSAGE_SIZE);
    }

    // Sends as the daemon does, but waits for room.
    void Send(const Bytes& frame) const
    {
        const Bytes message = WithSize(frame);
        while (!queue->Send(message))
        {
            pollfd entry{queue->Descriptor(), POLLOUT, 0};
            poll(&entry, 1, -1);
        }
    }

    void Record(const std::vector<Bytes>& frames) const
    {
        Daemon monitor({Paths::Client(), "monitor", "--number", std::to_string(frames.size()), "--pcap", Capture()},
                       {});
        for (const Bytes& frame : frames)
        {
            Send(frame);
        }
        EXPECT_EQ(monitor.Wait(), 0);
    }

    std::vector<Row> Dissect() const
    {
        std::vector<std::string> command{"tshark", "-r", Capture(), "-T", "fields"};
        for (const std::string& column : Columns)
        {
            command.insert(command.end(), {"-e", column});
        }
        Daemon tshark(command, {});
        EXPECT_EQ(tshark.Wait(), 0);
        std::vector<Row> rows;
        for (const std::string& line : tshark.Lines())
        {
            if (line.rfind("Running as user", 0) == 0)
            {
                continue; // said to root
            }
            Row& row = rows.emplace_back();
            std::istringstream cells(line);
            std::string cell;
            for (std::size_t column = 0; std::getline(cells, cell, '\t'); ++column)
            {
                row[Columns.at(column)] = cell;
            }
        }
        return rows;
    }

    std::string Capture() const
    {
        return directory.File("capture");
    }

    const TemporaryDirectory directory;
    std::optional<System::OwnMessageQueue> queue;
};

TEST_F(Oracle, TsharkFindsTheSameInEveryFieldOfRandomFrames)
{
    const auto seed = static_cast<uint32_t>(Setting("ORVEL_SEED", 1));
    const auto count = static_cast<std::size_t>(Setting("ORVEL_FRAMES", 10000));
    RandomFrames random(seed);
    std::vector<Bytes> frames(count);
    std::generate(frames.begin(), frames.end(), [&random] { return random.Next(); });
    Record(frames);
    const std::vector<Row> rows = Dissect();
    ASSERT_EQ(rows.size(), frames.size());

    long compared = 0;
    long differing = 0;
    std::map<std::string, long> explained;
    for (std::size_t i = 0; i < frames.size(); ++i)
    {
        const Expectation expectation(frames[i]);
        for (const std::string& column : Columns)
        {
            const std::string expected = expectation.Of(column);
            const auto cell = rows[i].find(column);
            const std::string found =
                cell == rows[i].end() ? "" : Normalized(column, cell->second, expectation.TheMessage());
            compared += expected.empty() && found.empty() ? 0 : 1;
            if (expected == found)
            {
                continue;
            }
            if (const auto why = Explain(column, expectation.TheMessage(), expected, found); !why.empty())
            {
                ++explained[why];
            }
            else if (++differing <= 20)
            {
                ADD_FAILURE() << ToHex(frames[i]) << "\n"
                              << column << ": tshark '" << found << "', decoder '" << expected << "'";
            }
        }
    }
    std::cout << "seed " << seed << ": " << count << " frames, " << compared << " fields, " << differing
              << " differences, and by reason:\n";
    for (const auto& [why, times] : explained)
    {
        std::cout << "  " << times << "  " << why << "\n";
    }
    EXPECT_EQ(differing, 0);
}

TEST_F(Oracle, TsharkShowsEachMessageWhenItHappensThroughAPipe)
{
    Daemon pipe(
        {"sh", "-c", "exec 2>/dev/null; '" + Paths::Client() + "' monitor --number 3 --pcap - | tshark -l -r -"}, {});
    Send({0xB9, 0x00, 0x01});
    EXPECT_TRUE(pipe.AwaitLine("link usable"));
    Send({0x29, 0x00, 0xBC, 0xE0, 0x11, 0x01, 0x0A, 0x03, 0x01, 0x00, 0x81});
    EXPECT_TRUE(pipe.AwaitLine("L_Data.ind 1.1.1->1/2/3 GroupValueWrite $01"));
    Send({0x2E, 0x00, 0xBC, 0xE0, 0x11, 0x01, 0x0A, 0x03, 0x01, 0x00, 0x80});
    EXPECT_TRUE(pipe.AwaitLine("L_Data.con 1.1.1->1/2/3 GroupValueWrite $00"));
    EXPECT_EQ(pipe.Wait(), 0);
}

} // namespace
