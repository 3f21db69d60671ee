#pragma once

/// Thin layer over the C library's rand().
namespace QZM {

/// Divisor that turns rand() into [0, 1); writable, read on every call.
extern float RAND_MAX_FLOAT;

/// srand(seed), or srand(time(NULL)) when seed is 0.
void RandomInit(unsigned seed);
int Randomi();
/// An integer in [0, n).
int Randomi(unsigned n);
/// A float in [0, 1).
float Randomf();
/// A float in [0, max).
float Randomf(float max);

} // namespace QZM
