#pragma once
#include <cstdint>
#include <qzm/gfx/Font.h>

class QZMResFile;

// The image block of the "QZMF" font file: rows of 1-bit (most significant bit first), 2-bit
// (top bits first) or whole-byte pixels. Shared by QZMFont and the font-sheet image loader.
namespace QZM::internal {

/// Depths 1, 2, 8, 24 and 32.
bool IsSheetDepth(unsigned depth);

/// Bytes of one file row; 0 for a depth other than 1, 2, 8, 24 or 32.
uint64_t SheetRowBytes(uint32_t width, unsigned depth);

/// The most bytes that one file byte of a sheet gives in memory, where depths 1 and 2 take a
/// byte per pixel: 8 at depth 1, 4 at depth 2, 1 otherwise.
uint64_t SheetExpansion(unsigned depth);

/// Reads height rows into dst: one byte per pixel at depths 1 and 2 (values 0-1 and 0-3), the
/// bytes as they are otherwise. What a short stream does not give is zero, as the stream's
/// readers give past the end. False only for an unknown depth or when no row buffer can be had.
bool ReadSheet(QZMResFile& f, uint8_t* dst, uint32_t width, uint32_t height, unsigned depth);

/// Packs one byte per pixel at depth 1 (non-zero: 1) and 2 (pixel & 3), as it is at depth 8.
/// False on a short write or another depth.
bool WriteSheet(QZMResFile& f, const uint8_t* src, uint32_t width, uint32_t height,
                unsigned depth);

/// The pixels of the font's sheet that a glyph row of n pixels from column x of sheet row y
/// reads: rows of ((bpp + 7) >> 3) x width bytes, one byte per pixel. Glyph records come from
/// files and may reach past the sheet: n becomes the count of those pixels that lie inside it
/// (0 when none does), and the result points at the first of them.
/// Inline: text drawing asks once per row of every glyph.
inline const uint8_t* GlyphRow(const QZMFont& font, uint64_t x, uint64_t y, uint64_t& n) {
    if (!font.pixels || x >= font.width || y >= font.height) {
        n = 0;
        return nullptr;
    }
    if (n > font.width - x) n = font.width - x;
    return font.pixels + y * (uint64_t((font.bpp + 7) >> 3) * font.width) + x;
}

} // namespace QZM::internal
