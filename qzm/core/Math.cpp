#include <qzm/core/Math.h>

#include <cmath>

namespace QZM {

bool Equalf(float a, float b, float eps) {
    long double d = static_cast<long double>(a) - b;
    return -eps < d && d < eps;
}

bool Equald(double a, double b, double eps) {
    long double d = static_cast<long double>(a) - b;
    return -eps < d && d < eps;
}

namespace {

// v rounded to a float, also where the FPU keeps intermediate results in extended precision
// (x87): there a step of 360 could move a value that as a float it no longer moves.
float AsFloat(float v) {
    volatile float stored = v;
    return stored;
}

} // namespace

float Angle2PI(float a) {
    // Where 360 is under half a float step the loops would never move; the remainder is exact there.
    if (std::isinf(a) || (a < 0 && AsFloat(a + 360.0f) == a) ||
        (a > 360 && AsFloat(a - 360.0f) == a)) {
        float r = std::fmod(a, 360.0f);
        return r < 0 ? r + 360.0f : r;
    }
    while (a < 0) a = AsFloat(a + 360.0f);
    while (a > 360) a = AsFloat(a - 360.0f);
    return a;
}

float AngleDiff(float from, float to) {
    float d = to - from;
    if (d < -180) return d + 360.0f;
    if (d > 180) return d - 360.0f;
    return d;
}

float VectorAngle(float x1, float y1, float x2, float y2) {
    float dx = x2 - x1;
    float dy = y2 - y1;
    if (Equalf(dx, 0, 0.0001f)) return y1 <= y2 ? 90.0f : 270.0f;
    if (Equalf(dy, 0, 0.0001f)) return x1 <= x2 ? 0.0f : 180.0f;
    float alpha = static_cast<float>(std::fabs(std::atan(static_cast<double>(dy / dx))) * 57.29578f);
    if (x2 > x1) return y2 > y1 ? alpha : 360.0f - alpha;
    return y2 > y1 ? 180.0f - alpha : 180.0f + alpha;
}

} // namespace QZM
