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

/// What is expected of it, as the file Expectations has it.
struct Expectation
{
    std::string call;
    std::string object;
    std::string occurrences;
    std::string faults;
    std::vector<std::string> outcome;
    std::vector<std::string> lines;

    bool Has(const std::string& word) const;

    /// What stands behind "word:" in the outcome; empty when it is not there.
    std::string Of(const std::string& word) const;
};

/// Throws std::runtime_error for a file that cannot be understood.
std::vector<Expectation> ReadExpectations(std::string file);

/// The first that matches. Throws std::runtime_error when there is none.
const Expectation& Find(const std::vector<Expectation>& expectations, const Cell& cell);

/// What a call is made to fail with, as the file Errors has it. Throws std::runtime_error.
class Errors
{
public:
    explicit Errors(const std::string& file);
    std::vector<std::string> Of(const Point& point) const;

private:
    std::map<Point, std::vector<std::string>> faults; // without an object where they are any object's
};
