#include "Knx/Datapoint.h"

#include "RandomValues.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

using namespace Knx;

namespace
{

const DatapointType& Type(const char* number)
{
    return DatapointTypeOf(number);
}

// A value in hex as a telegram has it: "0x01" in the APCI, "0c1a" behind it.
GroupValue Value(std::string_view hex)
{
    const bool isSmall = hex.substr(0, 2) == "0x";
    return {FromHex(isSmall ? hex.substr(2) : hex), isSmall};
}

std::string Encoded(const char* type, std::string_view text)
{
    return ToText(Encode(Type(type), text));
}

std::string Shown(const char* type, std::string_view hex)
{
    return ToText(Type(type), Value(hex));
}

std::string Json(const char* type, std::string_view hex)
{
    return ToJson(Type(type), Value(hex)).dump();
}

// Why a text is no value.
std::string Refused(const char* type, std::string_view text)
{
    try
    {
        return "taken as " + ToText(Encode(Type(type), text));
    }
    catch (const NotAValue& wrong)
    {
        return wrong.what();
    }
}

// Why bytes are no value.
std::string NotShown(const char* type, std::string_view hex)
{
    try
    {
        return "shown as " + Shown(type, hex);
    }
    catch (const NotAValue& wrong)
    {
        return wrong.what();
    }
}

} // namespace

TEST(Datapoint, OfOneBitIsOneOfItsTwoTextsOrAnyWordForABit)
{
    for (const char* const on : {"On", "on", "ON", " on ", "1", "true"})
    {
        EXPECT_EQ(Encoded("1.001", on), "0x01") << on;
    }
    for (const char* const closed : {"Close", "1", "on", "true"})
    {
        EXPECT_EQ(Encoded("1.009", closed), "0x01") << closed;
    }
    EXPECT_EQ(Encoded("1.009", "open"), "0x00");
    EXPECT_EQ(Shown("1.009", "0x00"), "Open");
    EXPECT_EQ(Json("1.009", "0x01"), "true");
    EXPECT_EQ(Refused("1.009", "opened"), "1.009: Open or Close");
    EXPECT_EQ(Refused("1.001", ""), "1.001: Off or On");
    EXPECT_EQ(Refused("1.001", "2"), "1.001: Off or On");
}

TEST(Datapoint, OfUpToSixBitsStandsInTheApciAndALongerOneBehindIt)
{
    EXPECT_EQ(Encode(Type("1.001"), "on"), (GroupValue{{1}, true}));
    EXPECT_EQ(Encode(Type("5.010"), "1"), (GroupValue{{1}, false}));
    EXPECT_EQ(NotShown("1.001", "01"), "1.001: up to 6 bits, not 1 byte");
    EXPECT_EQ(NotShown("5.010", "0x01"), "5.010: 1 byte, not up to 6 bits");
}

TEST(Datapoint, OfAnotherLengthIsNotShown)
{
    EXPECT_EQ(NotShown("9.001", "0c1a00"), "9.001: 2 bytes, not 3 bytes");
    EXPECT_EQ(NotShown("9.001", "0c"), "9.001: 2 bytes, not 1 byte");
    EXPECT_EQ(NotShown("9.001", ""), "9.001: 2 bytes, not 0 bytes");
    EXPECT_EQ(NotShown("24.001", ""), "24.001: 1 to 39 bytes, not 0 bytes");
    EXPECT_THROW(ToJson(Type("9.001"), Value("0c1a00")), NotAValue);
}

TEST(Datapoint, WithoutATypeIsDigits)
{
    EXPECT_EQ(ToText(Value("0c1a")), "0c1a");
    EXPECT_EQ(ToText(Value("0x01")), "0x01");
}

TEST(Datapoint, OfTwoBitsHasTheControlBitBeforeTheValue)
{
    EXPECT_EQ(Shown("2.001", "0x02"), "control=control value=Off");
    EXPECT_EQ(Shown("2.001", "0x01"), "control=no control value=On");
    EXPECT_EQ(Encoded("2.001", "value=on control=control"), "0x03");
}

