// The rounding rule of free amounts, which are told in steps of a twentieth of the total.

#include "zorcomn/sysprops.h"

#include <algorithm>

namespace velmora_com {
namespace vta {
namespace sysprops {

// Kept: an amount that lies exactly on a step goes one step lower, so that only one above upper gives upper, and what
// lies at or below the first step (with lower 0) comes back as it is. The candidate grows by addition, since callers
// compare the last digits of the sums.
template <typename T> T get_closest_floor(const T &value, const T &upper, const T &lower, const unsigned int &steps) {
    if (steps == 0)
        return std::min(value, lower);
    const T step = (upper - lower) / static_cast<T>(steps);
    T candidate = lower;
    T best = lower;
    for (unsigned int i = 0; i < steps; ++i) {
        candidate += step;
        if (!(value > candidate))
            break;
        best = candidate;
    }
    return best == T() ? value : best;
}

template unsigned long long get_closest_floor<unsigned long long>(const unsigned long long &,
                                                                  const unsigned long long &,
                                                                  const unsigned long long &, const unsigned int &);
template double get_closest_floor<double>(const double &, const double &, const double &, const unsigned int &);

} // namespace sysprops
} // namespace vta
} // namespace velmora_com
