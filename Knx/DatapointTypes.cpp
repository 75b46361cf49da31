#include "Knx/DatapointType.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <system_error>
#include <tuple>

namespace Knx
{

namespace
{

// A row of the table: a type, or one of its fields. The fields of a type follow it. Types without fields between them
// have the
// same ones.
struct Row : DatapointField
{
    uint16_t main = 0; // 0 in a field
    uint16_t sub = 0;

    constexpr Row Unit(std::string_view text) const
    {
        Row row = *this;
        row.unit = text;
        return row;
    }
    constexpr Row Times(uint16_t by, uint16_t parts) const
    {
        Row row = *this;
        row.multiplier = by;
        row.divisor = parts;
        return row;
    }
    constexpr Row Plus(int16_t number) const
    {
        Row row = *this;
        row.offset = number;
        return row;
    }
    constexpr Row Preset(int8_t bit) const
    {
        Row row = *this;
        row.preset = bit;
        return row;
    }
    constexpr Row Limits(int64_t from, int64_t to) const
    {
        Row row = *this;
        row.lowest = from;
        row.highest = to;
        return row;
    }
};

constexpr Row Type(uint16_t main, uint16_t sub, std::string_view name)
{
    Row row;
    row.main = main;
    row.sub = sub;
    row.name = name;
    return row;
}

constexpr Row MainType(uint16_t main, std::string_view name)
{
    return Type(main, DatapointType::Main, name);
}

constexpr Row Field(FieldKind kind, std::string_view name, unsigned bits)
{
    Row row;
    row.kind = kind;
    row.name = name;
    row.bits = static_cast<uint16_t>(bits);
    return row;
}

constexpr Row Reserved(unsigned bits)
{
    return Field(FieldKind::Reserved, "", bits);
}

constexpr Row Bit(std::string_view name, std::string_view texts)
{
    Row row = Field(FieldKind::Bit, name, 1).Limits(0, 1);
    row.texts = texts;
    return row;
}

constexpr Row Bit(std::string_view texts)
{
    return Bit("", texts);
}

constexpr Row Flag(std::string_view name)
{
    return Bit(name, "false|true");
}

constexpr Row Unsigned(std::string_view name, unsigned bits)
{
    return Field(FieldKind::Unsigned, name, bits).Limits(0, static_cast<int64_t>((uint64_t{1} << bits) - 1U));
}

constexpr Row Unsigned(unsigned bits)
{
    return Unsigned("", bits);
}

constexpr Row Percentage(std::string_view name)
{
    return Unsigned(name, 8).Unit("%").Times(100, 255);
}

constexpr Row Signed(std::string_view name, unsigned bits)
{
    const auto highest = static_cast<int64_t>((uint64_t{1} << (bits - 1U)) - 1U);
    return Field(FieldKind::Signed, name, bits).Limits(-highest - 1, highest);
}

constexpr Row Signed(unsigned bits)
{
    return Signed("", bits);
}

constexpr Row ShortYear(std::string_view name)
{
    return Field(FieldKind::ShortYear, name, 7).Limits(0, 99);
}

constexpr Row Float16(std::string_view name, std::string_view unit, int64_t lowest = -67108864)
{
    return Field(FieldKind::Float16, name, 16).Unit(unit).Limits(lowest, 67043328);
}

constexpr Row Float16(std::string_view unit, int64_t lowest = -67108864)
{
    return Float16("", unit, lowest);
}

constexpr Row Float32(std::string_view name, std::string_view unit)
{
    return Field(FieldKind::Float32, name, 32)
        .Unit(unit)
        .Limits(std::numeric_limits<int64_t>::min(), std::numeric_limits<int64_t>::max());
}

constexpr Row Float32(std::string_view unit)
{
    return Float32("", unit);
}

constexpr Row Enumeration(std::string_view name, unsigned bits, std::string_view texts)
{
    Row row = Unsigned(name, bits);
    row.kind = FieldKind::Enumeration;
    row.texts = texts;
    return row;
}

constexpr Row Enumeration(unsigned bits, std::string_view texts)
{
    return Enumeration("", bits, texts);
}

constexpr Row Characters(FieldKind kind, Encoding encoding, unsigned bytes)
{
    Row row = Field(kind, "", bytes * 8U);
    row.encoding = encoding;
    return row;
}

constexpr Row Ascii(unsigned characters)
{
    return Characters(FieldKind::Characters, Encoding::Ascii, characters);
}

constexpr Row Latin1(unsigned characters)
{
    return Characters(FieldKind::Characters, Encoding::Latin1, characters);
}

constexpr Row Latin1Line(unsigned bytes)
{
    return Characters(FieldKind::Line, Encoding::Latin1, bytes);
}

constexpr Row Utf8Line(unsigned bytes)
{
    return Characters(FieldKind::Line, Encoding::Utf8, bytes);
}

// How far one telegram dims or moves: a part of the whole way.
constexpr Row Step(std::string_view name)
{
    return Enumeration(name, 3,
                       "0=break|1=1 interval|2=2 intervals|3=4 intervals|4=8 intervals|5=16 intervals|6=32 intervals|"
                       "7=64 intervals");
}

constexpr Row Control = Bit("control", "no control|control");

constexpr std::string_view Days = "0=no day|1=Monday|2=Tuesday|3=Wednesday|4=Thursday|5=Friday|6=Saturday|7=Sunday";

// One line for each type, as far as it fits.
// clang-format off
constexpr Row Rows[] = {
    MainType(1, "1 bit"), Bit("0|1"),
    Type(1, 1, "switch"), Bit("Off|On"),
    Type(1, 2, "boolean"), Bit("False|True"),
    Type(1, 3, "enable"), Bit("Disable|Enable"),
    Type(1, 4, "ramp"), Bit("No ramp|Ramp"),
    Type(1, 5, "alarm"), Bit("No alarm|Alarm"),
    Type(1, 6, "binary value"), Bit("Low|High"),
    Type(1, 7, "step"), Bit("Decrease|Increase"),
    Type(1, 8, "up/down"), Bit("Up|Down"),
    Type(1, 9, "open/close"), Bit("Open|Close"),
    Type(1, 10, "start/stop"), Bit("Stop|Start"),
    Type(1, 11, "state"), Bit("Inactive|Active"),
    Type(1, 12, "invert"), Bit("Not inverted|Inverted"),
    Type(1, 13, "dim send style"), Bit("Start/stop|Cyclically"),
    Type(1, 14, "input source"), Bit("Fixed|Calculated"),
    Type(1, 15, "reset"), Bit("no action (dummy)|reset command (trigger)"),
    Type(1, 16, "acknowledge"), Bit("no action (dummy)|acknowledge command (trigger), e.g. for alarming"),
    Type(1, 17, "trigger"), Bit("trigger (0)|trigger (1)"),
    Type(1, 18, "occupancy"), Bit("not occupied|occupied"),
    Type(1, 19, "window/door"), Bit("closed|open"),
    Type(1, 21, "logical function"), Bit("logical function OR|logical function AND"),
    Type(1, 22, "scene"), Bit("scene A|scene B"),
    Type(1, 23, "shutter/blinds mode"), Bit("only move Up/Down mode (shutter)|move Up/Down + StepStop mode (blind)"),
    Type(1, 24, "day/night"), Bit("Day|Night"),
    Type(1, 100, "cooling/heating"), Bit("cooling|heating"),

    MainType(2, "1 bit with control"), Control, Bit("value", "0|1"),
    Type(2, 1, "switch control"), Control, Bit("value", "Off|On"),
    Type(2, 2, "boolean control"), Control, Flag("value"),
    Type(2, 3, "enable control"), Control, Bit("value", "Disable|Enable"),
    Type(2, 4, "ramp control"), Control, Bit("value", "No ramp|Ramp"),
    Type(2, 5, "alarm control"), Control, Bit("value", "No alarm|Alarm"),
    Type(2, 6, "binary value control"), Control, Bit("value", "Low|High"),
    Type(2, 7, "step control"), Control, Bit("value", "Decrease|Increase"),
    Type(2, 8, "direction control 1"), Control, Bit("value", "Up|Down"),
    Type(2, 9, "direction control 2"), Control, Bit("value", "Open|Close"),
    Type(2, 10, "start control"), Control, Bit("value", "Stop|Start"),
    Type(2, 11, "state control"), Control, Bit("value", "Inactive|Active"),
    Type(2, 12, "invert control"), Control, Bit("value", "Not inverted|Inverted"),

    MainType(3, "3 bits with direction"), Bit("direction", "0|1"), Step("step"),
    Type(3, 7, "dimming control"), Bit("direction", "Decrease|Increase"), Step("step"),
    Type(3, 8, "blind control"), Bit("direction", "Up|Down"), Step("step"),

    MainType(4, "character"), Latin1(1),
    Type(4, 1, "character (ASCII)"), Ascii(1),
    Type(4, 2, "character (ISO 8859-1)"), Latin1(1),

    MainType(5, "8 bits, unsigned"), Unsigned(8),
    Type(5, 1, "percentage (0..100%)"), Percentage(""),
    Type(5, 3, "angle (degrees)"), Unsigned(8).Unit("°").Times(360, 255),
    Type(5, 4, "percentage (0..255%)"), Unsigned(8).Unit("%"),
    Type(5, 5, "ratio (0..255)"), Unsigned(8),
    Type(5, 6, "tariff (0..255)"), Unsigned(8).Limits(0, 254),
    Type(5, 10, "counter pulses (0..255)"), Unsigned(8).Unit("counter pulses"),
    Type(5, 100, "fan stage (0..255)"), Unsigned(8).Unit("fan stage"),

    MainType(6, "8 bits, signed"), Signed(8),
    Type(6, 1, "percentage (-128..127%)"), Signed(8).Unit("%"),
    Type(6, 10, "counter pulses (-128..127)"), Signed(8).Unit("counter pulses"),
    Type(6, 20, "status with mode"),
        Bit("statusA", "clear|set"), Bit("statusB", "clear|set"), Bit("statusC", "clear|set"),
        Bit("statusD", "clear|set"), Bit("statusE", "clear|set"),
        Enumeration("mode", 3, "1=mode 0 is active|2=mode 1 is active|4=mode 2 is active"),

    MainType(7, "16 bits, unsigned"), Unsigned(16),
    Type(7, 1, "pulses"), Unsigned(16).Unit("pulses"),
    Type(7, 2, "time (ms)"), Unsigned(16).Unit("ms"),
    Type(7, 3, "time (10 ms)"), Unsigned(16).Unit("ms").Times(10, 1),
    Type(7, 4, "time (100 ms)"), Unsigned(16).Unit("ms").Times(100, 1),
    Type(7, 5, "time (s)"), Unsigned(16).Unit("s"),
    Type(7, 6, "time (min)"), Unsigned(16).Unit("min"),
    Type(7, 7, "time (h)"), Unsigned(16).Unit("h"),
    Type(7, 10, "property data type"), Unsigned(16),
    Type(7, 11, "length (mm)"), Unsigned(16).Unit("mm"),
    Type(7, 12, "current (mA)"), Unsigned(16).Unit("mA"),
    Type(7, 13, "brightness (lux)"), Unsigned(16).Unit("lux"),
    Type(7, 600, "absolute colour temperature (K)"), Unsigned(16).Unit("K"),

    MainType(8, "16 bits, signed"), Signed(16),
    Type(8, 1, "pulses difference"), Signed(16).Unit("pulses"),
    Type(8, 2, "time lag (ms)"), Signed(16).Unit("ms"),
    Type(8, 3, "time lag(10 ms)"), Signed(16).Unit("ms").Times(10, 1),
    Type(8, 4, "time lag (100 ms)"), Signed(16).Unit("ms").Times(100, 1),
    Type(8, 5, "time lag (s)"), Signed(16).Unit("s"),
    Type(8, 6, "time lag (min)"), Signed(16).Unit("min"),
    Type(8, 7, "time lag (h)"), Signed(16).Unit("h"),
    Type(8, 10, "percentage difference (%)"), Signed(16).Unit("%").Times(1, 100),
    Type(8, 11, "rotation angle (°)"), Signed(16).Unit("°"),
    Type(8, 12, "length (m)"), Signed(16).Unit("m"),

    MainType(9, "float of 16 bits"), Float16(""),
    Type(9, 1, "temperature (°C)"), Float16("°C", -27300),
    Type(9, 2, "temperature difference (K)"), Float16("K", -67076000),
    Type(9, 3, "kelvin/hour (K/h)"), Float16("K/h", -67076000),
    Type(9, 4, "lux (Lux)"), Float16("Lux", 0),
    Type(9, 5, "speed (m/s)"), Float16("m/s", 0),
    Type(9, 6, "pressure (Pa)"), Float16("Pa", 0),
    Type(9, 7, "humidity (%)"), Float16("%", 0),
    Type(9, 8, "parts/million (ppm)"), Float16("ppm", 0),
    Type(9, 9, "air flow (m³/h)"), Float16("m³/h", -67076000),
    Type(9, 10, "time (s)"), Float16("s", -67076000),
    Type(9, 11, "time (ms)"), Float16("ms", -67076000),
    Type(9, 20, "voltage (mV)"), Float16("mV", -67076000),
    Type(9, 21, "current (mA)"), Float16("mA", -67076000),
    Type(9, 22, "power density (W/m²)"), Float16("W/m²", -67076000),
    Type(9, 23, "kelvin/percent (K/%)"), Float16("K/%", -67076000),
    Type(9, 24, "power (kW)"), Float16("kW", -67076000),
    Type(9, 25, "volume flow (l/h)"), Float16("l/h", -67076000),
    Type(9, 26, "rain amount (l/m²)"), Float16("l/m²"),
    Type(9, 27, "temperature (°F)"), Float16("°F", -45960),
    Type(9, 28, "wind speed (km/h)"), Float16("km/h", 0),
    Type(9, 29, "absolute humidity (g/m³)"), Float16("g/m³", 0),
    Type(9, 30, "concentration (µg/m³)"), Float16("µg/m³", 0),
    Type(9, 31, "coefficient"), Float16("", 0),

    MainType(10, "time of day"),
    Type(10, 1, "time of day"),
        Enumeration("day", 3, Days), Unsigned("hour", 5).Limits(0, 23), Reserved(2),
        Unsigned("minutes", 6).Limits(0, 59), Reserved(2), Unsigned("seconds", 6).Limits(0, 59),

    MainType(11, "date"),
    Type(11, 1, "date"),
        Reserved(3), Unsigned("day", 5).Limits(1, 31), Reserved(4), Unsigned("month", 4).Limits(1, 12), Reserved(1),
        ShortYear("year"),

    MainType(12, "32 bits, unsigned"), Unsigned(32),
    Type(12, 1, "counter pulses (unsigned)"), Unsigned(32).Unit("counter pulses"),
    Type(12, 100, "counter timesec (s)"), Unsigned(32).Unit("s"),
    Type(12, 101, "counter timemin (min)"), Unsigned(32).Unit("min"),
    Type(12, 102, "counter timehrs (h)"), Unsigned(32).Unit("h"),
    Type(12, 1200, "volume liquid (l)"), Unsigned(32).Unit("l"),
    Type(12, 1201, "volume (m³)"), Unsigned(32).Unit("m³"),

    MainType(13, "32 bits, signed"), Signed(32),
    Type(13, 1, "counter pulses (signed)"), Signed(32).Unit("counter pulses"),
    Type(13, 2, "flow rate (m³/h)"), Signed(32).Unit("m³/h"),
    Type(13, 10, "active energy (Wh)"), Signed(32).Unit("Wh"),
    Type(13, 11, "apparant energy (VAh)"), Signed(32).Unit("VAh"),
    Type(13, 12, "reactive energy (VARh)"), Signed(32).Unit("VARh"),
    Type(13, 13, "active energy (kWh)"), Signed(32).Unit("kWh"),
    Type(13, 14, "apparant energy (kVAh)"), Signed(32).Unit("kVAh"),
    Type(13, 15, "reactive energy (kVARh)"), Signed(32).Unit("kVARh"),
    Type(13, 16, "active energy (MWh)"), Signed(32).Unit("MWh"),
    Type(13, 100, "time lag (s)"), Signed(32).Unit("s"),
    Type(13, 1200, "delta volume liquid (l)"), Signed(32).Unit("l"),
    Type(13, 1201, "delta volume (m³)"), Signed(32).Unit("m³"),

    MainType(14, "float of 32 bits"), Float32(""),
    Type(14, 0, "acceleration (m/s²)"), Float32("m/s²"),
    Type(14, 1, "angular acceleration (rad/s²)"), Float32("rad/s²"),
    Type(14, 2, "activation energy (J/mol)"), Float32("J/mol"),
    Type(14, 3, "radioactive activity (1/s)"), Float32("1/s"),
    Type(14, 4, "amount of substance (mol)"), Float32("mol"),
    Type(14, 5, "amplitude"), Float32(""),
    Type(14, 6, "angle (radiant)"), Float32("rad"),
    Type(14, 7, "angle (degree)"), Float32("°"),
    Type(14, 8, "angular momentum (Js)"), Float32("Js"),
    Type(14, 9, "angular velocity (rad/s)"), Float32("rad/s"),
    Type(14, 10, "area (m*m)"), Float32("m²"),
    Type(14, 11, "capacitance (F)"), Float32("F"),
    Type(14, 12, "flux density (C/m²)"), Float32("C/m²"),
    Type(14, 13, "charge density (C/m³)"), Float32("C/m³"),
    Type(14, 14, "compressibility (m²/N)"), Float32("m²/N"),
    Type(14, 15, "conductance (S)"), Float32("S"),
    Type(14, 16, "conductivity  (S/m)"), Float32("S/m"),
    Type(14, 17, "density (kg/m³)"), Float32("kg/m³"),
    Type(14, 18, "electric charge (C)"), Float32("C"),
    Type(14, 19, "electric current (A)"), Float32("A"),
    Type(14, 20, "electric current density (A/m²)"), Float32("A/m²"),
    Type(14, 21, "electric dipole moment (Cm)"), Float32("Cm"),
    Type(14, 22, "electric displacement (C/m²)"), Float32("C/m²"),
    Type(14, 23, "electric field strength (V/m)"), Float32("V/m"),
    Type(14, 24, "electric flux (C)"), Float32("C"),
    Type(14, 25, "electric flux density (C/m²)"), Float32("C/m²"),
    Type(14, 26, "electric polarization (C/m²)"), Float32("C/m²"),
    Type(14, 27, "electric potential (V)"), Float32("V"),
    Type(14, 28, "electric potential difference (V)"), Float32("V"),
    Type(14, 29, "electromagnetic moment (Am²)"), Float32("Am²"),
    Type(14, 30, "electromotive force (V)"), Float32("V"),
    Type(14, 31, "energy (J)"), Float32("J"),
    Type(14, 32, "force (N)"), Float32("N"),
    Type(14, 33, "frequency (Hz)"), Float32("Hz"),
    Type(14, 34, "angular frequency (rad/s)"), Float32("rad/s"),
    Type(14, 35, "heat capacity (J/K)"), Float32("J/K"),
    Type(14, 36, "heat flow rate (W)"), Float32("W"),
    Type(14, 37, "heat quantity"), Float32("J"),
    Type(14, 38, "impedance (Ω)"), Float32("Ω"),
    Type(14, 39, "length (m)"), Float32("m"),
    Type(14, 40, "light quantity (J)"), Float32("J"),
    Type(14, 41, "luminance (cd/m²)"), Float32("cd/m²"),
    Type(14, 42, "luminous flux (lm)"), Float32("lm"),
    Type(14, 43, "luminous intensity (cd)"), Float32("cd"),
    Type(14, 44, "magnetic field strength (A/m)"), Float32("A/m"),
    Type(14, 45, "magnetic flux (Wb)"), Float32("Wb"),
    Type(14, 46, "magnetic flux density (T)"), Float32("T"),
    Type(14, 47, "magnetic moment (Am²)"), Float32("Am²"),
    Type(14, 48, "magnetic polarization (T)"), Float32("T"),
    Type(14, 49, "magnetization (A/m)"), Float32("A/m"),
    Type(14, 50, "magnetomotive force (A)"), Float32("A"),
    Type(14, 51, "mass (kg)"), Float32("kg"),
    Type(14, 52, "mass flux (kg/s)"), Float32("kg/s"),
    Type(14, 53, "momentum (N/s)"), Float32("N/s"),
    Type(14, 54, "phase angle (rad)"), Float32("rad"),
    Type(14, 55, "phase angle (°)"), Float32("°"),
    Type(14, 56, "power (W)"), Float32("W"),
    Type(14, 57, "power factor (cos Φ)"), Float32("cos Φ"),
    Type(14, 58, "pressure (Pa)"), Float32("Pa"),
    Type(14, 59, "reactance (Ω)"), Float32("Ω"),
    Type(14, 60, "resistance (Ω)"), Float32("Ω"),
    Type(14, 61, "resistivity (Ωm)"), Float32("Ωm"),
    Type(14, 62, "self inductance (H)"), Float32("H"),
    Type(14, 63, "solid angle (sr)"), Float32("sr"),
    Type(14, 64, "sound intensity (W/m²)"), Float32("W/m²"),
    Type(14, 65, "speed (m/s)"), Float32("m/s"),
    Type(14, 66, "stress (Pa)"), Float32("Pa"),
    Type(14, 67, "surface tension (N/m)"), Float32("N/m"),
    Type(14, 68, "temperature (°C)"), Float32("°C"),
    Type(14, 69, "temperature absolute (K)"), Float32("K"),
    Type(14, 70, "temperature difference (K)"), Float32("K"),
    Type(14, 71, "thermal capacity (J/K)"), Float32("J/K"),
    Type(14, 72, "thermal conductivity (W/mK)"), Float32("W/mK"),
    Type(14, 73, "thermoelectric power (V/K)"), Float32("V/K"),
    Type(14, 74, "time (s)"), Float32("s"),
    Type(14, 75, "torque (Nm)"), Float32("Nm"),
    Type(14, 76, "volume (m³)"), Float32("m³"),
    Type(14, 77, "volume flux (m³/s)"), Float32("m³/s"),
    Type(14, 78, "weight (N)"), Float32("N"),
    Type(14, 79, "work (J)"), Float32("J"),
    Type(14, 80, "apparent power (VA)"), Float32("VA"),
    Type(14, 1200, "volume flux for meters (m³/h)"), Float32("m³/h").Limits(-67076000, 67076000),
    Type(14, 1201, "volume flux for meters (1/ls)"), Float32("1/ls").Limits(-67076000, 67076000),

    MainType(15, "entrance access"),
    Type(15, 0, "entrance access"),
        Unsigned("digit6", 4).Limits(0, 9), Unsigned("digit5", 4).Limits(0, 9), Unsigned("digit4", 4).Limits(0, 9),
        Unsigned("digit3", 4).Limits(0, 9), Unsigned("digit2", 4).Limits(0, 9), Unsigned("digit1", 4).Limits(0, 9),
        Bit("detectionError", "no error|reading of access information code was not successful"),
        Bit("permission", "not accepted|accepted"), Bit("readDirection", "left to right|right to left"),
        Bit("encryption", "no|yes"), Unsigned("index", 4),

    MainType(16, "14 characters"), Latin1(14),
    Type(16, 0, "Character String (ASCII)"), Ascii(14),
    Type(16, 1, "Character String (ISO 8859-1)"), Latin1(14),

    MainType(17, "scene number"),
    Type(17, 1, "scene number"), Reserved(2), Unsigned(6).Plus(1),

    MainType(18, "scene control"),
    Type(18, 1, "scene control"), Bit("control", "activate|learn"), Reserved(1), Unsigned("scene", 6).Plus(1),

    MainType(19, "date time"),
    Type(19, 1, "date time"),
        Unsigned("year", 8).Plus(1900), Reserved(4), Unsigned("month", 4).Limits(1, 12), Reserved(3),
        Unsigned("day", 5).Limits(1, 31), Enumeration("dayOfWeek", 3, Days), Unsigned("hour", 5).Limits(0, 24),
        Reserved(2), Unsigned("minutes", 6).Limits(0, 59), Reserved(2), Unsigned("seconds", 6).Limits(0, 59),
        Bit("fault", "no|yes").Preset(0), Bit("workingDay", "no|yes").Preset(0),
        Bit("noWorkingDay", "valid|not valid").Preset(1), Bit("noYear", "valid|not valid").Preset(0),
        Bit("noDate", "valid|not valid").Preset(0), Bit("noDayOfWeek", "valid|not valid").Preset(0),
        Bit("noTime", "valid|not valid").Preset(0), Bit("summerTime", "no|yes").Preset(0),
        Bit("clockQuality", "unsynchronised|synchronised").Preset(0), Reserved(7),

    MainType(20, "8 bits, enumeration"), Unsigned(8),
    Type(20, 1, "SCLO mode"), Enumeration(8, "0=autonomous|1=slave|2=master"),
    Type(20, 2, "building mode"), Enumeration(8, "0=Building in use|1=Building not used|2=Building protection"),
    Type(20, 3, "occupied"), Enumeration(8, "0=occupied|1=standby|2=not occupied"),
    Type(20, 4, "priority"), Enumeration(8, "0=High|1=Medium|2=Low|3='void'"),
    Type(20, 5, "light application mode"), Enumeration(8, "0=normal|1=presence simulation|2=night round"),
    Type(20, 6, "light application area"),
        Enumeration(8,
            "0=no fault|1=system and functions of common interest|10=HVAC general FBs|11=HVAC Hot Water Heating|"
            "12=HVAC Direct Electrical Heating|13=HVAC Terminal Units|14=HVAC VAC|20=Lighting|30=Security|"
            "40=Load Management|50=Shutters and blinds"),
    Type(20, 7, "alarm class"), Enumeration(8, "1=simple alarm|2=basic alarm|3=extended alarm"),
    Type(20, 8, "PSU mode"),
        Enumeration(8,
            "0=disabled (PSU/DPSU fixed off)|1=enabled (PSU/DPSU fixed on)|2=auto (PSU/DPSU automatic on/off)"),
    Type(20, 11, "system error class"),
        Enumeration(8,
            "0=no fault|1=general device fault (e.g. RAM, EEPROM, UI, watchdog, ...)|2=communication fault|"
            "3=configuration fault|4=hardware fault|5=software fault|6=insufficient non volatile memory|"
            "7=insufficient volatile memory|8=memory allocation command with size 0 received|9=CRC-error|"
            "10=watchdog reset detected|11=invalid opcode detected|12=general protection fault|"
            "13=maximal table length exceeded|14=undefined load command received|"
            "15=Group Address Table is not sorted|16=invalid connection number (TSAP)|"
            "17=invalid Group Object number (ASAP)|18=Group Object Type exceeds (PID_MAX_APDU_LENGTH - 2)"),
    Type(20, 12, "HVAC error class"),
        Enumeration(8, "0=no fault|1=sensor fault|2=process fault / controller fault|3=actuator fault|4=other fault"),
    Type(20, 13, "time delay"),
        Enumeration(8,
            "0=not active|1=1 s|2=2 s|3=3 s|4=5 s|5=10 s|6=15 s|7=20 s|8=30 s|9=45 s|10=1 min|11=1,25 min|12=1,5 min|"
            "13=2 min|14=2,5 min|15=3 min|16=5 min|17=15 min|18=20 min|19=30 min|20=1 h|21=2 h|22=3 h|23=5 h|24=12 h|"
            "25=24 h"),
    Type(20, 14, "wind force scale (0..12)"),
        Enumeration(8,
            "0=calm (no wind)|1=light air|2=light breeze|3=gentle brezze|4=moderate breeze|5=fresh breeze|"
            "6=strong breeze|7=near gale / moderate gale|8=fresh gale|9=strong gale|10=whole gale / storm|"
            "11=violent storm|12=hurricane"),
    Type(20, 17, "sensor mode"),
        Enumeration(8,
            "0=inactive|1=digital input not inverted|2=digital input inverted|3=analog input -> 0% to 100%|"
            "4=temperature sensor input"),
    Type(20, 20, "actuator connect type"), Enumeration(8, "1=SensorConnection|2=ControllerConnection"),
    Type(20, 21, "cloud cover"),
        Enumeration(8,
            "0=Cloudless|1=Sunny|2=Sunshiny|3=Lightly cloudy|4=Scattered clouds|5=Cloudy|8=Overcast|"
            "9=Sky obstructed from view"),
    Type(20, 22, "power return mode"),
        Enumeration(8, "0=do not send|1=send always|2=send if value changed during powerdown"),
    Type(20, 100, "fuel type"), Enumeration(8, "0=auto|1=oil|2=gas|3=solid state fuel"),
    Type(20, 101, "burner type"), Enumeration(8, "1=1 stage|2=2 stage|3=modulating"),
    Type(20, 102, "HVAC mode"), Enumeration(8, "0=Auto|1=Comfort|2=Standby|3=Economy|4=Building Protection"),
    Type(20, 103, "DHW mode"), Enumeration(8, "0=Auto|1=LegioProtect|2=Normal|3=Reduced|4=Off/FrostProtect"),
    Type(20, 104, "load priority"), Enumeration(8, "0=None|1=Shift load priority|2=Absolut load priority"),
    Type(20, 105, "HVAC control mode"),
        Enumeration(8,
            "0=Auto|1=Heat|2=Morning Warmup|3=Cool|4=Night Purge|5=Precool|6=Off|7=Test|8=Emergency Heat|9=Fan only|"
            "10=Free Cool|11=Ice|12=Maximum Heating Mode|13=Economic Heat/Cool Mode|14=Dehumidification|"
            "15=Calibration Mode|16=Emergency Cool Mode|17=Emergency Steam Mode|20=NoDem"),
    Type(20, 106, "HVAC emergency mode"),
        Enumeration(8, "0=Normal|1=EmergPressure|2=EmergDepressure|3=EmeergPurge|4=EmergShutdown|5=EmergFire"),
    Type(20, 107, "changeover mode"), Enumeration(8, "0=Auto|1=CoolingOnly|2=HeatingOnly"),
    Type(20, 108, "valve mode"),
        Enumeration(8,
            "1=Heat stage A for normal heating|2=Heat stage B for heating with two stages (A + B)|"
            "3=Cool stage A for normal cooling|4=Cool stage B for cooling with two stages (A + B)|"
            "5=Heat/Cool for changeover applications"),
    Type(20, 109, "damper mode"),
        Enumeration(8,
            "1=Fresh air, e.g. for fancoils|2=Supply air, e.g. for VAV|3=Extract air, e.g. for VAV (3)|"
            "4=Extract air, e.g. for VAV (4)"),
    Type(20, 110, "heater mode"),
        Enumeration(8, "1=Heat Stage A On/Off|2=Heat Stage A Proportional|3=Heat Stage B Proportional"),
    Type(20, 111, "fan mode"), Enumeration(8, "0=not running|1=permanently running|2=running in intervals"),
    Type(20, 112, "master/slave mode"), Enumeration(8, "0=autonomous|1=master|2=slave"),
    Type(20, 113, "status room setpoint"),
        Enumeration(8, "0=normal setpoint|1=alternative setpoint|2=building protection setpoint"),
    Type(20, 114, "metering device type"),
        Enumeration(8,
            "0=other device|1=oil meter|2=electricity meter|3=gas device|4=heat meter|5=steam meter|"
            "6=warm water meter|7=water meter|8=heat cost allocator|10=cooling load meter (outlet)|"
            "11=cooling load meter (inlet)|12=heat (inlet)|13=heat and cool|32=breaker (electricity)|"
            "33=valve (gas or water)|40=waste water meter|41=garbage|255=void decice type"),
    Type(20, 115, "hum dehum mode"), Enumeration(8, "0=inactive|1=humidification|2=dehumidification"),
    Type(20, 116, "enable H/C stage"),
        Enumeration(8, "0=disabled|1=enable stage A|2=enable stage B|3=enable both stages"),
    Type(20, 120, "ADA type"), Enumeration(8, "1=Air Damper|2=VAV"),
    Type(20, 121, "backup mode"), Enumeration(8, "0=Backup Value|1=Keep Last State"),
    Type(20, 122, "start syncronization type"), Enumeration(8, "0=Position unchanged|1=Single close|2=Single open"),
    Type(20, 600, "behavior lock/unlock"),
        Enumeration(8,
            "0=off|1=on|2=no change|3=value according additional parameter|4=memory function value|5=updated value|"
            "6=value before locking"),
    Type(20, 601, "behavior bus power up/down"),
        Enumeration(8,
            "0=off|1=on|2=no change|3=value according additional parameter|4=last (value before bus power down)"),
    Type(20, 602, "dali fade time"),
        Enumeration(8,
            "0=0 s (no fade)|1=0,7 s|2=1,0 s|3=1,4 s|4=2,0 s|5=2,8 s|6=4,0 s|7=5,7 s|8=8,0 s|9=11,3 s|10=16,0 s|"
            "11=22,6 s|12=32,0 s|13=45,3 s|14=64,0 s|15=90,5 s"),
    Type(20, 603, "blink mode"), Enumeration(8, "0=BlinkingDisabled|1=WithoutAcknowledge|2=BlinkingWithAcknowledge"),
    Type(20, 604, "light control mode"), Enumeration(8, "0=automatic light control|1=manual light control"),
    Type(20, 605, "PB switch mode"), Enumeration(8, "1=one PB/binary input mode|2=two PBs/binary inputs mode"),
    Type(20, 606, "PB action mode"),
        Enumeration(8,
            "0=inactive (no message sent)|1=SwitchOff message sent|2=SwitchOn message sent|"
            "3=inverse value of InfoOnOff is sent"),
    Type(20, 607, "PB dimm mode"),
        Enumeration(8,
            "1=one PB/binary input; SwitchOnOff inverts on each transmission|"
            "2=one PB/binary input, On / DimUp message sent|3=one PB/binary input, Off / DimDown message sent|"
            "4=two PBs/binary inputs mode"),
    Type(20, 608, "switch on mode"),
        Enumeration(8,
            "0=last actual value|1=value according additional parameter|2=last received absolute setvalue"),
    Type(20, 609, "load type"),
        Enumeration(8,
            "0=automatic|1=leading edge (inductive load)|2=trailing edge (capacitive load)|"
            "3=switch mode only (non-dimmable load)|4=automatic once|5=CFL, leading|6=CFL, trailing|7=LED, leading|"
            "8=LED, trailing"),
    Type(20, 610, "load type detection"),
        Enumeration(8,
            "0=undefined|1=leading edge (inductive load)|2=trailing edge (capacitive load)|"
            "3=detection not possible or error (3)|4=calibration pending, waiting on trigger|5=CFL, leading|"
            "6=CFL, trailing|7=LED, leading|8=LED, trailing|255=detection not possible or error (255)"),
    Type(20, 611, "converter test control"),
        Enumeration(8,
            "1=Start Function Test (FT)|2=Start Duration Test (DT)|3=Start Partial Duration Test|4=Stop Test|"
            "5=Reset Function Test Done Flag|6=Reset Duration Test Done"),
    Type(20, 801, "SAB except behavior"),
        Enumeration(8, "0=up|1=down|2=no change|3=value according additional parameter|4=stop"),
    Type(20, 802, "SAB behavior on lock/unlock"),
        Enumeration(8,
            "0=up|1=down|2=no change|3=value according additional parameter|4=stop|5=updated value|"
            "6=value before locking"),
    Type(20, 803, "SSSB mode"),
        Enumeration(8,
            "1=one push button/binary input|2=one push button/binary input, MoveUp / StepUp message sent|"
            "3=one push button/binary input, MoveDown / StepDown message sent|4=two push buttons/binary inputs mode"),
    Type(20, 804, "blinds control mode"), Enumeration(8, "0=Automatic Control|1=Manual Control"),
    Type(20, 1000, "communication mode"),
        Enumeration(8,
            "0=Data Link Layer|1=Data Link Layer Busmonitor|2=Data Link Layer Raw Frames|6=cEMI Transport Layer|"
            "255=No Layer"),
    Type(20, 1001, "additional information type"),
        Enumeration(8,
            "1=PL medium Domain Address|2=RF Control Octet and Serial Number or DoA|3=Busmonitor Error Flags|"
            "4=Relative timestamp|5=Time delay|6=Extended Relative Timestamp|7=BiBat information"),
    Type(20, 1002, "RF mode selection"),
        Enumeration(8, "0=asynchronous|1=asynchronous + BiBat Master|2=asynchronous + BiBat Slave"),
    Type(20, 1003, "RF filter mode selection"),
        Enumeration(8,
            "0=no filtering, all supported received frames shall be passed to the cEMI client using L_Data.ind|"
            "1=filtering by Domain Address|2=filtering by KNX Serial Number table|"
            "3=filtering by Domain Address and by Serial Number"),

    MainType(21, "8 bits, set"), Unsigned(8),
    Type(21, 1, "general status"),
        Reserved(3), Flag("notAcknowledged"), Flag("inAlarm"), Flag("overridden"), Flag("corrupted"),
        Flag("outOfService"),
    Type(21, 2, "device control"), Reserved(5), Flag("verifyMode"), Flag("ownAddressReceived"), Flag("stopped"),
    Type(21, 100, "forcing signal"),
        Flag("roomHMax"), Flag("roomHConf"), Flag("dhwLegio"), Flag("dhwNorm"), Flag("overrun"), Flag("oversupply"),
        Flag("protection"), Flag("forceRequest"),
    Type(21, 101, "forcing signal cool"), Reserved(7), Flag("forceRequest"),
    Type(21, 102, "room heating controller status"),
        Flag("summerMode"), Flag("statusStopOptim"), Flag("statusStartOptim"), Flag("statusMorningBoost"),
        Flag("tempReturnLimit"), Flag("tempFlowLimit"), Flag("statusEco"), Flag("fault"),
    Type(21, 103, "solar DHW controller status"),
        Reserved(5), Flag("solarLoadSufficient"), Flag("sdhwLoadActive"), Bit("fault", "ok|fault"),
    Type(21, 104, "fuel type set"), Reserved(5), Flag("solidState"), Flag("gas"), Flag("oil"),
    Type(21, 105, "room cooling controller status"), Reserved(7), Flag("fault"),
    Type(21, 106, "ventilation controller status"),
        Reserved(4), Flag("cool"), Flag("heat"), Flag("fanActive"), Flag("fault"),
    Type(21, 107, "combined status RTSM"),
        Reserved(3), Flag("hvacMode"), Flag("comfortProlongation"), Flag("comfortButton"), Flag("presence"),
        Flag("window"),
    Type(21, 601, "lighting actuator error information"),
        Reserved(1), Flag("overheat"), Flag("lampFailure"), Flag("defectiveLoad"), Flag("underload"),
        Flag("overcurrent"), Flag("undervoltage"), Flag("loadDetectionError"),
    Type(21, 1000, "RF communication mode info"),
        Reserved(5), Flag("biBatSlave"), Flag("biBatMaster"), Flag("asynchronous"),
    Type(21, 1001, "cEMI server supported RF filtering modes"),
        Reserved(5), Flag("doA"), Flag("knxSN"), Flag("doAAndKNXSN"),
    Type(21, 1010, "channel activation for 8 channels"),
        Bit("channel1", "inactive|active"), Bit("channel2", "inactive|active"), Bit("channel3", "inactive|active"),
        Bit("channel4", "inactive|active"), Bit("channel5", "inactive|active"), Bit("channel6", "inactive|active"),
        Bit("channel7", "inactive|active"), Bit("channel8", "inactive|active"),

    MainType(22, "16 bits, set"), Unsigned(16),
    Type(22, 100, "DHW controller status"),
        Reserved(8), Flag("tempOptimShiftActive"), Flag("solarEnergySupport"), Flag("solarEnergyOnly"),
        Flag("otherEnergySourceActive"), Flag("dhwPushActive"), Flag("legioProtActive"), Flag("dhwLoadActive"),
        Flag("fault"),
    Type(22, 101, "RHCC status"),
        Reserved(1), Bit("overheatAlarm", "no alarm|alarm"), Bit("frostAlarm", "no alarm|alarm"),
        Bit("dewPointStatus", "no alarm|alarm"), Flag("coolingDisabled"), Flag("statusPreCool"), Flag("statusEcoC"),
        Bit("heatCoolMode", "cooling|heating"), Flag("heatingDisabled"), Flag("statusStopOptim"),
        Flag("statusStartOptim"), Flag("statusMorningBoostH"), Flag("tempFlowReturnLimit"), Flag("tempFlowLimit"),
        Flag("statusEcoH"), Flag("fault"),
    Type(22, 102, "combined status HVA"),
        Reserved(7), Flag("calibrationMode"), Flag("lockedPosition"), Flag("forcedPosition"), Flag("manualOperation"),
        Flag("serviceMode"), Flag("valveKick"), Flag("overload"), Flag("shortCircuit"), Flag("currentValvePosition"),
    Type(22, 103, "combined status RTC"),
        Reserved(7), Flag("coolingModeEnabled"), Flag("heatingModeEnabled"), Flag("additionalStage"),
        Flag("controllerInactive"), Flag("overheatAlarm"), Flag("frostAlarm"), Flag("dewPointStatus"),
        Flag("activeMode"), Flag("generalFailure"),
    Type(22, 1000, "media"),
        Reserved(10), Flag("knxIP"), Flag("rf"), Reserved(1), Flag("pl110"), Flag("tp1"), Reserved(1),
    Type(22, 1010, "channel activation for 16 channels"),
        Bit("channel1", "inactive|active"), Bit("channel2", "inactive|active"), Bit("channel3", "inactive|active"),
        Bit("channel4", "inactive|active"), Bit("channel5", "inactive|active"), Bit("channel6", "inactive|active"),
        Bit("channel7", "inactive|active"), Bit("channel8", "inactive|active"), Bit("channel9", "inactive|active"),
        Bit("channel10", "inactive|active"), Bit("channel11", "inactive|active"), Bit("channel12", "inactive|active"),
        Bit("channel13", "inactive|active"), Bit("channel14", "inactive|active"), Bit("channel15", "inactive|active"),
        Bit("channel16", "inactive|active"),

    MainType(23, "2 bits, enumeration"), Unsigned(2),
    Type(23, 1, "on/off action"), Enumeration(2, "0=off|1=on|2=off/on|3=on/off"),
    Type(23, 2, "alarm reaction"), Enumeration(2, "0=no alarm is used|1=alarm position is UP|2=alarm position is DOWN"),
    Type(23, 3, "up/down action"), Enumeration(2, "0=Up|1=Down|2=UpDown|3=DownUp"),
    Type(23, 102, "HVAC push button action"),
        Enumeration(2, "0=Comfort/Economy|1=Comfort/Nothing|2=Economy/Nothing|3=Building prot/Auto"),

    MainType(24, "Variable-Length ISO-8859-1 String"),
    Type(24, 1, "Variable-Length ISO-8859-1 String"), Latin1Line(39),

    MainType(25, "busy/nak repetitions"),
    Type(25, 1000, "busy/nak repetitions"), Unsigned("busy", 4).Limits(0, 3), Unsigned("nak", 4).Limits(0, 3),

    MainType(26, "scene information"),
    Type(26, 1, "scene information"),
        Reserved(1), Bit("state", "scene is active|scene is inactive"), Unsigned("scene", 6).Plus(1),

    MainType(27, "bit-combined info on/off"),
    Type(27, 1, "bit-combined info on/off"),
        Bit("validity16", "not valid|valid"), Bit("validity15", "not valid|valid"),
        Bit("validity14", "not valid|valid"), Bit("validity13", "not valid|valid"),
        Bit("validity12", "not valid|valid"), Bit("validity11", "not valid|valid"),
        Bit("validity10", "not valid|valid"), Bit("validity9", "not valid|valid"),
        Bit("validity8", "not valid|valid"), Bit("validity7", "not valid|valid"), Bit("validity6", "not valid|valid"),
        Bit("validity5", "not valid|valid"), Bit("validity4", "not valid|valid"), Bit("validity3", "not valid|valid"),
        Bit("validity2", "not valid|valid"), Bit("validity1", "not valid|valid"), Bit("output16", "Off|On"),
        Bit("output15", "Off|On"), Bit("output14", "Off|On"), Bit("output13", "Off|On"), Bit("output12", "Off|On"),
        Bit("output11", "Off|On"), Bit("output10", "Off|On"), Bit("output9", "Off|On"), Bit("output8", "Off|On"),
        Bit("output7", "Off|On"), Bit("output6", "Off|On"), Bit("output5", "Off|On"), Bit("output4", "Off|On"),
        Bit("output3", "Off|On"), Bit("output2", "Off|On"), Bit("output1", "Off|On"),

    MainType(28, "Unicode UTF-8 String"),
    Type(28, 1, "Unicode UTF-8 String"), Utf8Line(39),

    MainType(29, "64 bits, signed"), Signed(64),
    Type(29, 10, "active energy (Wh)"), Signed(64).Unit("Wh"),
    Type(29, 11, "apparant energy (VAh)"), Signed(64).Unit("VAh"),
    Type(29, 12, "reactive energy (VARh)"), Signed(64).Unit("VARh"),

    MainType(30, "activation state 0..23"),
    Type(30, 1010, "activation state 0..23"),
        Bit("channel1", "inactive|active"), Bit("channel2", "inactive|active"), Bit("channel3", "inactive|active"),
        Bit("channel4", "inactive|active"), Bit("channel5", "inactive|active"), Bit("channel6", "inactive|active"),
        Bit("channel7", "inactive|active"), Bit("channel8", "inactive|active"), Bit("channel9", "inactive|active"),
        Bit("channel10", "inactive|active"), Bit("channel11", "inactive|active"), Bit("channel12", "inactive|active"),
        Bit("channel13", "inactive|active"), Bit("channel14", "inactive|active"), Bit("channel15", "inactive|active"),
        Bit("channel16", "inactive|active"), Bit("channel17", "inactive|active"), Bit("channel18", "inactive|active"),
        Bit("channel19", "inactive|active"), Bit("channel20", "inactive|active"), Bit("channel21", "inactive|active"),
        Bit("channel22", "inactive|active"), Bit("channel23", "inactive|active"), Bit("channel24", "inactive|active"),

    MainType(206, "time delay & mode"), Unsigned("delay", 16), Unsigned("mode", 8),
    Type(206, 100, "time delay & HVAC mode"),
        Unsigned("delay", 16),
        Enumeration("mode", 8, "0=undefined|1=comfort|2=standby|3=economy|4=building protection"),
    Type(206, 102, "time delay & DHW mode"),
        Unsigned("delay", 16),
        Enumeration("mode", 8, "0=undefined|1=legio protect|2=normal|3=reduced|4=off/ frost protection"),
    Type(206, 104, "time delay & occupancy mode"),
        Unsigned("delay", 16), Enumeration("mode", 8, "0=occupied|1=standby|2=not occupied"),
    Type(206, 105, "time delay & building mode"),
        Unsigned("delay", 16), Enumeration("mode", 8, "0=building in use|1=building not in use|2=building protected"),

    MainType(207, "Status Lighting Actuator"),
    Type(207, 600, "Status Lighting Actuator"),
        Percentage("actualValue"), Flag("failure"), Flag("localOverride"), Flag("dimming"),
        Flag("staircaseLightingFunction"), Flag("nightModeActive"), Flag("forced"), Flag("locked"),
        Flag("validActualValue").Preset(1),

    MainType(217, "DPT version"),
    Type(217, 1, "DPT version"),
        Unsigned("magicNumber", 5), Unsigned("versionNumber", 5), Unsigned("revisionNumber", 6),

    MainType(219, "alarm info"),
    Type(219, 1, "alarm info"),
        Unsigned("logNumber", 8),
        Enumeration("alarmPriority", 8, "0=high priority|1=medium priority|2=low priority|3=no priority"),
        Enumeration("applicationArea", 8,
            "0=no fault|1=System & functions of common interest|10=HVAC General FB's|11=HVAC Hot Water Heating|"
            "12=HVAC Direct Electrical Heating|13=HVAC Terminal Units|14=HVAC VAC|20=Lighting|30=Security|"
            "50=Shutters & Blinds"),
        Enumeration("errorClass", 8,
            "0=no fault|1=general device fault (e.g. RAM, EEPROM, UI, Watchdog, ...)|2=communication fault|"
            "3=configuration fault|4=HW fault|5=SW fault"),
        Reserved(4), Flag("errorCodeSup"), Flag("alarmTextSup"), Flag("timeStampSup"), Flag("ackSup"), Reserved(5),
        Flag("locked"), Flag("alarmUnAck"), Flag("inAlarm"),

    MainType(222, "three floats of 16 bits"), Float16("comfort", ""), Float16("standby", ""), Float16("economy", ""),
    Type(222, 100, "room temperature setpoint"),
        Float16("comfort", "°C", -27300), Float16("standby", "°C", -27300), Float16("economy", "°C", -27300),
    Type(222, 101, "room temperature setpoint shift"),
        Float16("comfort", "°C", -67076000), Float16("standby", "°C", -67076000), Float16("economy", "°C", -67076000),

    MainType(225, "scaling speed or step time"),
        Unsigned("timePeriod", 16), Unsigned("percent", 8).Unit("%").Times(100, 255),
    Type(225, 1, "scaling speed"),
        Unsigned("timePeriod", 16).Unit("ms").Times(100, 1).Limits(1, 65535), Percentage("percent"),
    Type(225, 2, "scaling step time"), Unsigned("timePeriod", 16).Unit("ms").Limits(1, 65535), Percentage("percent"),

    MainType(229, "metering value (value,encoding,cmd)"),
    Type(229, 1, "metering value (value,encoding,cmd)"),
        Signed("value", 32),
        Enumeration("encoding", 8,
            "0=energy, 0.001 Wh|1=energy, 0.01 Wh|2=energy, 0.1 Wh|3=energy, 1 Wh|4=energy, 10 Wh|5=energy, 100 Wh|"
            "6=energy, 1000 Wh|7=energy, 10000 Wh|8=energy, 0.001 kJ|9=energy, 0.01 kJ|10=energy, 0.1 kJ|"
            "11=energy, 1 kJ|12=energy, 10 kJ|13=energy, 100 kJ|14=energy, 1000 kJ|15=energy, 10000 kJ|"
            "16=volume, 0.001 l|17=volume, 0.01 l|18=volume, 0.1 l|19=volume, 1 l|20=volume, 10 l|21=volume, 100 l|"
            "22=volume, 1000 l|23=volume, 10000 l|24=mass, 0.001 kg|25=mass, 0.01 kg|26=mass, 0.1 kg|27=mass, 1 kg|"
            "28=mass, 10 kg|29=mass, 100 kg|30=mass, 1000 kg|31=mass, 10000 kg|40=power, 0.001 W|41=power, 0.01 W|"
            "42=power, 0.1 W|43=power, 1 W|44=power, 10 W|45=power, 100 W|46=power, 1000 W|47=power, 10000 W|"
            "48=power, 0.001 kJ/h|49=power, 0.01 kJ/h|50=power, 0.1 kJ/h|51=power, 1 kJ/h|52=power, 10 kJ/h|"
            "53=power, 100 kJ/h|54=power, 1000 kJ/h|55=power, 10000 kJ/h|56=volume flow, 0.001 l/h|"
            "57=volume flow, 0.01 l/h|58=volume flow, 0.1 l/h|59=volume flow, 1 l/h|60=volume flow, 10 l/h|"
            "61=volume flow, 100 l/h|62=volume flow, 1000 l/h|63=volume flow, 10000 l/h|64=volume flow, 0.0001 l/min|"
            "65=volume flow, 0.001 l/min|66=volume flow, 0.01 l/min|67=volume flow, 0.1 l/min|"
            "68=volume flow, 1 l/min|69=volume flow, 10 l/min|70=volume flow, 100 l/min|71=volume flow, 1000 l/min|"
            "72=volume flow, 0.001 ml/s|73=volume flow, 0.01 ml/s|74=volume flow, 0.1 ml/s|75=volume flow, 1 ml/s|"
            "76=volume flow, 10 ml/s|77=volume flow, 100 ml/s|78=volume flow, 1000 ml/s|79=volume flow, 10000 ml/s|"
            "80=mass flow, 0.001 kg/h|81=mass flow, 0.01 kg/h|82=mass flow, 0.1 kg/h|83=mass flow, 1 kg/h|"
            "84=mass flow, 10 kg/h|85=mass flow, 100 kg/h|86=mass flow, 1000 kg/h|87=mass flow, 10000 kg/h|"
            "110=Units for HCA|128=energy, 0.1 MWh|129=energy, 1 MWh|136=energy, 0.1 GJ|137=energy, 1 GJ|"
            "168=power, 0.1 MW|169=power, 1 MW|176=power, 0.1 GJ/h|177=power, 1 GJ/h"),
        Reserved(3), Flag("alarmUnAck"), Flag("inAlarm"), Flag("overridden"), Flag("fault"), Flag("outOfService"),

    MainType(230, "MBus address"),
    Type(230, 1000, "MBus address"),
        Unsigned("manufactID", 16), Unsigned("identNumber", 32), Unsigned("version", 8),
        Enumeration("medium", 8,
            "0=Other|1=Oil meter|2=Electricity meter|3=Gas meter|4=Heat meter|5=Steam meter|"
            "6=Warm Water meter (30 °C to 90 °C)|7=Water meter|8=Heat cost allocator|9=Compressed Air|"
            "10=Cooling Load meter (inlet)|11=Cooling Load meter (outlet)|12=Heat (inlet)|13=Heat and Cool|"
            "14=Bus/System|15=Unknown Device type|32=Breaker (electricity)|33=Valve (gas or water)|"
            "40=Waste water meter|41=Garbage|55=Radio converter (meter side)"),

    MainType(232, "RGB value 3x(0..255)"),
    Type(232, 600, "RGB value 3x(0..255)"), Unsigned("red", 8), Unsigned("green", 8), Unsigned("blue", 8),

    MainType(234, "language code (ASCII)"),
    Type(234, 1, "language code (ASCII)"), Ascii(2),

    MainType(235, "electrical energy with tariff"),
    Type(235, 1, "electrical energy with tariff"),
        Signed("activeElectricalEnergy", 32), Unsigned("tariff", 8), Reserved(6),
        Bit("energyValidity", "valid|not valid"), Bit("tariffValidity", "valid|not valid"),

    MainType(236, "priority control"),
    Type(236, 1, "priority control"),
        Bit("control", "activation of priority|deactivation of priority"),
        Enumeration("priorityLevel", 3,
            "0=Level 0|1=Level 1|2=Level 2|3=Level 3|4=Level 4|5=Level 5|6=Level 6|7=Level 7"),
        Enumeration("modeLevel", 4,
            "0=Level 0|1=Level 1|2=Level 2|3=Level 3|4=Level 4|5=Level 5|6=Level 6|7=Level 7|8=Level 8|9=Level 9|"
            "10=Level 10|11=Level 11|12=Level 12|13=Level 13|14=Level 14|15=Level 15"),

    MainType(237, "diagnostic value"),
    Type(237, 600, "diagnostic value"),
        Reserved(5), Bit("converterError", "no error|error"), Bit("ballastFailure", "no error|error"),
        Bit("lampFailure", "no error|error"), Bit("readOrResponse", "Response or spontaneous sending|Read"),
        Bit("addressIndicator", "Device Address|Group Address"), Unsigned("address", 6),

    MainType(238, "diagnostic value"),
    Type(238, 600, "diagnostic value"),
        Bit("ballastFailure", "no error|error"), Bit("lampFailure", "no error|error"), Unsigned("deviceAddress", 6),

    MainType(240, "combined position"),
    Type(240, 800, "combined position"),
        Percentage("heightPosition"), Percentage("slatsPosition"), Reserved(6),
        Bit("validitySlatsPosition", "void|valid").Preset(1), Bit("validityHeightPosition", "void|valid").Preset(1),

    MainType(241, "status sunblind & shutter actuator"),
    Type(241, 800, "status sunblind & shutter actuator"),
        Percentage("heightPosition"), Percentage("slatsPosition"), Bit("validitySlatsPosition", "is void|is valid"),
        Bit("validityHeightPosition", "is void|is valid"), Reserved(3), Flag("failure"), Flag("locallyOverridden"),
        Flag("locked"), Flag("forced"), Flag("weatherAlarm"), Flag("slatsRestricted"), Flag("heightRestricted"),
        Bit("target", "drive is moving|target pos. is reached"), Flag("lowerPredefinedPosition"),
        Flag("lowerEndPosition"), Flag("upperEndPosition"),

    MainType(242, "colour xyY"),
    Type(242, 600, "colour xyY"),
        Unsigned("x", 16), Unsigned("y", 16), Unsigned("brightness", 8).Unit("%"), Reserved(6),
        Bit("validityXy", "invalid|valid").Preset(1), Bit("validityBrightness", "invalid|valid").Preset(1),

    MainType(244, "DALI converter status"),
    Type(244, 600, "DALI converter status"),
        Enumeration("mode", 4,
            "0=Unknown|1=Normal mode active, all OK|2=Inhibit mode active|3=Hardwired inhibit mode active|"
            "4=Rest mode active|5=Emergency mode active|6=Extended emergency mode active|7=FT in progress|"
            "8=DT in progress|9=PDT in progress"),
        Reserved(2), Bit("hardwiredSwitch", "Hardwired switch is inactive|Hardwired switch is active"),
        Bit("hardwiredInhibit", "Hardwired Inhibit is inactive|Hardwired Inhibit is active"),
        Enumeration("functionTest", 2, "0=Unknown|1=No test pending|2=Test pending"),
        Enumeration("durationTest", 2, "0=Unknown|1=No test pending|2=Test pending"),
        Enumeration("partialDurationTest", 2, "0=Unknown|1=No test pending|2=Test pending"),
        Enumeration("failure", 2, "0=Unknown|1=No failure detected|2=Failure detected"),

    MainType(245, "DALI converter test result"),
    Type(245, 600, "DALI converter test result"),
        Enumeration("ltrf", 4,
            "0=Unknown|1=Passed in time|2=Passed max delay exceeded|3=Failed, test executed in time|"
            "4=Failed, max delay exceeded|5=Test manually stopped"),
        Enumeration("ltrd", 4,
            "0=Unknown|1=Passed in time|2=Passed max delay exceeded|3=Failed, test executed in time|"
            "4=Failed, max delay exceeded|5=Test manually stopped"),
        Enumeration("ltrp", 4,
            "0=Unknown|1=Passed in time|2=Passed max delay exceeded|3=Failed, test executed in time|"
            "4=Failed, max delay exceeded|5=Test manually stopped"),
        Reserved(4), Enumeration("sf", 2, "0=Unknown|1=Started automatically|2=Started by Gateway"),
        Enumeration("sd", 2, "0=Unknown|1=Started automatically|2=Started by Gateway"),
        Enumeration("sp", 2, "0=Unknown|1=Started automatically|2=Started by Gateway"), Reserved(2),
        Unsigned("ldtr", 16).Limits(0, 510), Unsigned("lpdtr", 8),

    MainType(246, "Battery Information"),
    Type(246, 600, "Battery Information"),
        Reserved(5), Flag("batteryFullyCharged"), Flag("batteryDurationFailure"), Flag("batteryFailure"),
        Unsigned("batteryChargeLevel", 8).Unit("%"),

    MainType(249, "brightness colour temperature transition"),
    Type(249, 600, "brightness colour temperature transition"),
        Unsigned("time", 16).Unit("ms").Times(100, 1), Unsigned("colourTemperature", 16).Unit("K"),
        Percentage("brightness"), Reserved(5), Bit("validityTime", "invalid|valid").Preset(1),
        Bit("validityColourTemperature", "invalid|valid").Preset(1),
        Bit("validityBrightness", "invalid|valid").Preset(1),

    MainType(250, "brightness colour temperature control"),
    Type(250, 600, "brightness colour temperature control"),
        Reserved(4), Bit("colourTemperature", "decrease|increase"), Step("colourTemperatureStep").Limits(1, 7),
        Reserved(4), Bit("brightness", "decrease|increase"), Step("brightnessStep").Limits(1, 7), Reserved(6),
        Bit("validityColourTemperature", "invalid|valid").Preset(1),
        Bit("validityBrightness", "invalid|valid").Preset(1),

    MainType(251, "RGBW value 4x(0..100%)"),
    Type(251, 600, "RGBW value 4x(0..100%)"),
        Percentage("red"), Percentage("green"), Percentage("blue"), Percentage("white"), Reserved(12),
        Bit("validityRed", "not valid|valid").Preset(1), Bit("validityGreen", "not valid|valid").Preset(1),
        Bit("validityBlue", "not valid|valid").Preset(1), Bit("validityWhite", "not valid|valid").Preset(1),

    MainType(252, "RGBW relative control"),
    Type(252, 600, "RGBW relative control"),
        Reserved(4), Bit("validityWhite", "invalid|valid").Preset(1), Bit("validityBlue", "invalid|valid").Preset(1),
        Bit("validityGreen", "invalid|valid").Preset(1), Bit("validityRed", "invalid|valid").Preset(1), Reserved(4),
        Bit("white", "decrease|increase"), Step("whiteStep"), Reserved(4), Bit("blue", "decrease|increase"),
        Step("blueStep"), Reserved(4), Bit("green", "decrease|increase"), Step("greenStep"), Reserved(4),
        Bit("red", "decrease|increase"), Step("redStep"),

    MainType(254, "RGB relative control"),
    Type(254, 600, "RGB relative control"),
        Reserved(4), Bit("blue", "decrease|increase"), Step("blueStep"), Reserved(4),
        Bit("green", "decrease|increase"), Step("greenStep"), Reserved(4), Bit("red", "decrease|increase"),
        Step("redStep"),

    MainType(255, "geographical location (longitude and latitude) expressed in degrees"),
    Type(255, 1, "geographical location (longitude and latitude) expressed in degrees"),
        Float32("longitude", "°"), Float32("latitude", "°"),

    MainType(275, "Temperature setpoint setting for 4 HVAC Modes"),
    Type(275, 100, "Temperature setpoint setting for 4 HVAC Modes"),
        Float16("comfort", "°C", -27300), Float16("standby", "°C", -27300), Float16("economy", "°C", -27300),
        Float16("buildingProtection", "°C", -27300),
    Type(275, 101, "Temperature setpoint shift setting for 4 HVAC Modes"),
        Float16("comfort", "°C", -27300), Float16("standby", "°C", -27300), Float16("economy", "°C", -27300),
        Float16("buildingProtection", "°C", -27300),
};
// clang-format on

constexpr std::size_t Count(bool types)
{
    std::size_t count = 0;
    for (const Row& row : Rows)
    {
        count += (row.main != 0) == types ? 1U : 0U;
    }
    return count;
}

constexpr auto Fields = []
{
    std::array<DatapointField, Count(false)> fields{};
    std::size_t count = 0;
    for (const Row& row : Rows)
    {
        if (row.main == 0)
        {
            fields[count++] = row;
        }
    }
    return fields;
}();

constexpr auto Types = []
{
    std::array<DatapointType, Count(true)> types{};
    std::size_t count = 0;
    std::size_t withoutEnd = 0; // the first of the types that have the field
    std::size_t fields = 0;
    bool inFields = false;
    for (const Row& row : Rows)
    {
        if (row.main != 0)
        {
            withoutEnd = inFields ? count : withoutEnd;
            inFields = false;
            types[count].main = row.main;
            types[count].sub = row.sub;
            types[count].name = row.name;
            types[count].firstField = Fields.data() + fields;
            ++count;
            continue;
        }
        inFields = true;
        ++fields;
        for (std::size_t type = withoutEnd; type < count; ++type)
        {
            types[type].bits = static_cast<uint16_t>(types[type].bits + row.bits);
            types[type].endOfFields = Fields.data() + fields;
        }
    }
    return types;
}();

std::tuple<unsigned, unsigned> SortedBy(unsigned main, unsigned sub)
{
    return {main, sub == DatapointType::Main ? 0U : sub + 1U};
}

bool TakePrefix(std::string_view& text, std::string_view prefix)
{
    for (std::size_t index = 0; index < prefix.size(); ++index)
    {
        if (index == text.size() || (text[index] & ~0x20) != prefix[index])
        {
            return false;
        }
    }
    text.remove_prefix(prefix.size());
    return true;
}

// False when the text begins with no number, or with one that no type has.
bool TakeNumber(std::string_view& text, uint16_t& number)
{
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return error == std::errc() && number != DatapointType::Main;
}

} // namespace

std::string DatapointType::Number() const
{
    std::string text = std::to_string(main);
    if (sub != Main)
    {
        const std::string digits = std::to_string(sub);
        text += "." + std::string(digits.size() < 3 ? 3 - digits.size() : 0, '0') + digits;
    }
    return text;
}

const DatapointType* DatapointTypes::begin()
{
    return Types.data();
}

const DatapointType* DatapointTypes::end()
{
    return Types.data() + Types.size();
}

const DatapointType* FindDatapointType(std::string_view number)
{
    if ((TakePrefix(number, "DPST") || TakePrefix(number, "DPT")) && !number.empty() &&
        (number[0] == ' ' || number[0] == '-'))
    {
        number.remove_prefix(1);
    }
    uint16_t main = 0;
    uint16_t sub = DatapointType::Main;
    if (!TakeNumber(number, main))
    {
        return nullptr;
    }
    if (!number.empty() && (number[0] == '.' || number[0] == '-'))
    {
        number.remove_prefix(1);
        if (!TakeNumber(number, sub))
        {
            return nullptr;
        }
    }
    const DatapointType* const found =
        std::lower_bound(Types.begin(), Types.end(), SortedBy(main, sub),
                         [](const DatapointType& type, const std::tuple<unsigned, unsigned>& key)
                         { return SortedBy(type.main, type.sub) < key; });
    return number.empty() && found != Types.end() && found->main == main && found->sub == sub ? found : nullptr;
}

const DatapointType& DatapointTypeOf(std::string_view number)
{
    if (const DatapointType* const type = FindDatapointType(number))
    {
        return *type;
    }
    throw NotAValue("no datapoint type '" + std::string(number) + "'; types are written 9.001, DPT-9 or DPST-9-1");
}

} // namespace Knx
