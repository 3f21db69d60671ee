// TGA, little-endian 18-byte header: 0 ID length (1), 1 colour map type (1), 2 image type (1),
// 3 first map index (2), 5 map length (2), 7 map entry bits (1), 8 x and 10 y origin (2 each),
// 12 width, 14 height (2 each), 16 pixel bits (1), 17 descriptor (1; bit 5: rows top to bottom).
// Then the ID, the colour map (blue, green, red per entry) and the pixels, raw or in packets: a
// byte h, then one pixel repeated (h & 0x7F) + 1 times (h & 0x80) or that many pixels; packets
// run on across rows. Reads types 1, 2, 3 and their run-length forms 9, 10, 11 at 8, 15, 16, 24
// and 32 bits, blue, green, red with the alpha inverted; refuses other types and depths, empty
// images and absurd ones (over 64 MiB and more than the data could fill). Writes types 1/9 with
// a palette, 2/10 without, rows bottom-up, the alpha as it is; refuses 15 and 16 bits.
#include <qzm/gfx/codec/Codecs.h>

#include <cstring>
#include <new>
#include <qzm/core/Log.h>
#include <qzm/gfx/Image.h>
#include <qzm/gfx/codec/internal/TgaRle.h>
#include <qzm/gfx/internal/ByteOrder.h>
#include <qzm/gfx/internal/LoaderOutput.h>
#include <qzm/io/internal/Bounds.h>

namespace {

using QZM::internal::LoadLE16;
using QZM::internal::StoreLE16;

const unsigned kHeaderSize = 18;
const int kMaxPacket = 128;
const size_t kMaxPacketBytes = 1 + kMaxPacket * 4;

struct TgaHeader {
    uint8_t idLength;
    uint8_t colorMapType;
    uint8_t imageType;
    uint16_t cmStart;
    uint16_t cmLen;
    uint8_t cmBits;
    uint16_t width;
    uint16_t height;
    uint8_t depth;
    uint8_t descriptor;
};

// A short header reads as zeros, which no image type accepts.
TgaHeader ReadHeader(QZMResFile& f) {
    uint8_t b[kHeaderSize] = {};
    f.Read(b, kHeaderSize);
    return TgaHeader{b[0], b[1], b[2], LoadLE16(b + 3), LoadLE16(b + 5), b[7],
                     LoadLE16(b + 12), LoadLE16(b + 14), b[16], b[17]};
}

bool IsTgaType(unsigned type) { return (type >= 1 && type <= 3) || (type >= 9 && type <= 11); }

bool IsTgaDepth(unsigned depth) {
    return depth == 8 || depth == 15 || depth == 16 || depth == 24 || depth == 32;
}

// count entries of entryBytes each; the palette keeps the first ones it has room for.
bool ReadEntries(QZMResFile& f, unsigned count, unsigned entryBytes, QZMPal& pal) {
    uint8_t chunk[4096];
    const unsigned perChunk = sizeof chunk / entryBytes;
    for (unsigned first = 0; first < count; first += perChunk) {
        const unsigned n = count - first < perChunk ? count - first : perChunk;
        if (f.Read(chunk, n * entryBytes) != n * entryBytes) {
            QZM::LOG("TGA: Error reading palette\n");
            return false;
        }
        for (unsigned i = 0; pal.entries && i < n && first + i < pal.size; i++) {
            const uint8_t* e = chunk + i * entryBytes;
            pal.entries[first + i] = QZMRGBA{e[2], e[1], e[0], 0};
        }
    }
    return true;
}

bool ReadColourMap(QZMResFile& f, const TgaHeader& h, unsigned pixelBytes, QZMPal** palette) {
    const unsigned entryBytes = (h.cmBits + 7u) / 8;
    unsigned cmLen = h.cmLen;
    if (h.cmStart != 0) {
        f.Seek(int(h.cmStart * entryBytes), 1);
        if (cmLen < h.cmStart)
            QZM::LOG("TGA: Error, cmstart > cmlen !\n");
        else
            cmLen -= h.cmStart;
    }
    if (cmLen == 0) {
        delete *palette;
        *palette = nullptr;
        return true;
    }
    if (pixelBytes > 1) {
        QZM::LOG("TGA: Error colormap in %d bits mode\n", int(h.depth));
        return false;
    }
    if (!QZM::internal::PreparePalette(palette, cmLen)) return false;
    if (entryBytes < 3) {
        QZM::LOG("TGA: error in colormap depth = %d bytes.\n", int(entryBytes));
        return false;
    }
    return ReadEntries(f, cmLen, entryBytes, **palette);
}

// The most image bytes that one byte of pixel data can give: 1 for raw pixels; a run-length
// packet gives up to 128 pixels from a header byte and one pixel, rounded up.
uint64_t Expansion(unsigned pixelBytes, bool rle) {
    return rle ? (uint64_t(kMaxPacket) * pixelBytes + pixelBytes) / (1 + pixelBytes) : 1;
}

// The picture being filled, in the file's row order.
struct Layout {
    uint8_t* pixels;
    uint32_t width;
    uint32_t height;
    uint32_t rowSize;
    unsigned pixelBytes;
    bool topDown;

