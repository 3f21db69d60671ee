// The game's colours: one 8-bit palette shared by the asset maker and the game, whose frame
// is drawn in palette indices so that the screen can fade it.
#pragma once

#include <cstdint>

namespace palette {

enum Index : uint8_t {
    BLACK = 0, // also the sprites' transparent colour
    WHITE,
    GREY,
    BRICK_FIRST, // one colour per brick row, top row first
    BRICK_LAST = BRICK_FIRST + 4,
    LIGHT_FIRST, // the rows' highlights
    LIGHT_LAST = LIGHT_FIRST + 4,
    PADDLE,
    PADDLE_LIGHT,
    BALL,
    GOLD,
    SKY_FIRST, // the background's vertical gradient
    SKY_LAST = SKY_FIRST + 31,
    COUNT
};

struct Colour {
    uint8_t r, g, b;
};

// Base colours up to SKY_FIRST; the sky is graded between its two ends.
constexpr Colour kBase[SKY_FIRST] = {
    {0, 0, 0},      {255, 255, 255}, {140, 140, 160}, {220, 50, 50},  {240, 140, 30},
    {230, 210, 40}, {60, 190, 70},   {60, 120, 230},  {255, 150, 150}, {255, 200, 130},
    {255, 245, 150}, {160, 240, 160}, {150, 190, 255}, {40, 200, 220},  {180, 250, 255},
    {255, 255, 210}, {240, 200, 40}};
constexpr Colour kSkyTop = {10, 10, 40};
constexpr Colour kSkyBottom = {30, 40, 110};

inline Colour At(unsigned index) {
    if (index < SKY_FIRST) return kBase[index];
    if (index > SKY_LAST) return {0, 0, 0};
    const int t = int(index - SKY_FIRST), n = SKY_LAST - SKY_FIRST;
    auto mix = [t, n](uint8_t a, uint8_t b) { return uint8_t(a + (b - a) * t / n); };
    return {mix(kSkyTop.r, kSkyBottom.r), mix(kSkyTop.g, kSkyBottom.g),
            mix(kSkyTop.b, kSkyBottom.b)};
}

} // namespace palette
