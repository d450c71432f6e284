#pragma once

#include <vector>

namespace zel::bench {

/** The middle half of a sample, and its middle. */
struct Spread {
    double low = 0;
    double median = 0;
    double high = 0;
};

Spread spreadOf(std::vector<double> sample);

/** The exponent e of y = c * x^e that fits best: 1 where twice the size takes twice the time. */
double growthExponent(const std::vector<double> &x, const std::vector<double> &y);

} // namespace zel::bench