TEST(Datapoint, OfAStepHasADirectionAndNoIntervalForABreak)
{
    EXPECT_EQ(Shown("3.007", "0x08"), "direction=Increase step=break");
    EXPECT_EQ(Shown("3.007", "0x09"), "direction=Increase step=1 interval");
    EXPECT_EQ(Shown("3.007", "0x07"), "direction=Decrease step=64 intervals");
    EXPECT_EQ(Encoded("3.008", "direction=down step=break"), "0x08");
    EXPECT_EQ(Encoded("3.007", "direction=increase step=4 intervals"), "0x0b");
    EXPECT_EQ(Encoded("3.007", "direction=increase step=4"), "0x0c");
}

TEST(Datapoint, ThatIsScaledIsTheNearestStepBothWays)
{
    EXPECT_EQ(Encoded("5.001", "50"), "80");
    EXPECT_EQ(Shown("5.001", "80"), "50 %");
    for (int percent = 0; percent <= 100; ++percent)
    {
        const std::string text = std::to_string(percent) + " %";
        EXPECT_EQ(Shown("5.001", Encoded("5.001", text)), text);
    }
    EXPECT_EQ(Encoded("5.001", "99.9"), "ff");
    EXPECT_EQ(Encoded("5.003", "360 °"), "ff");
    EXPECT_EQ(Encoded("5.003", "180"), "80"); // in the middle of two
    EXPECT_EQ(Json("5.003", "7f"), "179");
    EXPECT_EQ(Refused("5.001", "100.1"), "5.001: 0 to 100 %");
    EXPECT_EQ(Refused("5.001", "-0.1"), "5.001: 0 to 100 %");
    EXPECT_EQ(Refused("5.003", "361"), "5.003: 0 to 360 °");
}

TEST(Datapoint, OfHundredthsOfAPercentHasAllOfThem)
{
    EXPECT_EQ(Shown("8.010", "0001"), "0.01 %");
    EXPECT_EQ(Shown("8.010", "ffe3"), "-0.29 %");
    EXPECT_EQ(Shown("8.010", "0032"), "0.5 %");
    EXPECT_EQ(Json("8.010", "8000"), "-327.68");
    EXPECT_EQ(Encoded("8.010", "0.29"), "001d");
    EXPECT_EQ(Encoded("8.010", "-327.68"), "8000");
    EXPECT_EQ(Refused("8.010", "327.68"), "8.010: -327.68 to 327.67 %");
}

TEST(Datapoint, OfMillisecondsMayHaveStepsOfTen)
{
    EXPECT_EQ(Shown("7.003", "0064"), "1000 ms");
    EXPECT_EQ(Encoded("7.004", "1000"), "000a");
    EXPECT_EQ(Refused("7.003", "655351"), "7.003: 0 to 655350 ms");
}

TEST(Datapoint, OfSixteenBitsKeepsAllOfThem)
{
    EXPECT_EQ(Encoded("7.012", "1000"), "03e8");
    EXPECT_EQ(Shown("7.012", "03e8"), "1000 mA");
    EXPECT_EQ(Shown("8.001", "8000"), "-32768 pulses");
    EXPECT_EQ(Refused("7.012", "65536"), "7.012: 0 to 65535 mA");
    EXPECT_EQ(Refused("7.012", "-1"), "7.012: 0 to 65535 mA");
}

TEST(Datapoint, OfAWholeNumberHasNoFraction)
{
    EXPECT_EQ(Refused("7.001", "1.5"), "7.001: 0 to 65535 pulses, whole numbers");
    EXPECT_EQ(Refused("7.001", "1e3"), "7.001: 0 to 65535 pulses");
    EXPECT_EQ(Refused("7.001", "99999999999999999999"), "7.001: 0 to 65535 pulses");
    EXPECT_EQ(Refused("7.001", "0x10"), "7.001: 0 to 65535 pulses");
}

TEST(Datapoint, OfSixtyFourBitsReachesFromEndToEnd)
{
    EXPECT_EQ(Encoded("29.010", "-9223372036854775808 Wh"), "8000000000000000");
    EXPECT_EQ(Shown("29.010", "7fffffffffffffff"), "9223372036854775807 Wh");
    EXPECT_EQ(Json("29.010", "ffffffffffffffff"), "-1");
    EXPECT_EQ(Shown("13.010", "ffffffff"), "-1 Wh");
    EXPECT_EQ(Shown("12.001", "ffffffff"), "4294967295 counter pulses");
}

