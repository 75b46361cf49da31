#pragma once

#include "Scenario.h"
#include "Table.h"

#include <string>
#include <vector>

/// What of the report is not as expected; nothing when all is.
std::vector<std::string> Judge(const Report& report, const Cell& cell, const Expectation& expectation);

/// "one, two"
std::string Joined(const std::vector<std::string>& texts, const char* separator);
