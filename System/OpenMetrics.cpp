#include "System/OpenMetrics.h"

#include <cstdlib>
#include <istream>

namespace System
{

namespace
{

constexpr const char* CounterSuffix = "_total";

// "frames" of "orvel_gateway_frames_total".
std::string Family(std::string name, const std::string& prefix)
{
    const std::string suffix = CounterSuffix;
    if (name.rfind(prefix, 0) == 0)
    {
        name.erase(0, prefix.size());
    }
    if (name.size() > suffix.size() && name.compare(name.size() - suffix.size(), suffix.size(), suffix) == 0)
    {
        name.erase(name.size() - suffix.size());
    }
    return name;
}

// ".from_bus" for 'direction="from_bus"}', which is moved past.
std::string LabelValues(const std::string& line, std::size_t& position)
{
    std::string values;
    ++position; // behind the brace
    while (position < line.size() && line[position] != '}')
    {
        const std::size_t begin = line.find('"', position);
        const std::size_t end = begin == std::string::npos ? begin : line.find('"', begin + 1);
        if (end == std::string::npos)
        {
            position = line.size();
            return values;
        }
        values += "." + line.substr(begin + 1, end - begin - 1);
        position = end + 1;
    }
    ++position;
    return values;
}

} // namespace

Samples ReadOpenMetrics(std::istream& text, const std::string& prefix)
{
    Samples samples;
    for (std::string line; std::getline(text, line);)
    {
        std::size_t position = line.find_first_of("{ ");
        if (position == std::string::npos || line.front() == '#')
        {
            continue;
        }
        std::string name = Family(line.substr(0, position), prefix);
        if (line[position] == '{')
        {
            name += LabelValues(line, position);
        }
        const std::string rest = position < line.size() ? line.substr(position) : "";
        char* end = nullptr;
        const double value = std::strtod(rest.c_str(), &end);
        if (end != rest.c_str())
        {
            samples[name] = value;
        }
    }
    return samples;
}

} // namespace System