TEST(Datapoint, MayHaveALimitOfItsOwn)
{
    EXPECT_EQ(Encoded("5.006", "254"), "fe");
    EXPECT_EQ(Refused("5.006", "255"), "5.006: 0 to 254");
    EXPECT_EQ(Shown("5.006", "ff"), "255") << "what was received is shown all the same";
    EXPECT_EQ(Refused("14.1200", "670760.1"), "14.1200: -670760 to 670760 m³/h");
}

TEST(Datapoint, OfAFloatOf16BitsIsTheNearestWithTheSmallestExponent)
{
    const std::tuple<const char*, const char*, const char*> values[] = {
        {"21", "0c1a", "21 °C"},       {"42.5", "1426", "42.48 °C"},  // there is no 42.5, and 42.52 is as near
        {"20.47", "07ff", "20.47 °C"}, {"20.48", "0c00", "20.48 °C"}, // not 0
        {"0.29", "001d", "0.29 °C"},                                  // not 0.28
        {"-0.01", "87ff", "-0.01 °C"}, {"-20.48", "8000", "-20.48 °C"}, {"-30", "8a24", "-30 °C"},
        {"0", "0000", "0 °C"},         {"-0", "0000", "0 °C"},          {"670433.28", "7ffe", "670433.28 °C"},
    };
    for (const auto& [text, hex, shown] : values)
    {
        EXPECT_EQ(Encoded("9.001", text), hex) << text;
        EXPECT_EQ(Shown("9.001", hex), shown);
    }
    EXPECT_EQ(Json("9.001", "0c1a"), "21.0");
    EXPECT_EQ(Json("9.001", "1426"), "42.48");
}

TEST(Datapoint, OfAFloatOf16BitsWithAnotherExponentIsTheSameNumber)
{
    EXPECT_EQ(Shown("9.001", "0834"), "1.04 °C");
    EXPECT_EQ(Encoded("9.001", "1.04"), "0068");
    EXPECT_EQ(Shown("9.001", "7800"), "0 °C");
}

TEST(Datapoint, OfAFloatOf16BitsKeepsTheLowerLimitOfItsType)
{
    EXPECT_EQ(Refused("9.001", "-273.01"), "9.001: -273 to 670433.28 °C");
    EXPECT_EQ(Refused("9.001", "670433.29"), "9.001: -273 to 670433.28 °C");
    EXPECT_EQ(Refused("9.001", "1e300"), "9.001: -273 to 670433.28 °C");
    EXPECT_EQ(Refused("9.001", "inf"), "9.001: -273 to 670433.28 °C");
    EXPECT_EQ(Refused("9.001", "nan"), "9.001: -273 to 670433.28 °C");
    EXPECT_EQ(Refused("9.001", "21,5"), "9.001: -273 to 670433.28 °C");
    EXPECT_EQ(Refused("9.001", "21.5 K"), "9.001: -273 to 670433.28 °C");
    EXPECT_EQ(Refused("9.004", "-0.01"), "9.004: 0 to 670433.28 Lux");
    EXPECT_EQ(Refused("9.027", "-459.61"), "9.027: -459.6 to 670433.28 °F");
    EXPECT_EQ(Encoded("9.001", "-273"), "a156");
    EXPECT_EQ(Encoded("9.027", "-459.6"), "aa64");
    EXPECT_EQ(Encoded("9.026", "-671088.64"), "f800");
    EXPECT_EQ(Shown("9.004", "87ff"), "-0.01 Lux") << "what was received is shown all the same";
}

TEST(Datapoint, OfAFloatOf16BitsTakesTheStepThatItsLowerLimitBecomes)
{
    EXPECT_EQ(Encoded("9.002", "-670760"), "f801");
    EXPECT_EQ(Shown("9.002", "f801"), "-670760.96 K");
    EXPECT_EQ(Encoded("9.002", "-670760.96"), "f801");
    EXPECT_EQ(Refused("9.002", "-670760.97"), "9.002: -670760 to 670433.28 K");
}

