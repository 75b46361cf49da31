#include "Expectations.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace
{

// Whether `value` is in the list, which has commas; "*" has everything.
bool Matches(const std::string& pattern, const std::string& value)
{
    return pattern == "*" || ("," + pattern + ",").find("," + value + ",") != std::string::npos;
}

bool IsFault(const std::string& word)
{
    return word[0] == 'E' || word == "delay" || word == "half" || word.rfind("says:", 0) == 0;
}

std::ifstream Open(const std::string& file)
{
    std::ifstream stream(file);
    if (!stream)
    {
        throw std::runtime_error("cannot read " + file);
    }
    return stream;
}

} // namespace

bool Expectation::Has(const std::string& word) const
{
    return std::find(outcome.begin(), outcome.end(), word) != outcome.end();
}

bool Expectation::Ends() const
{
    return Has("ends") || !Of("ends").empty();
}

std::string Expectation::Of(const std::string& word) const
{
    const auto found = std::find_if(outcome.begin(), outcome.end(),
                                    [&](const std::string& text) { return text.rfind(word + ":", 0) == 0; });
    return found == outcome.end() ? "" : found->substr(word.size() + 1);
}

std::vector<Expectation> ReadExpectations(std::string file)
{
    auto stream = Open(file);
    std::vector<Expectation> expectations;
    for (std::string line; std::getline(stream, line);)
    {
        if (line.empty() || line[0] == '#')
        {
            continue;
        }
        if (line[0] == ' ')
        {
            expectations.back().lines.push_back(line.substr(line.find_first_not_of(' ')));
            continue;
        }
        Expectation next;
        std::istringstream words(line);
        words >> next.call >> next.object >> next.occurrences >> next.faults;
        for (std::string word; words >> word;)
        {
            next.outcome.push_back(word);
        }
        if (next.outcome.empty())
        {
            throw std::runtime_error(file.append(": no outcome in: ").append(line));
        }
        expectations.push_back(next);
    }
    return expectations;
}

const Expectation& Find(const std::vector<Expectation>& expectations, const Cell& cell)
{
    const auto found = std::find_if(expectations.begin(), expectations.end(),
                                    [&](const Expectation& entry)
                                    {
                                        return Matches(entry.call, cell.point.call) &&
                                               Matches(entry.object, cell.point.object) &&
                                               Matches(entry.occurrences, std::to_string(cell.occurrence)) &&
                                               Matches(entry.faults, cell.fault);
                                    });
    if (found == expectations.end())
    {
        throw std::runtime_error("nothing is expected of " + cell.point.call + " " + cell.point.object);
    }
    return *found;
}

Errors::Errors(const std::string& file)
{
    auto stream = Open(file);
    for (std::string line; std::getline(stream, line);)
    {
        if (line.empty() || line[0] == '#')
        {
            continue;
        }
        std::istringstream words(line);
        Point point;
        words >> point.call;
        std::vector<std::string> found;
        for (std::string word; words >> word;)
        {
            (IsFault(word) ? found.emplace_back() : point.object) = word;
        }
        faults[point] = found;
    }
}

std::vector<std::string> Errors::Of(const Point& point) const
{
    for (const Point& key : {point, Point{point.call, ""}})
    {
        if (const auto found = faults.find(key); found != faults.end())
        {
            return found->second;
        }
    }
    throw std::runtime_error("no errors are listed for the call " + point.call);
}