    uint32_t ImageRow(uint32_t fileRow) const { return topDown ? fileRow : height - 1 - fileRow; }
    uint8_t* Row(uint32_t fileRow) const { return pixels + size_t(ImageRow(fileRow)) * rowSize; }
};

// Copies count 32-bit pixels with the alpha inverted (255 - a is a ^ 0xFF), sixteen bytes at a
// time so that the compiler makes vector xors of them; dst may be src.
void CopyInvertingAlpha(uint8_t* dst, const uint8_t* src, uint32_t count) {
    const uint8_t maskBytes[4] = {0, 0, 0, 0xFF};
    uint32_t mask;
    memcpy(&mask, maskBytes, 4);
    for (; count >= 4; count -= 4, src += 16, dst += 16) {
        uint32_t v[4];
        memcpy(v, src, 16);
        for (int i = 0; i < 4; i++) v[i] ^= mask;
        memcpy(dst, v, 16);
    }
    for (; count > 0; count--, src += 4, dst += 4) {
        uint32_t v;
        memcpy(&v, src, 4);
        v ^= mask;
        memcpy(dst, &v, 4);
    }
}

// pixel: index in the file's order of the pixel that could not be read.
void ReportReadError(const Layout& l, uint64_t pixel) {
    QZM::LOG("TGA: Error reading data, line %d, x= %d", int(l.ImageRow(uint32_t(pixel / l.width))),
             int(pixel % l.width));
}

bool ReadRawRows(QZMResFile& f, const Layout& l) {
    for (uint32_t r = 0; r < l.height; r++) {
        uint8_t* row = l.Row(r);
        const uint32_t got = f.Read(row, l.rowSize) / l.pixelBytes;
        if (l.pixelBytes == 4) CopyInvertingAlpha(row, row, got);
        if (got != l.width) {
            ReportReadError(l, uint64_t(r) * l.width + got);
            return false;
        }
    }
    return true;
}

template <unsigned Bytes>
void Repeat(uint8_t* p, const uint8_t* pixel, uint32_t n) {
    for (uint32_t i = 0; i < n; i++, p += Bytes) memcpy(p, pixel, Bytes);
}

void Repeat(uint8_t* p, const uint8_t* pixel, uint32_t n, unsigned bytes) {
    switch (bytes) {
    case 1: memset(p, pixel[0], n); break;
    case 2: Repeat<2>(p, pixel, n); break;
    case 3: Repeat<3>(p, pixel, n); break;
    default: Repeat<4>(p, pixel, n); break;
    }
}

// Walks the picture pixel by pixel in the file's order; packets run on across rows.
struct Cursor {
    const Layout& l;
    uint32_t fileRow = 0;
    uint32_t x = 0;

    explicit Cursor(const Layout& l) : l(l) {}
    uint8_t* At() const { return l.Row(fileRow) + size_t(x) * l.pixelBytes; }
    uint32_t RowLeft() const { return l.width - x; }
    void Advance(uint32_t n) {
        x += n;
        if (x == l.width) {
            x = 0;
            fileRow++;
        }
    }
};

void PutRun(Cursor& c, const uint8_t* pixel, uint32_t count) {
    while (count > 0) {
        const uint32_t n = count < c.RowLeft() ? count : c.RowLeft();
        Repeat(c.At(), pixel, n, c.l.pixelBytes);
        c.Advance(n);
        count -= n;
    }
}

void PutRaw(const uint8_t* src, Cursor& c, uint32_t count) {
    while (count > 0) {
        const uint32_t n = count < c.RowLeft() ? count : c.RowLeft();
        if (c.l.pixelBytes == 4)
            CopyInvertingAlpha(c.At(), src, n);
        else
            memcpy(c.At(), src, size_t(n) * c.l.pixelBytes);
        src += size_t(n) * c.l.pixelBytes;
        c.Advance(n);
        count -= n;
    }
}

// A window on the stream that holds a whole packet whenever the stream still has one, so that
// packets are decoded straight from memory.
class PacketReader {
public:
    explicit PacketReader(QZMResFile& f) : file(f) {}
    PacketReader(const PacketReader&) = delete;
    PacketReader& operator=(const PacketReader&) = delete;