TEST(Datapoint, OfAFloatOf16BitsIsInvalidWhenItIs7fff)
{
    EXPECT_EQ(Shown("9.001", "7fff"), "invalid");
    EXPECT_EQ(Json("9.001", "7fff"), "null");
    EXPECT_EQ(Encoded("9.001", "invalid"), "7fff");
    EXPECT_EQ(Refused("9.001", "670760"), "9.001: -273 to 670433.28 °C");
    EXPECT_EQ(Shown("222.100", "7fff0c1a7ffe"), "comfort=invalid standby=21 °C economy=670433.28 °C");
}

TEST(Datapoint, OfAFloatOf32BitsIsTheShortestTextThatReadsBackTheSame)
{
    const std::pair<const char*, const char*> values[] = {
        {"41a8cccd", "21.1 W"},
        {"3dcccccd", "0.1 W"},
        {"7f7fffff", "3.4028235e+38 W"},
        {"00000001", "1e-45 W"},
        {"ff7fffff", "-3.4028235e+38 W"},
        {"80000000", "-0 W"},
        {"4b800001", "16777218 W"},
        {"00000000", "0 W"},
        {"7f800000", "inf W"},
        {"ff800000", "-inf W"},
    };
    for (const auto& [hex, text] : values)
    {
        EXPECT_EQ(Shown("14.056", hex), text);
        EXPECT_EQ(Encoded("14.056", text), hex) << text;
    }
    EXPECT_EQ(Json("14.056", "41a8cccd"), "21.1");
    EXPECT_EQ(Refused("14.056", "1e39"), "14.056: -3.4028235e+38 to 3.4028235e+38 W");
}

TEST(Datapoint, OfAFloatOf32BitsMayBeNoNumber)
{
    for (const char* const hex : {"7fc00000", "ffc00000", "7f800001"})
    {
        EXPECT_EQ(Shown("14.056", hex), "nan W");
        EXPECT_EQ(Json("14.056", hex), "\"nan\"");
    }
    EXPECT_EQ(Json("14.056", "ff800000"), "\"-inf\"");
    EXPECT_EQ(Encoded("14.056", "NaN"), "7fc00000");
    EXPECT_EQ(Encoded("14.056", "-nan"), "7fc00000");
    EXPECT_EQ(Refused("14.1200", "nan"), "14.1200: -670760 to 670760 m³/h");
}

TEST(Datapoint, OfATimeMayHaveNoDay)
{
    EXPECT_EQ(Shown("10.001", "0c1e0f"), "day=no day hour=12 minutes=30 seconds=15");
    EXPECT_EQ(Shown("10.001", "f73b3b"), "day=Sunday hour=23 minutes=59 seconds=59");
    EXPECT_EQ(Encoded("10.001", "day=no day hour=12 minutes=30 seconds=15"), "0c1e0f");
    EXPECT_EQ(Encoded("10.001", "seconds=0 DAY=monday minutes=0 hour=0"), "200000");
    EXPECT_EQ(Refused("10.001", "day=Monday hour=24 minutes=0 seconds=0"), "10.001 hour: 0 to 23");
    EXPECT_EQ(Refused("10.001", "day=8 hour=2 minutes=0 seconds=0"),
              "10.001 day: no day, Monday, Tuesday, Wednesday, Thursday, Friday, Saturday, Sunday, or 0 to 7");
}

TEST(Datapoint, OfADateHasTwoDigitsOfAYearFrom1990To2089)
{
    EXPECT_EQ(Shown("11.001", "150b1a"), "day=21 month=11 year=2026");
    EXPECT_EQ(Shown("11.001", "150b5a"), "day=21 month=11 year=1990");
    EXPECT_EQ(Shown("11.001", "150b59"), "day=21 month=11 year=2089");
    EXPECT_EQ(Shown("11.001", "150b63"), "day=21 month=11 year=1999");
    EXPECT_EQ(Encoded("11.001", "day=1 month=12 year=1990"), "010c5a");
    EXPECT_EQ(Encoded("11.001", "day=1 month=12 year=2089"), "010c59");
    EXPECT_EQ(Refused("11.001", "day=1 month=12 year=1989"), "11.001 year: 1990 to 2089");
    EXPECT_EQ(Refused("11.001", "day=1 month=12 year=2090"), "11.001 year: 1990 to 2089");
    EXPECT_EQ(Refused("11.001", "day=1 month=12 year=26"), "11.001 year: 1990 to 2089");
    EXPECT_EQ(Refused("11.001", "day=0 month=12 year=2026"), "11.001 day: 1 to 31");
}

