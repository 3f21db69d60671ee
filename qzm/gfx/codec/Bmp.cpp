// BMP, little-endian. File header: 0 "BM" (2), 2 file size (4), 6 reserved (4), 10 data offset (4).
// Info header at 14: its size (4), then for size 40: width (4), height (4), planes (2), bits (2),
// compression (4), image size, x and y resolution, colours used, colours important (4 each);
// for any other size the 12-byte form: width (2), height (2), planes (2), bits (2).
// Colour table right after: 1 << bits entries of blue, green, red (+ reserved in the 40-byte form).
// Rows bottom-up, each padded to 4 bytes; 1- and 4-bit pixels most significant bits first.
// Reads 1 and 4 bits (widened to 8), 8, 16, 24, 32 bits, uncompressed or 8-bit RLE. Refuses other
// compressions and depths, empty pictures and absurd ones (over 64 MiB and more than the data
// could fill).
// Writes a 40-byte header, uncompressed, bits rounded up to 8, 16, 24 or 32, the palette at 8 bits.
#include <qzm/gfx/codec/Codecs.h>

#include <cstring>
#include <new>
#include <qzm/core/Log.h>
#include <qzm/gfx/Image.h>
#include <qzm/gfx/internal/ByteOrder.h>
#include <qzm/gfx/internal/ChunkReader.h>
#include <qzm/gfx/internal/LoaderOutput.h>
#include <qzm/gfx/internal/PackedPixels.h>
#include <qzm/io/internal/Bounds.h>