    /// Bytes ready at Data(): at least n unless the stream ends first.
    size_t Ready(size_t n) {
        if (size_t(end - cur) < n && !exhausted) Refill();
        return size_t(end - cur);
    }
    const uint8_t* Data() const { return cur; }
    void Skip(size_t n) { cur += n; }

private:
    void Refill() {
        const size_t keep = size_t(end - cur);
        memmove(buf, cur, keep);
        const unsigned want = unsigned(sizeof buf - keep);
        const unsigned got = file.Read(buf + keep, want);
        exhausted = got < want;
        cur = buf;
        end = buf + keep + got;
    }

    QZMResFile& file;
    uint8_t buf[16384];
    const uint8_t* cur = buf;
    const uint8_t* end = buf;
    bool exhausted = false;
};

bool DecodeRle(QZMResFile& f, const Layout& l) {
    PacketReader src(f);
    Cursor c(l);
    const unsigned bytes = l.pixelBytes;
    const uint64_t total = uint64_t(l.width) * l.height;
    uint64_t done = 0;
    while (done < total) {
        const size_t ready = src.Ready(kMaxPacketBytes);
        const uint8_t* packet = src.Data();
        if (ready == 0) {
            ReportReadError(l, done);
            return false;
        }
        uint32_t count = (packet[0] & 0x7F) + 1;
        // A packet running past the last row is cut there.
        if (count > total - done) count = uint32_t(total - done);
        const size_t size = 1 + (packet[0] & 0x80 ? bytes : size_t(count) * bytes);
        if (ready < size) {
            ReportReadError(l, done + (packet[0] & 0x80 ? 0 : (ready - 1) / bytes));
            return false;
        }
        if (packet[0] & 0x80) {
            uint8_t pixel[4];
            memcpy(pixel, packet + 1, bytes);
            if (bytes == 4) pixel[3] = uint8_t(255 - pixel[3]);
            PutRun(c, pixel, count);
        } else {
            PutRaw(packet + 1, c, count);
        }
        src.Skip(size);
        done += count;
    }
    return true;
}

} // namespace

bool Load_TGA(QZMResFile& f, unsigned char** pixels, unsigned int& width, unsigned int& height,
              QZMPal** palette, unsigned short& bpp) {
    if (f.state != QZMResFile::ST_OK) return false;
    const TgaHeader h = ReadHeader(f);
    if (h.colorMapType >= 2) {
        QZM::LOG("TGA:: bad format\n");
        return false;
    }
    if (!IsTgaType(h.imageType)) {
        QZM::LOG("TGA:: Unsupported type %d\n", int(h.imageType));
        return false;
    }
    // Only the depths an image can have, and a picture with pixels.
    if (!IsTgaDepth(h.depth) || h.width == 0 || h.height == 0) {
        QZM::LOG("TGA:: bad format\n");
        return false;
    }
    if (int8_t(h.idLength) > 0) f.Seek(int8_t(h.idLength), 1);
    width = h.width;
    height = h.height;
    bpp = h.depth;
    const unsigned pixelBytes = (h.depth + 7u) / 8;
    const uint32_t rowSize = pixelBytes * h.width;
    if (h.colorMapType == 1 && !ReadColourMap(f, h, pixelBytes, palette)) return false;

    const bool rle = h.imageType >= 9;
    // Only an absurd picture is refused here: over 64 MiB and more than the rest of the stream
    // could fill. A short file then gives its read error.
    const uint64_t size = uint64_t(rowSize) * h.height;
    if (!QZM::internal::PlausibleAllocation(f, size, Expansion(pixelBytes, rle)) ||
        !QZM::internal::ReplacePixels(pixels, size)) {
        QZM::LOG("TGA: not enough memory\n");
        return false;
    }
    const Layout l{*pixels, h.width, h.height, rowSize, pixelBytes, (h.descriptor & 0x20) != 0};
    return rle ? DecodeRle(f, l) : ReadRawRows(f, l);
}