TEST(Datapoint, OfADateAndTimeSaysWhichOfItsFieldsAreValid)
{
    EXPECT_EQ(Shown("19.001", "7e0b15ce05092480"),
              "year=2026 month=11 day=21 dayOfWeek=Saturday hour=14 minutes=5 seconds=9 fault=no workingDay=no "
              "noWorkingDay=yes noYear=no noDate=no noDayOfWeek=yes noTime=no summerTime=no clockQuality=synchronised");
    EXPECT_EQ(
        Encoded("19.001", "year=2026 month=11 day=21 dayOfWeek=no day hour=14 minutes=5 seconds=9 noDayOfWeek=yes"),
        "7e0b150e05092400");
    EXPECT_EQ(Encoded("19.001",
                      "year=2155 month=12 day=31 dayOfWeek=1 hour=0 minutes=0 seconds=0 fault=yes workingDay=yes "
                      "noWorkingDay=no noYear=yes noDate=yes noTime=yes summerTime=yes"),
              "ff0c1f200000db00");
    const std::string morning = "year=2026 month=11 day=22 dayOfWeek=no day hour=0 minutes=0 seconds=0";
    EXPECT_EQ(Encoded("19.001", morning), "7e0b160000002000");
    EXPECT_EQ(Encoded("19.001", morning + " workingDay=yes"), "7e0b160000004000"); // what is said of it is valid
    EXPECT_EQ(Encoded("19.001", morning + " workingDay=no"), "7e0b160000000000");
    EXPECT_EQ(Encoded("19.001", morning + " workingDay=yes noWorkingDay=yes"), "7e0b160000006000");
    EXPECT_EQ(Refused("19.001", "year=1899 month=1 day=1 dayOfWeek=1 hour=0 minutes=0 seconds=0"),
              "19.001 year: 1900 to 2155");
}

TEST(Datapoint, OfADateAndTimeHasHour24OnlyAtTheEndOfTheDay)
{
    EXPECT_EQ(Encoded("19.001", "year=2026 month=11 day=21 dayOfWeek=6 hour=24 minutes=0 seconds=0"),
              "7e0b15d800002000");
    for (const char* const time : {"minutes=1 seconds=0", "minutes=0 seconds=1"})
    {
        EXPECT_EQ(Refused("19.001", std::string("year=2026 month=11 day=21 dayOfWeek=6 hour=24 ") + time),
                  "19.001 hour: 24 only with minutes=0 seconds=0");
    }
}

TEST(Datapoint, OfADateAndTimeHasNoMonthOrDayOnlyWhenItSaysSo)
{
    const std::string time = " dayOfWeek=no day hour=14 minutes=5 seconds=9";
    EXPECT_EQ(Encoded("19.001", "year=2026 month=0 day=0 noDate=yes" + time), "7e00000e05092800");
    EXPECT_EQ(Refused("19.001", "year=2026 month=0 day=1" + time), "19.001 month: 0 only with noDate=yes");
    EXPECT_EQ(Refused("19.001", "year=2026 month=1 day=0" + time), "19.001 day: 0 only with noDate=yes");
    EXPECT_EQ(Refused("19.001", "year=2026 month=13 day=1" + time), "19.001 month: 0 to 12");
}

TEST(Datapoint, OfASceneIsShownFrom1To64)
{
    EXPECT_EQ(Shown("17.001", "00"), "1");
    EXPECT_EQ(Shown("17.001", "3f"), "64");
    EXPECT_EQ(Encoded("17.001", "64"), "3f");
    EXPECT_EQ(Json("17.001", "04"), "5");
    EXPECT_EQ(Refused("17.001", "0"), "17.001: 1 to 64");
    EXPECT_EQ(Refused("17.001", "65"), "17.001: 1 to 64");
    EXPECT_EQ(Shown("18.001", "84"), "control=learn scene=5");
    EXPECT_EQ(Encoded("18.001", "control=activate scene=1"), "00");
    EXPECT_EQ(Shown("26.001", "44"), "inactive=yes scene=5");
}

