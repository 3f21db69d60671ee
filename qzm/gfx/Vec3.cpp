#include <qzm/gfx/Vec3.h>

#include <ostream>

const QZMVec3 Vec3Null = {0, 0, 0};
const QZMVec3 Vec3XAxis = {1, 0, 0};
const QZMVec3 Vec3YAxis = {0, 1, 0};
const QZMVec3 Vec3ZAxis = {0, 0, 1};

std::ostream& operator<<(std::ostream& os, const QZMVec3& v) {
    return os << "(" << v.x << ", " << v.y << ", " << v.z << ")";
}
