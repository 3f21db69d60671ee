// PCX, little-endian 128-byte header: 0 manufacturer 10 (1), 1 version (1), 2 encoding 1 (1),
// 3 bits per plane (1), 4 xmin, 6 ymin, 8 xmax, 10 ymax (2 each, signed), 12 and 14 resolution (2),
// 16 16-colour palette (48), 64 reserved (1), 65 planes (1), 66 bytes per plane line (2),
// 68 palette information (2), 70 filler to 128. Then per row and plane one run-length coded line:
// a byte with both top bits set counts (low 6 bits) the byte after it. Version 5 may end with
// the byte 12 and 256 entries of red, green, blue.
// Reads 8 bits per plane with any number of planes, planes stored last to first in each pixel
// (blue, green, red for RGB). Refuses other depths, empty and absurd pictures (over 64 MiB and
// more than the data could fill); a picture cut short ends in zeros.
// Writes 8, 24 and 32 bits, version 5, the 256-colour palette at 8 bits; refuses 15 and 16 bits.
#include <qzm/gfx/codec/Codecs.h>

#include <cstdio>
#include <cstring>
#include <new>
#include <qzm/core/Log.h>
#include <qzm/gfx/Image.h>
#include <qzm/gfx/internal/ByteOrder.h>
#include <qzm/gfx/internal/ChunkReader.h>
#include <qzm/gfx/internal/LoaderOutput.h>
#include <qzm/io/internal/Bounds.h>

namespace {

using QZM::internal::ChunkReader;
using QZM::internal::StoreLE16;

const unsigned kHeaderSize = 128;
const unsigned kMaxRun = 63;
const uint8_t kPaletteMark = 12;

int ReadSigned16(const uint8_t* p) { return int16_t(QZM::internal::LoadLE16(p)); }

// Two bytes give a run of up to 63 bytes: the most picture bytes that one byte of data can give.
const uint64_t kRleExpansion = (kMaxRun + 1) / 2;

// Decodes one plane line of size bytes; the run state starts afresh and a run is cut at
// the line's end. False when the data ended (the rest of the line is then zero).
bool DecodeLine(ChunkReader& src, uint8_t* line, unsigned size) {
    unsigned i = 0;
    while (i < size) {
        if (src.AtEnd()) {
            memset(line + i, 0, size - i);
            return false;
        }
        unsigned b = src.Next();
        unsigned count = 1;
        if ((b & 0xC0) == 0xC0) {
            count = b & 0x3F;
            b = src.Next();
        }
        if (count > size - i) count = size - i;
        memset(line + i, int(b), count);
        i += count;
    }
    return true;
}

// Puts a decoded plane line into byte `slot` of each pixel of the row.
void ScatterPlane(const uint8_t* line, uint8_t* row, unsigned count, unsigned planes,
                  unsigned slot) {
    if (planes == 1) {
        memcpy(row, line, count);
        return;
    }
    uint8_t* out = row + slot;
    for (unsigned i = 0; i < count; i++, out += planes) *out = line[i];
}

// Once the data has ended every further byte reads as 0, so the rest of the picture is zero.
void DecodePicture(ChunkReader& src, uint8_t* pixels, uint32_t width, uint32_t height,
                   unsigned planes, uint8_t* line, unsigned lineBytes) {
    const uint64_t rowBytes = uint64_t(width) * planes;
    const unsigned used = lineBytes < width ? lineBytes : width;
    if (used < width) memset(pixels, 0, size_t(rowBytes * height));
    for (uint32_t y = 0; y < height; y++) {
        uint8_t* row = pixels + y * rowBytes;
        for (unsigned p = 0; p < planes; p++) {
            bool more = DecodeLine(src, line, lineBytes);
            ScatterPlane(line, row, used, planes, planes - 1 - p);
            if (more) continue;
            memset(line, 0, used);
            for (unsigned q = p + 1; q < planes; q++)
                ScatterPlane(line, row, used, planes, planes - 1 - q);
            memset(row + rowBytes, 0, size_t(rowBytes * (height - 1 - y)));
            return;
        }
    }
}

// The palette follows the byte 12 after the data; without that byte there is none.
bool ReadPalette(ChunkReader& src, QZMPal** palette) {
    for (;;) {
        if (src.AtEnd()) return true;
        if (src.Next() == kPaletteMark) break;
    }
    if (!QZM::internal::PreparePalette(palette, 256)) return false;
    uint8_t rgb[768];
    src.Take(rgb, sizeof rgb);
    QZMPal& pal = **palette;
    for (unsigned i = 0; pal.entries && i < 256 && i < pal.size; i++)
        pal.entries[i] = QZMRGBA{rgb[3 * i], rgb[3 * i + 1], rgb[3 * i + 2], 0};
    return true;
}

} // namespace

