#include <qzm/gfx/Rect.h>

#include <algorithm>
#include <ostream>

namespace {

// The low 16 bits of v as a signed value, spelled out so it does not rest on
// implementation-defined narrowing.
int Signed16(int v) {
    v &= 0xFFFF;
    return v >= 0x8000 ? v - 0x10000 : v;
}

} // namespace

bool QZMRect::IsIntersect(const QZMRect& r) const {
    QZMRect common = Intersection(r);
    return common.w != 0 && common.h != 0;
}

QZMRect QZMRect::Union(const QZMRect& r) const {
    int nx = std::min<int>(x, r.x);
    int ny = std::min<int>(y, r.y);
    int right = std::max(x + w, r.x + r.w);
    int bottom = std::max(y + h, r.y + r.h);
    return {static_cast<int16_t>(nx), static_cast<int16_t>(ny), static_cast<uint16_t>(right - nx),
            static_cast<uint16_t>(bottom - ny)};
}

QZMRect QZMRect::Intersection(const QZMRect& r) const {
    int nx = std::max<int>(x, r.x);
    int ny = std::max<int>(y, r.y);
    int right = Signed16(std::min(x + w, r.x + r.w));
    int bottom = Signed16(std::min(y + h, r.y + r.h));
    return {static_cast<int16_t>(nx), static_cast<int16_t>(ny),
            static_cast<uint16_t>(std::max(right - nx, 0)),
            static_cast<uint16_t>(std::max(bottom - ny, 0))};
}

void QZMRect::Intersect(const QZMRect& r) {
    int nx = std::max<int>(x, r.x);
    int ny = std::max<int>(y, r.y);
    int a = r.x + r.w - nx;
    int b = x + w - nx;
    w = static_cast<uint16_t>(a < 0 || b < 0 ? 0 : std::min(a, b));
    a = r.y + r.h - ny;
    b = y + h - ny;
    h = static_cast<uint16_t>(a < 0 || b < 0 ? 0 : std::min(a, b));
    x = static_cast<int16_t>(nx);
    y = static_cast<int16_t>(ny);
}

std::ostream& operator<<(std::ostream& os, const QZMRect& r) {
    return os << "(" << r.x << ", " << r.y << ") " << r.w << " x " << r.h;
}
