#include <qzm/gfx/internal/GlyphSheet.h>

#include <cstring>
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

uint64_t SheetExpansion(unsigned depth) { return depth == 1 ? 8 : depth == 2 ? 4 : 1; }

bool ReadSheet(QZMResFile& f, uint8_t* dst, uint32_t width, uint32_t height, unsigned depth) {
    if (!IsSheetDepth(depth)) return false;
    const uint64_t rowBytes = SheetRowBytes(width, depth);
    // An empty sheet reads nothing: skip the row walk (and its row buffer) altogether.
    if (rowBytes == 0 || height == 0) return true;
    if (depth > 2) {
        // In pieces that one Read can take; the part the stream does not give stays zero.
        const uint64_t total = rowBytes * height;
        const uint64_t piece = uint64_t(1) << 30;
        uint64_t done = 0;
        while (done < total) {
            const unsigned want = unsigned(total - done < piece ? total - done : piece);
            const unsigned got = f.Read(dst + done, want);
            done += got;
            if (got < want) break;
        }
        memset(dst + done, 0, size_t(total - done));
        return true;
    }
    uint8_t* packed = new (std::nothrow) uint8_t[rowBytes];
    if (!packed) return false;
    for (uint32_t y = 0; y < height; y++, dst += width) {
        const unsigned got = f.Read(packed, unsigned(rowBytes));
        if (got < rowBytes) memset(packed + got, 0, size_t(rowBytes - got));
        UnpackBits(packed, dst, width, depth);
        if (got < rowBytes) {
            memset(dst + width, 0, size_t(uint64_t(width) * (height - 1 - y)));
            break;
        }
    }
    delete[] packed;
    return true;
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