namespace {

uint32_t RLE_GetPixel(const uint8_t* p, int bytes) {
    uint32_t v = 0;
    for (int i = 0; i < bytes; i++) v = v << 8 | p[i];
    return v;
}

int RLE_DiffPixels(const uint8_t* p, int n, int bytes) {
    if (n == 1) return 1;
    uint32_t previous = RLE_GetPixel(p, bytes);
    for (int i = 1; i < n; i++) {
        const uint32_t pixel = RLE_GetPixel(p + i * bytes, bytes);
        if (pixel == previous) return i - 1;
        previous = pixel;
    }
    return n;
}

int RLE_SamePixels(const uint8_t* p, int n, int bytes) {
    const uint32_t first = RLE_GetPixel(p, bytes);
    int i = 1;
    while (i < n && RLE_GetPixel(p + i * bytes, bytes) == first) i++;
    return i;
}

// The coder for one pixel size; inlined per size so that the pixel compositions unroll.
inline int EncodeLine(const uint8_t* src, int width, uint8_t* dst, int bytes) {
    uint8_t* out = dst;
    for (int left = width; left > 0;) {
        // A packet holds at most 128 pixels: looking further would not change either count.
        int d = RLE_DiffPixels(src, left < kMaxPacket + 1 ? left : kMaxPacket + 1, bytes);
        if (d > 0) {
            if (d > kMaxPacket) d = kMaxPacket;
            *out++ = uint8_t(d - 1);
            memcpy(out, src, size_t(d) * bytes);
            out += size_t(d) * bytes;
            src += size_t(d) * bytes;
            left -= d;
        } else {
            const int s = RLE_SamePixels(src, left < kMaxPacket ? left : kMaxPacket, bytes);
            *out++ = uint8_t(0x80 | (s - 1));
            memcpy(out, src + size_t(s - 1) * bytes, size_t(bytes));
            out += bytes;
            src += size_t(s) * bytes;
            left -= s;
        }
    }
    return int(out - dst);
}

void WriteColourMap(QZMResFile& f, const QZMPal& pal) {
    uint8_t block[256 * 3];
    for (uint32_t first = 0; first < pal.size; first += 256) {
        const uint32_t n = pal.size - first < 256 ? pal.size - first : 256;
        for (uint32_t i = 0; i < n; i++) {
            const QZMRGBA& e = pal.entries[first + i];
            block[3 * i] = e.b;
            block[3 * i + 1] = e.g;
            block[3 * i + 2] = e.r;
        }
        f.Write(block, 3 * n);
    }
}

void Save_TGA_Header(QZMResFile& f, const QZMImage& image, bool rle) {
    uint8_t h[kHeaderSize] = {};
    const QZMPal* pal = image.palette;
    h[1] = pal ? 1 : 0;
    h[2] = pal ? (rle ? 9 : 1) : (rle ? 10 : 2);
    if (pal) {
        StoreLE16(h + 5, pal->size);
        h[7] = 24;
    }
    StoreLE16(h + 12, image.width);
    StoreLE16(h + 14, image.height);
    h[16] = uint8_t(image.bpp);
    h[17] = image.bpp == 32 ? 8 : 0;
    f.Write(h, kHeaderSize);
    if (pal && pal->entries) WriteColourMap(f, *pal);
}

bool RefuseSixteenBits(const QZMImage& image) {
    if (image.bpp != 15 && image.bpp != 16) return false;
    QZM::LOG("TGA: can not handle 16 bits image.\n");
    return true;
}

const uint8_t* RowOf(const QZMImage& image, uint32_t y) {
    return image.pixels + size_t(y) * image.pitch;
}

} // namespace

int QZM::internal::RLE_Encode_Line(const uint8_t* src, int width, uint8_t* dst, int bytes) {
    switch (bytes) {
    case 1: return EncodeLine(src, width, dst, 1);
    case 3: return EncodeLine(src, width, dst, 3);
    case 4: return EncodeLine(src, width, dst, 4);
    default: return EncodeLine(src, width, dst, bytes);
    }
}

bool Save_TGA(QZMResFile& f, QZMImage& image) {
    if (f.state != QZMResFile::ST_OK || RefuseSixteenBits(image)) return false;
    Save_TGA_Header(f, image, false);
    for (uint32_t y = image.height; image.pixels && y-- > 0;) f.Write(RowOf(image, y), image.pitch);
    return true;
}

bool Save_TGA_RLE(QZMResFile& f, QZMImage& image) {
    if (f.state != QZMResFile::ST_OK || RefuseSixteenBits(image)) return false;
    Save_TGA_Header(f, image, true);
    if (!image.pixels) return true;
    const int bytes = int(image.BytesPerPixel());
    uint8_t* coded =
        new (std::nothrow) uint8_t[size_t(image.pitch) + (image.width + kMaxPacket - 1) / kMaxPacket];
    if (!coded) return false;
    for (uint32_t y = image.height; y-- > 0;) {
        const int n = QZM::internal::RLE_Encode_Line(RowOf(image, y), int(image.width), coded, bytes);
        f.Write(coded, unsigned(n));
    }
    delete[] coded;
    return true;
}
