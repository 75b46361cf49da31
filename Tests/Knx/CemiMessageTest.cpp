#include "Knx/CemiMessage.h"

#include "RandomFrames.h"

#include <gtest/gtest.h>

using Knx::Bytes;
using Knx::CemiMessage;
using Knx::Decode;
using Knx::FromHex;
using Knx::MessageCode;
using Knx::PlaceOfControl1;
using testing::Test;
using Problems = std::vector<std::string>;

namespace
{

CemiMessage Decoded(const std::string& hex)
{
    return Decode(FromHex(hex));
}

TEST(CemiMessage, OfDataHasEveryFieldOfAStandardFrame)
{
    const CemiMessage message = Decoded("29 00 bc e0 11 02 0a 03 03 00 80 0c 1a");
    EXPECT_TRUE(message.Is(MessageCode::LDataInd));
    EXPECT_EQ(message.infoLength, 0);
    EXPECT_TRUE(message.IsStandardFrame());
    EXPECT_TRUE(message.RepeatBit());
    EXPECT_TRUE(message.DomainBroadcastBit());
    EXPECT_EQ(message.Priority(), 3);
    EXPECT_FALSE(message.AcknowledgeBit());
    EXPECT_FALSE(message.ErrorBit());
    EXPECT_TRUE(message.IsGroupAddressed());
    EXPECT_EQ(message.Hops(), 6);
    EXPECT_EQ(message.Format(), 0);
    EXPECT_EQ(message.source, 0x1102);
    EXPECT_EQ(message.destination, 0x0A03);
    EXPECT_EQ(message.length, 3);
    EXPECT_FALSE(message.IsControl());
    EXPECT_FALSE(message.IsNumbered());
    EXPECT_EQ(message.apci, 0x080);
    EXPECT_EQ(message.payload, (Bytes{0x0C, 0x1A}));
    EXPECT_EQ(message.problems, Problems{});
}

TEST(CemiMessage, TakesEachBitOfTheControlFieldsFromItsPlace)
{
    const CemiMessage message = Decoded("11 00 43 15 11 02 12 03 01 00 00");
    EXPECT_FALSE(message.IsStandardFrame());
    EXPECT_FALSE(message.RepeatBit());
    EXPECT_FALSE(message.DomainBroadcastBit());
    EXPECT_EQ(message.Priority(), 0);
    EXPECT_TRUE(message.AcknowledgeBit());
    EXPECT_TRUE(message.ErrorBit());
    EXPECT_FALSE(message.IsGroupAddressed());
    EXPECT_EQ(message.Hops(), 1);
    EXPECT_EQ(message.Format(), 5);
    EXPECT_EQ(Decoded("11 00 04").Priority(), 1);
    EXPECT_EQ(Decoded("11 00 08").Priority(), 2);
}

TEST(CemiMessage, HasTheElementsOfTheAdditionalInformation)
{
    const CemiMessage message = Decoded("2b 07 03 01 05 04 02 aa bb cc");
    ASSERT_EQ(message.info.size(), 2);
    EXPECT_EQ(message.info[0].type, 3);
    EXPECT_EQ(message.info[0].length, 1);
    EXPECT_EQ(message.info[0].data, Bytes{0x05});
    EXPECT_EQ(message.info[1].type, 4);
    EXPECT_EQ(message.info[1].data, (Bytes{0xAA, 0xBB}));
    EXPECT_EQ(message.payload, Bytes{0xCC});
    EXPECT_EQ(message.problems, Problems{});
}

TEST(CemiMessage, AnElementThatDoesNotFitIntoTheAdditionalInformationIsAProblemAndWhatFollowsIsRead)
{
    for (const char* const info : {"04 03 09 01 02", "01 03"})
    {
        const CemiMessage message = Decoded(std::string("29 ") + info + " bc e0 11 01 0a 03 01 00 81");
        ASSERT_EQ(message.info.size(), 1) << info;
        EXPECT_FALSE(message.info[0].data) << info;
        EXPECT_EQ(message.source, 0x1101) << info;
        EXPECT_EQ(message.problems, Problems{"additional information with an element that does not fit in"}) << info;
    }
}

TEST(CemiMessage, AdditionalInformationThatIsCutOffIsAProblem)
{
    const CemiMessage message = Decoded("29 05 03 01 05");
    EXPECT_EQ(message.info.size(), 1);
    EXPECT_EQ(message.problems,
              (Problems{"additional information of 5 bytes, of which 3 came", "ends before control field 1"}));
}

TEST(CemiMessage, ControlTpdusHaveNoApci)
{
    const CemiMessage connect = Decoded("29 00 b0 60 11 01 12 01 00 80");
    EXPECT_TRUE(connect.IsControl());
    EXPECT_FALSE(connect.IsNumbered());
    EXPECT_EQ(connect.ControlService(), 0);
    EXPECT_FALSE(connect.apci);
    EXPECT_EQ(connect.problems, Problems{});
    const CemiMessage nak = Decoded("29 00 b0 60 11 01 12 01 00 cf");
    EXPECT_TRUE(nak.IsNumbered());
    EXPECT_EQ(nak.Sequence(), 3);
    EXPECT_EQ(nak.ControlService(), 3);
    EXPECT_EQ(Decoded("29 00 b0 60 11 01 12 01 01 80 55").problems, Problems{"1 byte too many"});
}

TEST(CemiMessage, TheApciHasTenBitsBesidesThoseOfTheTpci)
{
    const CemiMessage message = Decoded("29 00 b0 60 11 01 12 01 05 47 d5 00 0b 10 01");
    EXPECT_TRUE(message.IsNumbered());
    EXPECT_EQ(message.Sequence(), 1);
    EXPECT_EQ(message.apci, 0x3D5);
    EXPECT_EQ(message.payload, (Bytes{0x00, 0x0B, 0x10, 0x01}));
}

TEST(CemiMessage, ASequenceNumberIsAProblemWhereThereIsNoneExceptForATag)
{
    EXPECT_EQ(Decoded("29 00 bc e0 11 01 0a 03 01 08 81").problems, Problems{"a sequence number where there is none"});
    EXPECT_EQ(Decoded("29 00 bc e0 11 01 0a 03 01 04 81").problems, Problems{});
    EXPECT_EQ(Decoded("29 00 bc 60 11 01 0a 03 00 84").problems, Problems{"a sequence number where there is none"});
}

TEST(CemiMessage, ALengthThatDisagreesWithTheFrameIsAProblem)
{
    EXPECT_EQ(Decoded("29 00 bc e0 11 01 0a 03 03 00 81").problems, Problems{"length 3, and 1 byte behind the TPCI"});
    EXPECT_EQ(Decoded("29 00 bc e0 11 01 0a 03 00 00 81 02").problems,
              Problems{"length 0, and 2 bytes behind the TPCI"});
}

TEST(CemiMessage, OfPollingHasSlots)
{
    const CemiMessage message = Decoded("25 00 f0 f0 11 01 00 01 0e 01 02 fe");
    EXPECT_EQ(message.destination, 0x0001);
    EXPECT_EQ(message.slots, 14);
    EXPECT_EQ(message.payload, (Bytes{0x01, 0x02, 0xFE}));
    EXPECT_EQ(message.problems, Problems{});
    EXPECT_EQ(Decoded("13 00 f0 f0 11 01 00 01 0e").slots, 14);
}

TEST(CemiMessage, OfRawDataAndTheBusMonitorHasDataBehindTheAdditionalInformation)
{
    for (const char* const code : {"10", "2d", "2f", "2b"})
    {
        const CemiMessage message = Decoded(std::string(code) + " 00 bc 11 01");
        EXPECT_EQ(message.payload, (Bytes{0xBC, 0x11, 0x01})) << code;
        EXPECT_FALSE(message.control1) << code;
        EXPECT_EQ(message.problems, Problems{}) << code;
    }
}

TEST(CemiMessage, OfTheTransportLayerHasReservedBytesInPlaceOfAddresses)
{
    for (const char* const code : {"41", "4a", "89", "94"})
    {
        const CemiMessage message = Decoded(std::string(code) + " 00 00 00 00 00 00 00 02 01 00 55");
        EXPECT_EQ(message.reserved, Bytes(6)) << code;
        EXPECT_EQ(message.apci, 0x100) << code;
        EXPECT_EQ(message.payload, Bytes{0x55}) << code;
        EXPECT_FALSE(message.source) << code;
        EXPECT_EQ(message.problems, Problems{}) << code;
    }
    EXPECT_EQ(Decoded("4a 00 00 00 00 00 00 01 01 01 00").problems, Problems{"reserved bytes that are not 0"});
    EXPECT_EQ(Decoded("4a 00 00 00 00 00 00 00 01 41 00").problems, Problems{"a TPCI where there is none"});
}

TEST(CemiMessage, OfPropertiesHasObjectPropertyAndElements)
{
    const CemiMessage message = Decoded("fb 01 0b 02 33 20 03 aa bb");
    EXPECT_EQ(message.objectType, 0x010B);
    EXPECT_EQ(message.objectInstance, 2);
    EXPECT_EQ(message.property, 0x33);
    EXPECT_EQ(message.count, 2);
    EXPECT_EQ(message.index, 3);
    EXPECT_EQ(message.payload, (Bytes{0xAA, 0xBB}));
    EXPECT_EQ(message.problems, Problems{});
    EXPECT_EQ(Decoded("f6 00 0b 01 33 10 01 aa").payload, Bytes{0xAA});
    EXPECT_EQ(Decoded("f7 00 0b 01 33 1f ff aa").index, 0xFFF);
}

TEST(CemiMessage, AConfirmationOfNoElementsHasAnError)
{
    for (const char* const code : {"fb", "f5"})
    {
        const CemiMessage message = Decoded(std::string(code) + " 00 0b 01 33 00 01 07");
        EXPECT_EQ(message.error, 7) << code;
        EXPECT_EQ(message.payload, Bytes{}) << code;
        EXPECT_EQ(message.problems, Problems{}) << code;
        EXPECT_EQ(Decoded(std::string(code) + " 00 0b 01 33 00 01 07 08").problems, Problems{"1 byte too many"})
            << code;
    }
    EXPECT_FALSE(Decoded("f6 00 0b 01 33 00 01 07").error);
}

TEST(CemiMessage, WhatHasNoDataDoesNotHaveSome)
{
    for (const char* const frame : {"fc 00 0b 01 33 10 01", "f5 00 0b 01 33 10 01", "f0", "f1"})
    {
        EXPECT_EQ(Decoded(frame).problems, Problems{}) << frame;
        EXPECT_EQ(Decoded(std::string(frame) + " 00 00").problems, Problems{"2 bytes too many"}) << frame;
    }
}

TEST(CemiMessage, OfFunctionPropertiesHasDataBehindTheProperty)
{
    for (const char* const code : {"f8", "f9", "fa"})
    {
        const CemiMessage message = Decoded(std::string(code) + " 00 0b 01 33 00 aa");
        EXPECT_EQ(message.property, 0x33) << code;
        EXPECT_FALSE(message.count) << code;
        EXPECT_EQ(message.payload, (Bytes{0x00, 0xAA})) << code;
        EXPECT_EQ(message.problems, Problems{}) << code;
    }
}

TEST(CemiMessage, OfAnUnknownCodeIsAProblemWithData)
{
    const CemiMessage message = Decoded("77 01 02");
    EXPECT_EQ(message.code, 0x77);
    EXPECT_EQ(message.payload, (Bytes{0x01, 0x02}));
    EXPECT_EQ(message.problems, Problems{"unknown message code"});
}

TEST(CemiMessage, HasControlField1BehindItsAdditionalInformation)
{
    EXPECT_EQ(PlaceOfControl1(FromHex("29 00 bc")), 2);
    EXPECT_EQ(PlaceOfControl1(FromHex("29 02 ff 00 bc")), 4);
    EXPECT_EQ(PlaceOfControl1(FromHex("29 02 ff 00")), std::nullopt);
    EXPECT_EQ(PlaceOfControl1(FromHex("29")), std::nullopt);
    EXPECT_EQ(PlaceOfControl1({}), std::nullopt);
}

TEST(CemiMessage, SaysBeforeWhatItEndsAndHasWhatCameBefore)
{
    const Bytes whole = FromHex("29 02 ff 00 bc e0 11 01 0a 03 01 00 81");
    const std::vector<std::string> missing{"the message code",
                                           "the length of the additional information",
                                           "",
                                           "",
                                           "control field 1",
                                           "control field 2",
                                           "the source address",
                                           "the source address",
                                           "the destination address",
                                           "the destination address",
                                           "the length",
                                           "the TPCI",
                                           "the APCI"};
    for (std::size_t size = 0; size < whole.size(); ++size)
    {
        const Bytes part(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        const CemiMessage message = Decode(part);
        EXPECT_FALSE(message.problems.empty()) << size;
        if (!missing[size].empty())
        {
            EXPECT_EQ(message.problems.back().substr(0, 12 + missing[size].size()), "ends before " + missing[size])
                << size;
        }
        EXPECT_EQ(message.code.has_value(), size > 0) << size;
        EXPECT_EQ(message.control1.has_value(), size > 4) << size;
        EXPECT_EQ(message.source.has_value(), size > 7) << size;
        EXPECT_EQ(message.destination.has_value(), size > 9) << size;
        EXPECT_EQ(message.tpci.has_value(), size > 11) << size;
    }
    EXPECT_EQ(Decoded("4a 00 00 00").problems, Problems{"ends before the end of the reserved bytes"});
    EXPECT_EQ(Decoded("13 00 f0 f0 11 01 00 01").problems, Problems{"ends before the number of slots"});
    EXPECT_EQ(Decoded("fc 00").problems, Problems{"ends before the object type"});
    EXPECT_EQ(Decoded("fc 00 0b").problems, Problems{"ends before the object instance"});
    EXPECT_EQ(Decoded("fc 00 0b 01").problems, Problems{"ends before the property"});
    EXPECT_EQ(Decoded("fc 00 0b 01 33 10").problems, Problems{"ends before the number of elements"});
}

// The sanitizers notice a read behind the end, because the bytes are exactly so long.
TEST(CemiMessage, AnyBytesCanBeTakenApart)
{
    RandomFrames random(1);
    for (int i = 0; i < 20000; ++i)
    {
        Bytes frame = random.Next();
        frame.shrink_to_fit();
        const CemiMessage message = Decode(frame);
        EXPECT_LE(message.payload.size(), frame.size());
    }
}

} // namespace