namespace {

using QZM::internal::ChunkReader;
using QZM::internal::LoadLE16;
using QZM::internal::LoadLE32;
using QZM::internal::StoreLE16;
using QZM::internal::StoreLE32;

struct BmpHeader {
    uint32_t dataOffset;
    uint32_t headerSize;
    uint32_t width;
    uint32_t height;
    uint16_t bits;
    uint32_t compression;
};

// The most image bytes that one byte of pixel data can give: 1-bit rows give 8 pixels a byte.
// Run-length data gives 255 pixels in a 2-byte run, and an end of line or a delta leaves whole
// rows to the cleared buffer in 2 to 4 bytes: 1024 keeps every picture such data describes.
const uint64_t kPackedExpansion = 8;
const uint64_t kRleExpansion = 1024;

bool ReadHeader(QZMResFile& f, BmpHeader& h) {
    uint8_t start[10];
    if (f.Read(start, sizeof start) < sizeof start || start[0] != 'B' || start[1] != 'M') {
        QZM::LOG("BMP: bad file header\n");
        return false;
    }
    h.dataOffset = f.Read32();
    h.headerSize = f.Read32();
    if (h.headerSize == 40) {
        uint8_t info[36] = {};
        f.Read(info, sizeof info);
        h.width = LoadLE32(info);
        h.height = LoadLE32(info + 4);
        h.bits = LoadLE16(info + 10);
        h.compression = LoadLE32(info + 12);
    } else {
        h.width = f.Read16();
        h.height = f.Read16();
        f.Read16();
        h.bits = f.Read16();
        h.compression = 0;
    }
    return true;
}

bool IsBmpDepth(unsigned bits) {
    return bits == 1 || bits == 4 || bits == 8 || bits == 16 || bits == 24 || bits == 32;
}

// File bytes of one row before padding.
uint64_t FileRowBytes(const BmpHeader& h) {
    if (h.bits == 1) return (uint64_t(h.width) + 7) / 8;
    if (h.bits == 4) return (uint64_t(h.width) + 1) / 2;
    return uint64_t(h.bits / 8) * h.width;
}

// An empty picture is refused, and so is an absurd one: over 64 MiB and more than the rest of
// the stream could fill at the densest encoding. Anything else is allocated; a short file then
// gives its read error.
bool Allocatable(QZMResFile& f, const BmpHeader& h, uint64_t bytes) {
    if (h.width == 0 || h.height == 0) return false;
    const uint64_t expansion = h.compression == 1 ? kRleExpansion
                               : h.bits == 1      ? kPackedExpansion
                               : h.bits == 4      ? 2
                                                  : 1;
    return QZM::internal::PlausibleAllocation(f, bytes, expansion);
}

bool ReadColourTable(QZMResFile& f, const BmpHeader& h, QZMPal** palette) {
    const unsigned count = 1u << h.bits;
    const unsigned entryBytes = h.headerSize == 40 ? 4 : 3;
    if (!QZM::internal::PreparePalette(palette, count)) return false;
    uint8_t table[256 * 4] = {};
    f.Read(table, count * entryBytes);
    QZMRGBA* entries = (*palette)->entries;
    for (unsigned i = 0; entries && i < count && i < (*palette)->size; i++) {
        const uint8_t* e = table + i * entryBytes;
        entries[i] = QZMRGBA{e[2], e[1], e[0], entryBytes == 4 ? e[3] : uint8_t(0)};
    }
    return true;
}

bool AtEnd(QZMResFile& f) { return f.Eof() || f.state != QZMResFile::ST_OK; }

// Reports the end of the data after row i of height: fine only when it was the last one.
bool EndAfterRow(uint32_t i, uint32_t height) {
    if (i + 1 == height) return true;
    QZM::LOG("BMP: unexpected EOF\n");
    return false;
}

// Whole-byte rows go straight into the image, the padding into a scratch word.
bool ReadByteRows(QZMResFile& f, uint8_t* pixels, uint32_t rowSize, uint32_t height, unsigned pad) {
    uint8_t scratch[4];
    for (uint32_t i = 0; i < height; i++) {
        if (f.Read(pixels + uint64_t(height - 1 - i) * rowSize, rowSize) != rowSize) {
            QZM::LOG("BMP: error reading data\n");
            return false;
        }
        if (pad) f.Read(scratch, pad);
        if (AtEnd(f)) return EndAfterRow(i, height);
    }
    return true;
}

// 1- and 4-bit rows: a short row decodes as zero bits, as byte-wise reads would give.
bool ReadPackedRows(QZMResFile& f, uint8_t* pixels, const BmpHeader& h, unsigned pad) {
    const uint32_t packedBytes = uint32_t(FileRowBytes(h));
    uint8_t* packed = new (std::nothrow) uint8_t[packedBytes + pad];
    if (!packed) {
        QZM::LOG("BMP: can not allocate image\n");
        return false;
    }
    bool ok = true;
    for (uint32_t i = 0; i < h.height; i++) {
        unsigned got = f.Read(packed, packedBytes + pad);
        if (got < packedBytes) memset(packed + got, 0, packedBytes - got);
        uint8_t* row = pixels + uint64_t(h.height - 1 - i) * h.width;
        QZM::internal::UnpackBits(packed, row, h.width, h.bits);
        if (AtEnd(f)) {
            ok = EndAfterRow(i, h.height);
            break;
        }
    }
    delete[] packed;
    return ok;
}

// Writes the part of [offset, offset + n) that lies inside the buffer: runs and deltas are not
// bounded by the format, and an overrun is dropped rather than written.
void PutClipped(uint8_t* pixels, uint64_t size, int64_t offset, const uint8_t* src, unsigned n,
                int fill) {
    int64_t from = offset < 0 ? 0 : offset;
    int64_t to = offset + n;
    if (to > int64_t(size)) to = int64_t(size);
    if (from >= to) return;
    if (fill >= 0)
        memset(pixels + from, fill, size_t(to - from));
    else
        memcpy(pixels + from, src + (from - offset), size_t(to - from));
}

bool DecodeRle8(QZMResFile& f, uint8_t* pixels, uint32_t width, uint32_t height) {
    const uint64_t size = uint64_t(width) * height;
    memset(pixels, 0, size_t(size));
    ChunkReader src(f);
    int64_t row = int64_t(height) - 1;
    int64_t column = 0;
    uint8_t literal[255];
    // Stop at the end of the data as well: past it every byte reads as 0, an endless run of
    // end-of-line codes when the row counter has passed 0.
    while (!src.AtEnd()) {
        unsigned n = src.Next();
        if (n > 0) {
            PutClipped(pixels, size, row * width + column, nullptr, n, src.Next());
            column += n;
            continue;
        }
        unsigned code = src.Next();
        if (code == 1) break;
        if (code == 0) {
            column = 0;
            if (--row == 0) break;
        } else if (code == 2) {
            column += src.Next();
            row += src.Next();
        } else {
            src.Take(literal, code);
            PutClipped(pixels, size, row * width + column, literal, code, -1);
            if (code & 1) src.Next();
            column += code;
        }
    }
    return true;
}

} // namespace