bool Load_PCX(QZMResFile& f, unsigned char** pixels, unsigned int& width, unsigned int& height,
              QZMPal** palette, unsigned short& bpp) {
    if (f.state != QZMResFile::ST_OK) return false;
    // A short header reads as zeros, as the stream's field readers give past the end.
    uint8_t header[kHeaderSize] = {};
    f.Read(header, kHeaderSize);
    if (header[0] != 10 || header[2] != 1) return false;
    if (header[3] != 8) {
        fprintf(stderr, "PCX: format not supported, %d bits per pixel.\n", header[3]);
        return false;
    }
    const int w = ReadSigned16(header + 8) - ReadSigned16(header + 4) + 1;
    const int h = ReadSigned16(header + 10) - ReadSigned16(header + 6) + 1;
    const unsigned version = header[1];
    const unsigned planes = header[65];
    const unsigned lineBytes = QZM::internal::LoadLE16(header + 66);
    const uint64_t pictureBytes = uint64_t(w > 0 ? w : 0) * uint64_t(h > 0 ? h : 0) * planes;
    // An empty picture is refused, and so is an absurd one: over 64 MiB and more than the rest
    // of the stream could fill. A picture cut short decodes its missing part as zeros.
    if (pictureBytes == 0 ||
        !QZM::internal::PlausibleAllocation(f, pictureBytes, kRleExpansion))
        return false;

    width = unsigned(w);
    height = unsigned(h);
    bpp = uint16_t(8 * planes);
    if (!QZM::internal::ReplacePixels(pixels, pictureBytes)) return false;
    uint8_t* line = new (std::nothrow) uint8_t[lineBytes + 1];
    if (!line) return false;
    ChunkReader src(f);
    DecodePicture(src, *pixels, width, height, planes, line, lineBytes);
    delete[] line;
    return version != 5 || ReadPalette(src, palette);
}

namespace {

// Appends one run: a lone byte below 0xC0 stands for itself, anything else takes a count byte.
uint8_t* RLEEncode(uint8_t value, unsigned count, uint8_t* out) {
    if (count == 0) return out;
    if (count > 1 || value >= 0xC0) *out++ = uint8_t(0xC0 | count);
    *out++ = value;
    return out;
}

// Codes width bytes taken every stride bytes from row; returns the end of the output.
uint8_t* EncodePlane(const uint8_t* row, unsigned width, unsigned stride, uint8_t* out) {
    uint8_t value = row[0];
    unsigned count = 1;
    for (unsigned i = 1; i < width; i++) {
        uint8_t b = row[i * stride];
        if (b != value) {
            out = RLEEncode(value, count, out);
            value = b;
            count = 1;
        } else if (++count == kMaxRun) {
            out = RLEEncode(value, count, out);
            count = 0;
        }
    }
    out = RLEEncode(value, count, out);
    if (width & 1) *out++ = 0;
    return out;
}

bool WritePcxHeader(QZMResFile& f, const QZMImage& image) {
    uint8_t header[kHeaderSize] = {10, 5, 1, 8};
    StoreLE16(header + 8, image.width - 1);
    StoreLE16(header + 10, image.height - 1);
    StoreLE16(header + 12, 72);
    StoreLE16(header + 14, 72);
    header[65] = uint8_t(image.BytesPerPixel());
    StoreLE16(header + 66, (image.pitch + 1) & ~1u);
    StoreLE16(header + 68, 1);
    return f.Write(header, kHeaderSize) == kHeaderSize;
}

bool WritePixels(QZMResFile& f, const QZMImage& image) {
    const unsigned planes = image.BytesPerPixel();
    // Worst case: every byte a count and a value, plus the odd-width filler.
    uint8_t* coded = new (std::nothrow) uint8_t[2 * uint64_t(image.width) + 1];
    if (!coded) return false;
    bool ok = true;
    for (uint32_t y = 0; ok && y < image.height; y++) {
        const uint8_t* row = image.pixels + uint64_t(y) * image.pitch;
        for (unsigned p = planes; ok && p-- > 0;) {
            unsigned n = unsigned(EncodePlane(row + p, image.width, planes, coded) - coded);
            ok = f.Write(coded, n) == n;
        }
    }
    delete[] coded;
    return ok;
}

bool WritePcxPalette(QZMResFile& f, const QZMPal& pal) {
    const uint32_t count = pal.size > 256 ? pal.size : 256;
    const uint32_t total = 1 + 3 * count;
    uint8_t* table = new (std::nothrow) uint8_t[total]();
    if (!table) return false;
    table[0] = kPaletteMark;
    for (uint32_t i = 0; i < pal.size; i++) {
        table[1 + 3 * i] = pal.entries[i].r;
        table[2 + 3 * i] = pal.entries[i].g;
        table[3 + 3 * i] = pal.entries[i].b;
    }
    unsigned written = f.Write(table, total);
    delete[] table;
    if (written == total) return true;
    QZM::LOG("PCX: error writing color index %d\n", written == 0 ? 0 : int((written - 1) / 3));
    return false;
}

} // namespace

bool Save_PCX(QZMResFile& f, QZMImage& image) {
    if (f.state != QZMResFile::ST_OK) return false;
    if (image.bpp == 15 || image.bpp == 16) return false;
    // Nothing to write for an empty image, and an 8-bit one is written with its palette.
    if (!image.pixels || image.width == 0 || image.height == 0) return false;
    if (image.bpp == 8 && !image.palette) return false;
    if (!WritePcxHeader(f, image)) {
        QZM::LOG("PCX: Error writing header\n");
        return false;
    }
    if (!WritePixels(f, image)) return false;
    return image.bpp != 8 || WritePcxPalette(f, *image.palette);
}
