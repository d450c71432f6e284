#pragma once

#include <vector>

namespace zel::bench {

/** The median of a sample, and the limits of its middle half. */
struct Spread {
    double low = 0;
    double median = 0;
    double high = 0;
};

Spread spreadOf(std::vector<double> sample);

/** The exponent e of the best fit of y = c * x^e: 1 if twice the size takes twice the time. */
double growthExponent(const std::vector<double> &x, const std::vector<double> &y);

} // namespace zel::bench
