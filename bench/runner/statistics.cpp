#include "runner/statistics.h"

#include <algorithm>
#include <cmath>

namespace zel::bench {

namespace {

double quantile(const std::vector<double> &sorted, double at)
{
    const double position = at * static_cast<double>(sorted.size() - 1);
    const auto below = static_cast<std::size_t>(position);
    const std::size_t above = std::min(below + 1, sorted.size() - 1);
    return std::lerp(sorted[below], sorted[above], position - std::floor(position));
}

} // namespace

Spread spreadOf(std::vector<double> sample)
{
    if (sample.empty())
        return {};
    std::sort(sample.begin(), sample.end());
    return {quantile(sample, 0.25), quantile(sample, 0.5), quantile(sample, 0.75)};
}

double growthExponent(const std::vector<double> &x, const std::vector<double> &y)
{
    // Least squares: the slope of a straight line through the logarithms.
    const auto count = static_cast<double>(x.size());
    double sumX = 0, sumY = 0, sumXX = 0, sumXY = 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        const double logX = std::log(x[i]);
        const double logY = std::log(y[i]);
        sumX += logX;
        sumY += logY;
        sumXX += logX * logX;
        sumXY += logX * logY;
    }
    return (count * sumXY - sumX * sumY) / (count * sumXX - sumX * sumX);
}

} // namespace zel::bench
