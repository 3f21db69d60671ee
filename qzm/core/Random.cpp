#include <qzm/core/Random.h>

#include <qzm/core/internal/Narrow.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <limits>

namespace QZM {

float RAND_MAX_FLOAT = 2147483648.0f;

namespace {

// rand() / RAND_MAX_FLOAT in extended precision. The divisor is writable, so a zero is
// answered as IEEE division would, without dividing by it.
long double Quotient() {
    long double r = rand();
    long double d = RAND_MAX_FLOAT;
    if (d == 0) {
        if (r == 0) return std::numeric_limits<long double>::quiet_NaN();
        return std::copysign(std::numeric_limits<long double>::infinity(), d);
    }
    return r / d;
}

} // namespace

void RandomInit(unsigned seed) {
    srand(seed ? seed : static_cast<unsigned>(time(nullptr)));
}

int Randomi() { return rand(); }

int Randomi(unsigned n) {
    long double x = Quotient() * static_cast<float>(n);
    // Only a doctored divisor gets here; answer with what the x86 conversion gives.
    if (!(x > -2147483649.0L && x < 2147483648.0L)) return INT32_MIN;
    return static_cast<int32_t>(x);
}

float Randomf() { return internal::NarrowToFloat(Quotient()); }

float Randomf(float max) { return internal::NarrowToFloat(Quotient() * max); }

} // namespace QZM
