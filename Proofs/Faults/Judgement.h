#pragma once

#include "Expectations.h"
#include "Scenario.h"

#include <string>
#include <vector>

/// What in the report is not as expected; empty if everything is.
std::vector<std::string> Judge(const Report& report, const Cell& cell, const Expectation& expectation);

/// "one, two"
std::string Joined(const std::vector<std::string>& texts, const char* separator);
