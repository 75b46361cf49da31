// Measures what names of group addresses cost a client: the reading of an export of 20,000 addresses in each form, and the
// search in it.
//   names [OPTION OF GOOGLE BENCHMARK...]

#include "Knx/GroupAddressExport.h"

#include <benchmark/benchmark.h>

#include <string>

namespace
{

constexpr unsigned Count = 20'000; // addresses of a large installation

std::string Name(unsigned address)
{
    return "Room " + std::to_string(address / 7) + ", lamp " + std::to_string(address % 7);
}

std::string Xml()
{
    std::string text = "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"utf-8\"?>\r\n<GroupAddress-Export>\r\n";
    for (unsigned address = 1; address <= Count; ++address)
    {
        text += "  <GroupAddress Name=\"" + Name(address) + "\" Address=\"" +
                Knx::GroupAddress(static_cast<uint16_t>(address)) +
                "\" Description=\"Behind the door\" DPTs=\"DPST-1-1\" />\r\n";
    }
    return text + "</GroupAddress-Export>\r\n";
}

// `before` the name are the other columns of names.
std::string Csv(const std::string& before, const std::string& separator, const std::string& description)
{
    std::string text;
    for (unsigned address = 1; address <= Count; ++address)
    {
        text.append(before).append("\"").append(Name(address)).append("\"").append(separator);
        text.append("\"").append(Knx::GroupAddress(static_cast<uint16_t>(address))).append("\"");
        for (const std::string& column :
             {std::string(), std::string(), description, std::string("DPST-1-1"), std::string("Auto")})
        {
            text.append(separator).append("\"").append(column).append("\"");
        }
        text += "\r\n";
    }
    return text;
}

void Read(benchmark::State& state, const std::string& text)
{
    for (auto _ : state)
    {
        const auto read = Knx::ReadGroupAddressExport(text);
        if (read.groups.All().size() != Count)
        {
            state.SkipWithError("not all addresses were read");
        }
    }
    state.counters["bytes"] = static_cast<double>(text.size());
}

void ReadXml(benchmark::State& state)
{
    Read(state, Xml());
}

void ReadCsvWithOneColumn(benchmark::State& state)
{
    Read(state, "\xEF\xBB\xBF" + Csv("", "\t", "Behind the door"));
}

void ReadCsvWithThreeColumns(benchmark::State& state)
{
    Read(state, Csv(R"("";"";)", ";", "T\xFCr")); // Windows-1252
}

void FindByAddress(benchmark::State& state)
{
    const auto groups = Knx::ReadGroupAddressExport(Xml()).groups;
    uint16_t address = 0;
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(groups.At(++address));
    }
}

void FindByName(benchmark::State& state)
{
    const auto groups = Knx::ReadGroupAddressExport(Xml()).groups;
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(groups.Find("Room 1000, lamp 3"));
    }
}

BENCHMARK(ReadXml)->Unit(benchmark::kMillisecond);
BENCHMARK(ReadCsvWithOneColumn)->Unit(benchmark::kMillisecond);
BENCHMARK(ReadCsvWithThreeColumns)->Unit(benchmark::kMillisecond);
BENCHMARK(FindByAddress);
BENCHMARK(FindByName)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
