#pragma once
#include <cstdint>
#include <iosfwd>

/// Rectangle covering columns x .. x + w - 1 and rows y .. y + h - 1; w or h 0 is empty.
struct QZMRect {
    int16_t x;
    int16_t y;
    uint16_t w;
    uint16_t h;

    /// True when the intersection has both a width and a height; touching is not enough.
    bool IsIntersect(const QZMRect& r) const;
    /// Smallest rectangle holding both; an empty operand's position still counts.
    QZMRect Union(const QZMRect& r) const;
    /// Common part, with w or h 0 when there is none.
    QZMRect Intersection(const QZMRect& r) const;
    /// Intersection in place.
    void Intersect(const QZMRect& r);
};

/// "(x, y) w x h"
std::ostream& operator<<(std::ostream& os, const QZMRect& r);
