#pragma once
#include <cstdint>
#include <iosfwd>

/// 2D integer point.
struct QZMPoint {
    int16_t x;
    int16_t y;
};

/// "(x, y)"
std::ostream& operator<<(std::ostream& os, const QZMPoint& p);
