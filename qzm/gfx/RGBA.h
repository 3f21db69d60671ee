#pragma once
#include <cstdint>

/// Colour of four bytes; also a palette entry.
struct QZMRGBA {
    uint8_t r;
    uint8_t g;
    uint8_t b;
    uint8_t a;

    /// "#RRGGBB", or "#RRGGBBAA" with alpha, in a static buffer that the next call overwrites.
    const char* WebString(bool alpha = false) const;
};
