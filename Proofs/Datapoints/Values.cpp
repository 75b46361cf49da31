// What orvel makes of values, for programs that compare it with others:
//
//   datapoint-values                      reads lines, and answers each with one
//       decode 9.001 0c1a                 {"text":"21 °C","json":21.0}; a value of up to six bits as 0x01
//       encode 9.001 21.5                 {"hex":"0c33"}
//       ...                               {"refused":"9.001: -273 to 670433.28 °C"}
//   datapoint-values types                a line of JSON for each type
//   datapoint-values again COUNT [SEED]   encodes the texts of so many random values of each type, and compares
//   datapoint-values speed COUNT          decodes so many values of each of a few types, and says how long it took

#include "Knx/Datapoint.h"

#include "RandomValues.h"

#include <nlohmann/json.hpp>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <iostream>
#include <string>

using namespace Knx;
using Json = nlohmann::ordered_json;

namespace
{

std::string_view TakeWord(std::string_view& line)
{
    const std::size_t end = std::min(line.find(' '), line.size());
    const std::string_view word = line.substr(0, end);
    line.remove_prefix(std::min(end + 1, line.size()));
    return word;
}

GroupValue ValueOf(std::string_view hex)
{
    const bool isSmall = hex.substr(0, 2) == "0x";
    return {FromHex(isSmall ? hex.substr(2) : hex), isSmall};
}

Json Answer(std::string_view line)
{
    const std::string_view what = TakeWord(line);
    try
    {
        const DatapointType& type = DatapointTypeOf(TakeWord(line));
        if (what == "encode")
        {
            return {{"hex", ToText(Encode(type, line))}};
        }
        const GroupValue value = ValueOf(line);
        return {{"text", ToText(type, value)}, {"json", ToJson(type, value)}};
    }
    catch (const std::invalid_argument& wrong) // no value, or no hex
    {
        return {{"refused", wrong.what()}};
    }
}

Json Described(const DatapointField& field)
{
    static const char* const kinds[] = {"reserved", "bit",   "uint", "int",    "year",
                                        "float",    "float", "enum", "string", "line"};
    static const char* const encodings[] = {"us-ascii", "iso-8859-1", "utf-8"};
    const auto kind = static_cast<std::size_t>(field.kind);
    return {{"kind", kinds[kind]},
            {"bits", field.bits},
            {"name", std::string(field.name)},
            {"texts", std::string(field.texts)},
            {"unit", std::string(field.unit)},
            {"lowest", field.lowest},
            {"highest", field.highest},
            {"multiplier", field.multiplier},
            {"divisor", field.divisor},
            {"offset", field.offset},
            {"encoding", encodings[static_cast<std::size_t>(field.encoding)]}};
}

int PrintTypes()
{
    for (const DatapointType& type : DatapointTypes())
    {
        Json fields = Json::array();
        for (const DatapointField& field : type)
        {
            fields.push_back(Described(field));
        }
        std::cout << Json{{"type", type.Number()},
                          {"text", std::string(type.name)},
                          {"bits", type.bits},
                          {"fields", fields}}
                  << '\n';
    }
    return EXIT_SUCCESS;
}

bool IsSameAgain(const DatapointType& type, std::mt19937& random)
{
    const GroupValue value = RandomValue(type, random);
    const std::string text = ToText(type, value);
    const GroupValue again = Encode(type, text);
    if (ToText(type, again) == text && EncodeJson(type, ToJson(type, value)) == again &&
        (HasSeveralFormsOfANumber(type) || again == value))
    {
        return true;
    }
    std::cerr << type.Number() << ": " << ToText(value) << " is shown as '" << text << "', which becomes "
              << ToText(again) << '\n';
    return false;
}

int EncodeAgain(int count, unsigned seed)
{
    std::mt19937 random(seed);
    int types = 0;
    for (const DatapointType& type : DatapointTypes())
    {
        ++types;
        for (int round = 0; round < count; ++round)
        {
            if (!IsSameAgain(type, random))
            {
                return EXIT_FAILURE;
            }
        }
    }
    std::cout << types << " types, " << count << " random values of each, the same again; seed " << seed << '\n';
    return EXIT_SUCCESS;
}

int MeasureSpeed(int count)
{
    for (const char* const number :
         {"1.001", "5.001", "9.001", "10.001", "13.010", "14.056", "16.001", "20.102", "229.001"})
    {
        const DatapointType& type = DatapointTypeOf(number);
        std::mt19937 random(1);
        std::vector<GroupValue> values;
        for (int index = 0; index < 1000; ++index)
        {
            values.push_back(RandomValue(type, random));
        }
        const std::clock_t begin = std::clock(); // of the processor, whoever else uses it
        std::size_t size = 0;
        for (int index = 0; index < count; ++index)
        {
            size += ToText(type, values[static_cast<std::size_t>(index) % values.size()]).size();
        }
        const double time = static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC * 1e9;
        std::printf("%-8s %6.0f ns a value, %zu bytes of text\n", number, time / count, size);
    }
    return EXIT_SUCCESS;
}

int AnswerLines()
{
    for (std::string line; std::getline(std::cin, line);)
    {
        std::cout << Answer(line).dump() << '\n';
    }
    return EXIT_SUCCESS;
}

int Run(const std::vector<std::string>& arguments)
{
    if (arguments.empty())
    {
        return AnswerLines();
    }
    if (arguments[0] == "types")
    {
        return PrintTypes();
    }
    const int count = std::stoi(arguments.at(1));
    if (arguments[0] == "speed")
    {
        return MeasureSpeed(count);
    }
    return EncodeAgain(count, arguments.size() > 2 ? static_cast<unsigned>(std::stoul(arguments[2])) : 1U);
}

} // namespace

int main(int argc, char** argv)
{
    try
    {
        std::ios::sync_with_stdio(false);
        return Run({argv + 1, argv + argc});
    }
    catch (const std::exception& wrong)
    {
        std::fprintf(stderr, "%s; usage: datapoint-values [types | again COUNT [SEED] | speed COUNT]\n", wrong.what());
        return EXIT_FAILURE;
    }
}