bool Load_BMP(QZMResFile& f, unsigned char** pixels, unsigned int& width, unsigned int& height,
              QZMPal** palette, unsigned short& bpp) {
    if (f.state != QZMResFile::ST_OK) return false;
    BmpHeader h;
    if (!ReadHeader(f, h)) return false;
    if (h.compression >= 2 || (h.compression == 1 && h.bits != 8)) {
        QZM::LOG("BMP: compressed data not supported.\n");
        return false;
    }
    if (!IsBmpDepth(h.bits)) {
        QZM::LOG("BMP: bad file header\n");
        return false;
    }
    const unsigned outBpp = h.bits < 8 ? 8 : h.bits;
    const uint64_t rowSize = uint64_t(outBpp / 8) * h.width;
    const uint64_t size = QZM::internal::SaturatedProduct(rowSize, h.height);
    if (!Allocatable(f, h, size)) {
        QZM::LOG("BMP: can not allocate image\n");
        return false;
    }
    width = h.width;
    height = h.height;
    bpp = uint16_t(outBpp);
    if (!QZM::internal::ReplacePixels(pixels, size) ||
        (outBpp == 8 && !ReadColourTable(f, h, palette))) {
        QZM::LOG("BMP: can not allocate image\n");
        return false;
    }
    const unsigned pad = unsigned(-FileRowBytes(h) & 3);
    f.Seek(int(h.dataOffset), 0);
    if (h.compression == 1) return DecodeRle8(f, *pixels, h.width, h.height);
    if (h.bits < 8) return ReadPackedRows(f, *pixels, h, pad);
    return ReadByteRows(f, *pixels, uint32_t(rowSize), h.height, pad);
}

namespace {

void WriteBmpHeader(QZMResFile& f, const QZMImage& image, unsigned bits, uint32_t colours) {
    uint8_t header[54] = {'B', 'M'};
    StoreLE32(header + 10, 54 + 4 * colours);
    StoreLE32(header + 14, 40);
    StoreLE32(header + 18, image.width);
    StoreLE32(header + 22, image.height);
    StoreLE16(header + 26, 1);
    StoreLE16(header + 28, bits);
    StoreLE32(header + 34, image.height * image.pitch);
    StoreLE32(header + 46, colours);
    StoreLE32(header + 50, colours);
    f.Write(header, sizeof header);
}

// The palette's entries, then zero words up to the 256 entries of an 8-bit table; written in
// blocks of 256 entries.
void WriteColourTable(QZMResFile& f, const QZMPal& pal) {
    const uint32_t count = pal.size > 256 ? pal.size : 256;
    uint8_t block[256 * 4];
    for (uint32_t first = 0; first < count; first += 256) {
        memset(block, 0, sizeof block);
        for (uint32_t i = first; i < pal.size && i < first + 256; i++) {
            const QZMRGBA& e = pal.entries[i];
            uint8_t* out = block + (i - first) * 4;
            out[0] = e.b;
            out[1] = e.g;
            out[2] = e.r;
            out[3] = e.a;
        }
        f.Write(block, (count - first < 256 ? count - first : 256) * 4);
    }
}

bool WriteRows(QZMResFile& f, const QZMImage& image) {
    const uint32_t pad = -image.pitch & 3;
    const uint8_t zeros[4] = {};
    uint32_t written = 0;
    for (; written < image.height; written++) {
        const uint8_t* row = image.pixels + uint64_t(image.height - 1 - written) * image.pitch;
        if (f.Write(row, image.pitch) != image.pitch || (pad && f.Write(zeros, pad) != pad)) {
            QZM::LOG("BMP: error writing data, line %d\n", int(written));
            return false;
        }
    }
    return true;
}

} // namespace

bool Save_BMP(QZMResFile& f, QZMImage& image) {
    if (f.state != QZMResFile::ST_OK) return false;
    if (image.width == 0 || image.height == 0 || !image.pixels) return false;
    // Only an 8-bit image uses its palette; a table of 1 << 24 entries would make no sense.
    // A failed header or table write shows in the first row's write.
    const QZMPal* pal = image.bpp == 8 ? image.palette : nullptr;
    WriteBmpHeader(f, image, (image.bpp + 7u) & ~7u, pal ? pal->size : 0);
    if (pal) WriteColourTable(f, *pal);
    if (!WriteRows(f, image)) return false;
    const int32_t fileSize = f.GetPos();
    if (!f.Seek(2, 0) || !f.Write32(uint32_t(fileSize))) {
        QZM::LOG("BMP: error writing size\n");
        return false;
    }
    return true;
}
