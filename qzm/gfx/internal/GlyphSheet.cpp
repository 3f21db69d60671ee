#include <qzm/gfx/internal/GlyphSheet.h>

#include <new>
#include <qzm/gfx/internal/PackedPixels.h>
#include <qzm/io/ResFile.h>

namespace QZM::internal {

bool IsSheetDepth(unsigned depth) {
    return depth == 1 || depth == 2 || depth == 8 || depth == 24 || depth == 32;
}

uint64_t SheetRowBytes(uint32_t width, unsigned depth) {
    switch (depth) {
    case 1: return (uint64_t(width) + 7) / 8;
    case 2: return (uint64_t(width) + 3) / 4;
    case 8:
    case 24:
    case 32: return uint64_t(width) * (depth / 8);
    default: return 0;
    }
}

bool ReadSheet(QZMResFile& f, uint8_t* dst, uint32_t width, uint32_t height, unsigned depth) {
    if (!IsSheetDepth(depth)) return false;
    uint64_t rowBytes = SheetRowBytes(width, depth);
    // An empty sheet reads nothing: skip the row walk (and its row buffer) altogether.
    if (rowBytes == 0 || height == 0) return true;
    if (depth > 2) {
        uint64_t total = rowBytes * height;
        return total <= UINT32_MAX && f.Read(dst, unsigned(total)) == total;
    }
    uint8_t* packed = new (std::nothrow) uint8_t[rowBytes];
    bool ok = packed != nullptr;
    for (uint32_t y = 0; ok && y < height; y++, dst += width) {
        ok = f.Read(packed, unsigned(rowBytes)) == rowBytes;
        if (ok) UnpackBits(packed, dst, width, depth);
    }
    delete[] packed;
    return ok;
}

bool WriteSheet(QZMResFile& f, const uint8_t* src, uint32_t width, uint32_t height,
                unsigned depth) {
    uint64_t rowBytes = SheetRowBytes(width, depth);
    if (depth == 8) return rowBytes * height <= UINT32_MAX &&
                           f.Write(src, unsigned(rowBytes * height)) == rowBytes * height;
    if (depth != 1 && depth != 2) return false;
    uint8_t* packed = new (std::nothrow) uint8_t[rowBytes];
    bool ok = packed != nullptr;
    for (uint32_t y = 0; ok && y < height; y++, src += width) {
        if (depth == 1)
            PackBits(src, packed, width, 1, [](uint8_t v) { return v != 0 ? 1u : 0u; });
        else
            PackBits(src, packed, width, 2, [](uint8_t v) { return v & 3u; });
        ok = f.Write(packed, unsigned(rowBytes)) == rowBytes;
    }
    delete[] packed;
    return ok;
}

} // namespace QZM::internal