TEST(Datapoint, IgnoresReservedBitsAndSendsThemAsZero)
{
    EXPECT_EQ(Shown("17.001", "c4"), "5");
    EXPECT_EQ(Shown("10.001", "0cdecf"), "day=no day hour=12 minutes=30 seconds=15");
    EXPECT_EQ(Shown("11.001", "f5fb9a"), "day=21 month=11 year=2026");
    EXPECT_EQ(Shown("1.001", "0x3f"), "On");
    EXPECT_EQ(Shown("3.007", "0x39"), "direction=Increase step=1 interval");
    EXPECT_EQ(Encoded("17.001", Shown("17.001", "c4")), "04");
}

TEST(Datapoint, OfAnEnumerationIsATextOrANumberThatHasNone)
{
    EXPECT_EQ(Shown("20.102", "01"), "Comfort");
    EXPECT_EQ(Json("20.102", "01"), "\"Comfort\"");
    EXPECT_EQ(Encoded("20.102", "building protection"), "04");
    EXPECT_EQ(Encoded("20.102", "4"), "04");
    EXPECT_EQ(Shown("20.102", "c8"), "200");
    EXPECT_EQ(Json("20.102", "c8"), "200");
    EXPECT_EQ(Encoded("20.102", "200"), "c8");
    EXPECT_EQ(Refused("20.102", "256"), "20.102: Auto, Comfort, Standby, Economy, Building Protection, or 0 to 255");
    EXPECT_EQ(Refused("20.102", "Com"), "20.102: Auto, Comfort, Standby, Economy, Building Protection, or 0 to 255");
}

TEST(Datapoint, OfATextIsFilledUpWithZeros)
{
    EXPECT_EQ(Encoded("16.000", "KNX is OK"), "4b4e58206973204f4b0000000000");
    EXPECT_EQ(Shown("16.000", "4b4e58206973204f4b0000000000"), "KNX is OK");
    EXPECT_EQ(Encoded("16.000", ""), "0000000000000000000000000000");
    EXPECT_EQ(Encoded("16.000", "12345678901234"), "3132333435363738393031323334");
    EXPECT_EQ(Encoded("16.000", " a "), "2061200000000000000000000000") << "blanks belong to it";
}

TEST(Datapoint, OfATextIsLatin1AndNotUtf8)
{
    EXPECT_EQ(Encoded("16.001", "Grüße 20 °C"), "4772fcdf6520323020b043000000");
    EXPECT_EQ(Shown("16.001", "4772fcdf6520323020b043000000"), "Grüße 20 °C");
    EXPECT_EQ(Encoded("16.001", "ääääääääääääää"), "e4e4e4e4e4e4e4e4e4e4e4e4e4e4");
    EXPECT_EQ(Encoded("4.002", "ü"), "fc");
    EXPECT_EQ(Refused("16.001", "5 €"), "16.001: up to 14 characters of ISO 8859-1");
    EXPECT_EQ(Refused("16.000", "ü"), "16.000: up to 14 characters of ASCII");
}

TEST(Datapoint, OfATextThatIsTooLongIsNotCut)
{
    EXPECT_EQ(Refused("16.000", "123456789012345"), "16.000: up to 14 characters of ASCII");
    EXPECT_EQ(Refused("4.001", "ab"), "4.001: up to 1 character of ASCII");
    EXPECT_EQ(Refused("28.001", std::string(38, 'a') + "€"), "28.001: up to 39 bytes of UTF-8");
}

TEST(Datapoint, OfALineEndsWithAZero)
{
    EXPECT_EQ(Encoded("24.001", "ab"), "616200");
    EXPECT_EQ(Encoded("28.001", "€"), "e282ac00");
    EXPECT_EQ(Encoded("24.001", ""), "00");
    EXPECT_EQ(Encode(Type("24.001"), std::string(38, 'a')).bytes.size(), 39);
    EXPECT_EQ(Encode(Type("24.001"), std::string(39, 'a')).bytes.size(), 39);
    EXPECT_EQ(Shown("24.001", "6162"), "ab");
    EXPECT_EQ(Shown("28.001", "e282ac00"), "€");
}

