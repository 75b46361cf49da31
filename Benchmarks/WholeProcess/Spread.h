#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

/// The spread of some measurements of the same thing.
struct Spread
{
    Spread() = default;

    /// There must be at least one value.
    explicit Spread(std::vector<double> values)
    {
        std::sort(values.begin(), values.end());
        const std::size_t middle = values.size() / 2;
        minimum = values.front();
        median = values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
        maximum = values.back();
    }

    double minimum = 0;
    double median = 0;
    double maximum = 0;
};
