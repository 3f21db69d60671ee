#pragma once
#include <cstdint>

// Rows of 1-, 2- or 4-bit pixels packed most significant bits first, as BMP and the font sheet
// store them, against one byte per pixel.
namespace QZM::internal {

inline void UnpackBits(const uint8_t* packed, uint8_t* dst, uint32_t width, unsigned bits) {
    const unsigned perByte = 8 / bits;
    const unsigned shift = 8 - bits;
    for (uint32_t x = 0; x < width; x += perByte) {
        unsigned byte = *packed++;
        const uint32_t count = width - x < perByte ? width - x : perByte;
        for (uint32_t i = 0; i < count; i++, byte <<= bits)
            dst[x + i] = uint8_t((byte & 0xFF) >> shift);
    }
}

/// Each pixel byte goes in as value(byte), which must fit in bits.
template <class Value>
void PackBits(const uint8_t* src, uint8_t* packed, uint32_t width, unsigned bits, Value value) {
    const unsigned perByte = 8 / bits;
    for (uint32_t x = 0; x < width; x += perByte) {
        unsigned byte = 0;
        for (unsigned i = 0; i < perByte; i++)
            byte = byte << bits | (x + i < width ? value(src[x + i]) : 0u);
        *packed++ = uint8_t(byte);
    }
}

} // namespace QZM::internal
