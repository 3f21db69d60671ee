#pragma once
#include <iosfwd>

/// 3-vector of floats.
struct QZMVec3 {
    float x;
    float y;
    float z;
};

extern const QZMVec3 Vec3Null;
extern const QZMVec3 Vec3XAxis;
extern const QZMVec3 Vec3YAxis;
extern const QZMVec3 Vec3ZAxis;

/// "(x, y, z)"
std::ostream& operator<<(std::ostream& os, const QZMVec3& v);
