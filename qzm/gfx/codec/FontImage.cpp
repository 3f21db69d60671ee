// Glyph sheet of a "QZMF" font file, little-endian: 0 magic "QZMF" (4), 4 version 2 (1),
// 5 information block offset (4), 9 character table offset (4), 13 image block offset (4).
// Image block: width (4), height (4), depth (1), then the rows: depth 1 (width + 7) / 8 bytes,
// first pixel in the top bit; depth 2 (width + 3) / 4 bytes, first pixel in the top two bits;
// depths 8, 24 and 32 the pixel bytes as they are.
// Reads depths 1 and 2 as 8-bit images with a black-to-white palette of 2 or 4 greys, 8 with a
// 256-grey palette, 24 and 32 as they are; rows missing at the end of the file read as zeros.
// Refuses other versions and depths, empty sheets and absurd ones (over 64 MiB and more than the
// file could fill). Save_FONT writes nothing: fonts are saved by QZMFont.
#include <qzm/gfx/codec/Codecs.h>

#include <cstring>
#include <qzm/core/Log.h>
#include <qzm/gfx/Pal.h>
#include <qzm/gfx/internal/GlyphSheet.h>
#include <qzm/gfx/internal/LoaderOutput.h>
#include <qzm/io/internal/Bounds.h>

namespace {

// The sheet's bytes per pixel in the image.
unsigned OutputBytes(unsigned depth) { return depth > 8 ? depth / 8 : 1; }

// Depths 1, 2 and 8 are pictures in grey levels; 24 and 32 have no palette.
bool SetGreys(QZMPal** palette, unsigned depth) {
    if (depth > 8) return true;
    if (depth == 8) {
        if (!*palette && !QZM::internal::PreparePalette(palette, 256)) return false;
        (*palette)->GenerateGreyScale(256);
        return true;
    }
    const unsigned count = 1u << depth;
    if (!QZM::internal::PreparePalette(palette, count)) return false;
    QZMPal& pal = **palette;
    const uint8_t step = uint8_t(255 / (count - 1));
    for (unsigned i = 0; pal.entries && i < count && i < pal.size; i++) {
        uint8_t g = uint8_t(i * step);
        pal.entries[i] = QZMRGBA{g, g, g, 0};
    }
    return true;
}

} // namespace

bool Load_FONT(QZMResFile& f, unsigned char** pixels, unsigned int& width, unsigned int& height,
               QZMPal** palette, unsigned short& bpp) {
    if (f.state != QZMResFile::ST_OK) return false;
    char magic[4];
    if (f.Read(magic, 4) != 4 || memcmp(magic, "QZMF", 4) != 0) return false;
    const unsigned version = f.Read8();
    if (version != 2) {
        QZM::LOG("Font: unknown format version %d\n", version);
        return false;
    }
    f.Read32();
    f.Read32();
    const uint32_t imageOffset = f.Read32();
    f.Seek(int(imageOffset), 0);
    const uint32_t w = f.Read32();
    const uint32_t h = f.Read32();
    const unsigned depth = f.Read8();
    if (!QZM::internal::IsSheetDepth(depth)) {
        width = w;
        height = h;
        bpp = 8;
        delete[] *pixels;
        *pixels = nullptr;
        return false;
    }
    // An empty sheet or an absurd one (over 64 MiB and more than the rest of the file could
    // fill) leaves the image as it was. A sheet cut short reads its missing rows as zeros.
    const uint64_t size = QZM::internal::SaturatedProduct(uint64_t(w) * h, OutputBytes(depth));
    if (w == 0 || h == 0 ||
        !QZM::internal::PlausibleAllocation(f, size, QZM::internal::SheetExpansion(depth)))
        return false;
    width = w;
    height = h;
    bpp = uint16_t(OutputBytes(depth) * 8);
    if (!QZM::internal::ReplacePixels(pixels, size)) return false;
    return SetGreys(palette, depth) && QZM::internal::ReadSheet(f, *pixels, w, h, depth);
}

bool Save_FONT(QZMResFile&, QZMImage&) { return false; }