TEST(Datapoint, OfTextDoesNotBringControlCharactersToTheTerminal)
{
    EXPECT_EQ(Shown("16.001", "1b5b324a00000000000000000000"), "\\x1b[2J");
    EXPECT_EQ(Json("4.001", "07"), "\"\\\\x07\"");
    EXPECT_EQ(Refused("16.001", "\x1b[2J"), "16.001: up to 14 characters of ISO 8859-1");
}

TEST(Datapoint, OfAColourHasItsPartsInTheirOrder)
{
    EXPECT_EQ(Encoded("232.600", "red=255 green=128 blue=1"), "ff8001");
    EXPECT_EQ(Encoded("251.600", "red=255 green=128 blue=0 white=51"), "ff800033000f");
    EXPECT_EQ(
        Encoded("251.600", "red=0 green=0 blue=0 white=51 validityRed=not valid validityGreen=0 validityBlue=off"),
        "000000330001");
    EXPECT_EQ(Shown("251.600", "ff8000330008"),
              "red=255 green=128 blue=0 white=51 validityRed=valid validityGreen=not valid validityBlue=not valid "
              "validityWhite=not valid");
}

TEST(Datapoint, OfSeveralFieldsIsAnObjectInJsonBothWays)
{
    EXPECT_EQ(Json("10.001", "2c1e0f"), R"({"day":"Monday","hour":12,"minutes":30,"seconds":15})");
    EXPECT_EQ(Encoded("10.001", R"( {"hour": 12, "minutes": 30, "seconds": "15", "day": 1})"), "2c1e0f");
    EXPECT_EQ(Json("222.101", "7fff0c1a87ff"), R"({"comfort":null,"standby":21.0,"economy":-0.01})");
    EXPECT_EQ(Encoded("222.101", R"({"comfort":null,"standby":21,"economy":-0.01})"), "7fff0c1a87ff");
    EXPECT_EQ(Json("2.001", "0x03"), R"({"control":true,"value":true})");
    EXPECT_EQ(Encoded("2.001", R"({"control":true,"value":false})"), "0x02");
    const std::string fields = "; the fields are red, green, blue";
    EXPECT_EQ(Refused("232.600", "{\"red\":1"), "232.600: no JSON object" + fields);
    EXPECT_EQ(Refused("232.600", R"({"red":[1],"green":1,"blue":1})"),
              "232.600: an array or an object where a number, a text, true, false or null belongs");
    EXPECT_EQ(Refused("232.600", R"({"red":1})"), "232.600: green is missing" + fields);
}

TEST(Datapoint, IsNotToBeFoundAtTheBottomOfNestedArrays)
{
    const std::string nested = R"({"red":)" + std::string(100000, '[') + "1" + std::string(100000, ']') + "}";
    EXPECT_EQ(Refused("232.600", nested),
              "232.600: an array or an object where a number, a text, true, false or null belongs");
}

TEST(Datapoint, OfOneFieldTakesJsonOfItsKind)
{
    EXPECT_EQ(EncodeJson(Type("9.001"), 21), Value("0c1a"));
    EXPECT_EQ(EncodeJson(Type("9.001"), nullptr), Value("7fff"));
    EXPECT_EQ(EncodeJson(Type("1.001"), true), Value("0x01"));
    EXPECT_EQ(EncodeJson(Type("20.102"), "Comfort"), Value("01"));
    EXPECT_EQ(EncodeJson(Type("4.001"), "{"), Value("7b"));
    EXPECT_THROW(EncodeJson(Type("9.001"), {{"value", 21}}), NotAValue);
    EXPECT_THROW(EncodeJson(Type("16.000"), nlohmann::ordered_json::array()), NotAValue);
    EXPECT_THROW(EncodeJson(Type("232.600"), 21), NotAValue);
}

