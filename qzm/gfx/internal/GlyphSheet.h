#pragma once
#include <cstdint>

class QZMResFile;

// The image block of the "QZMF" font file: rows of 1-bit (most significant bit first), 2-bit
// (top bits first) or whole-byte pixels. Shared by QZMFont and the font-sheet image loader.
namespace QZM::internal {

/// Depths 1, 2, 8, 24 and 32.
bool IsSheetDepth(unsigned depth);

/// Bytes of one file row; 0 for a depth other than 1, 2, 8, 24 or 32.
uint64_t SheetRowBytes(uint32_t width, unsigned depth);

/// Reads height rows into dst: one byte per pixel at depths 1 and 2 (values 0-1 and 0-3), the
/// bytes as they are otherwise. False on a short read or an unknown depth.
bool ReadSheet(QZMResFile& f, uint8_t* dst, uint32_t width, uint32_t height, unsigned depth);

/// Packs one byte per pixel at depth 1 (non-zero: 1) and 2 (pixel & 3), as it is at depth 8.
/// False on a short write or another depth.
bool WriteSheet(QZMResFile& f, const uint8_t* src, uint32_t width, uint32_t height,
                unsigned depth);

} // namespace QZM::internal
