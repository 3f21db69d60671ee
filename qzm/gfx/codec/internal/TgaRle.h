#pragma once
#include <cstdint>

namespace QZM::internal {

/// Codes one row of width pixels of bytes bytes each as TGA packets into dst, which must hold
/// width * bytes + (width + 127) / 128 bytes; returns the bytes produced, 0 for a width below 1.
int RLE_Encode_Line(const uint8_t* src, int width, uint8_t* dst, int bytes);

} // namespace QZM::internal
