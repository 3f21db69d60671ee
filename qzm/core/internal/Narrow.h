#pragma once
#include <cmath>
#include <limits>

namespace QZM::internal {

/// x rounded to float; beyond the float range (where a plain conversion is undefined) +/-infinity.
template <typename Wide>
float NarrowToFloat(Wide x) {
    // Halfway between FLT_MAX and the next power of two: from here on rounding gives infinity.
    constexpr Wide kOverflow = static_cast<Wide>(0x1.ffffffp+127);
    if (x >= kOverflow) return std::numeric_limits<float>::infinity();
    if (x <= -kOverflow) return -std::numeric_limits<float>::infinity();
    return static_cast<float>(x);
}

} // namespace QZM::internal