TEST(Datapoint, OfSeveralFieldsNeedsEachOfThemOnce)
{
    const std::string fields = "; the fields are red, green, blue";
    EXPECT_EQ(Refused("232.600", "red=1 green=2"), "232.600: blue is missing" + fields);
    EXPECT_EQ(Refused("232.600", "red=1 green=2 blue=3 red=1"), "232.600: red twice" + fields);
    EXPECT_EQ(Refused("232.600", R"({"red":1,"green":2,"blue":3,"red":1})"), "232.600: red twice" + fields);
    EXPECT_EQ(Refused("232.600", "red=1 green=2 pink=3"), "232.600: no field 'pink'" + fields);
    EXPECT_EQ(Refused("232.600", "red=1 green=2 bl\nue=3"), "232.600: no field 'bl\\x0aue'" + fields);
    EXPECT_EQ(Refused("232.600", "1 2 3"), "232.600: name=value for each field" + fields);
    EXPECT_EQ(Refused("232.600", "x red=1 green=2 blue=3"), "232.600: name=value for each field" + fields);
    EXPECT_EQ(Refused("232.600", ""), "232.600: name=value for each field" + fields);
    EXPECT_EQ(Refused("232.600", "red= green=2 blue=3"), "232.600 red: 0 to 255");
    EXPECT_EQ(Refused("232.600", "=1"), "232.600: no field ''" + fields);
    EXPECT_EQ(Refused("232.600", "red=1=2 green=2 blue=3"), "232.600 red: 0 to 255");
}

TEST(Datapoint, TakesTheUnitAndBlanksAroundTheNumber)
{
    EXPECT_EQ(Encoded("9.001", "21°C"), "0c1a");
    EXPECT_EQ(Encoded("9.001", "  21 °C "), "0c1a");
    EXPECT_EQ(Encoded("249.600", "time=500 ms colourTemperature=2700K brightness=50 %"), "00050a8c8007");
    EXPECT_EQ(Encoded("14.032", "NaN"), "7fc00000") << "newton is no end of a number";
    EXPECT_EQ(Encoded("14.032", "NaN N"), "7fc00000");
    EXPECT_EQ(Refused("9.001", "°C"), "9.001: -273 to 670433.28 °C");
    EXPECT_EQ(Encoded("14.003", "5 1/s"), "40a00000");
    EXPECT_THROW(Encoded("14.003", "51/s"), NotAValue) << "51 for each second, or 5 of the unit";
}

TEST(Datapoint, OfAMainTypeIsANumberWithoutAUnit)
{
    EXPECT_EQ(Shown("9", "0c1a"), "21");
    EXPECT_EQ(Encoded("9", "-671088.64"), "f800");
    EXPECT_EQ(Shown("1", "0x01"), "1");
    EXPECT_EQ(Encoded("1", "on"), "0x01");
    EXPECT_EQ(Shown("5", "80"), "128");
    EXPECT_EQ(Shown("20", "01"), "1");
    EXPECT_EQ(Shown("11", "150b1a"), "day=21 month=11 year=2026");
}

TEST(Datapoint, OfAnyTypeIsTheSameTextAgainWhenItsTextIsEncoded)
{
    std::mt19937 random(1);
    for (const DatapointType& type : DatapointTypes())
    {
        for (int round = 0; round < 20; ++round)
        {
            const GroupValue value = RandomValue(type, random);
            const std::string text = ToText(type, value);
            SCOPED_TRACE(type.Number() + " " + ToText(value) + " " + text);
            const GroupValue again = Encode(type, text);
            EXPECT_EQ(ToText(type, again), text);
            EXPECT_EQ(EncodeJson(type, ToJson(type, value)), again);
            EXPECT_TRUE(HasSeveralFormsOfANumber(type) || again == value) << ToText(again);
        }
    }
}

TEST(Datapoint, OfAnyBytesOfTheRightSizeIsOneLineOfText)
{
    std::mt19937 random(1);
    for (const DatapointType& type : DatapointTypes())
    {
        for (int round = 0; round < 20; ++round)
        {
            const std::string text = ToText(type, RandomBytes(type, random));
            for (const char character : text)
            {
                EXPECT_TRUE(static_cast<unsigned char>(character) >= 0x20) << type.Number() << " " << text;
            }
        }
    }
}
