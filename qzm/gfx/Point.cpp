#include <qzm/gfx/Point.h>

#include <ostream>

std::ostream& operator<<(std::ostream& os, const QZMPoint& p) {
    return os << "(" << p.x << ", " << p.y << ")";
}
