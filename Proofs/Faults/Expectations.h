#pragma once

#include "Watch.h"

#include <string>
#include <vector>

/// One failing call.
struct Cell
{
    Point point;
    unsigned occurrence = 1;
    std::string fault;
};

/// What must happen then, as the file Expectations says.
struct Expectation
{
    std::string call;
    std::string object;
    std::string occurrences;
    std::string faults;
    std::vector<std::string> outcome;
    std::vector<std::string> lines;

    bool Has(const std::string& word) const;

    /// Whether the program ends by itself: "ends", or "ends:STATUS".
    bool Ends() const;

    /// What follows "word:" in the outcome; empty if it is not there.
    std::string Of(const std::string& word) const;
};

/// Throws std::runtime_error for a file that cannot be understood.
std::vector<Expectation> ReadExpectations(std::string file);

/// The first expectation that matches. Throws std::runtime_error if there is none.
const Expectation& Find(const std::vector<Expectation>& expectations, const Cell& cell);

/// The failures of a call, as the file Errors lists them. Throws std::runtime_error.
class Errors
{
public:
    explicit Errors(const std::string& file);
    std::vector<std::string> Of(const Point& point) const;

private:
    std::map<Point, std::vector<std::string>> faults; // without an object where they are any object's
};
