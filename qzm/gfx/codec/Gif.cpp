// GIF87a/GIF89a, little-endian. 0 "GIF87a" or "GIF89a" (6); screen: width, height (2 each),
// flags (1: bit 7 global map of 2 << (flags & 7) entries), background (1), aspect (1); the global
// map, 3 bytes red, green, blue per entry. Then blocks: '!' label, data blocks (a length byte and
// that many bytes, ended by length 0); ',' image: left, top, width, height (2 each), flags (1: bit 7
// local map of 1 << ((flags & 7) + 1) entries, bit 6 interlaced), the local map, the LZW minimum
// code size (1), LZW codes least significant bit first in data blocks; ';' the trailer.
// Reads the first image into an 8-bit image with the palette of its map. Refuses other
// signatures, code sizes above 12, empty images and absurd ones (over 64 MiB and more than the
// data could describe); pixels that a short data stream does not reach are zero.
// Writes nothing.
#include <qzm/gfx/codec/Codecs.h>

#include <cstdint>
#include <cstring>
#include <new>
#include <qzm/core/Log.h>
#include <qzm/gfx/Pal.h>
#include <qzm/gfx/internal/ByteOrder.h>
#include <qzm/gfx/internal/LoaderOutput.h>
#include <qzm/io/internal/Bounds.h>

namespace {

using QZM::internal::LoadLE16;

const int kMaxCodes = 4096;
const int kMaxCodeBits = 12;
// A minimum code size of 12 makes codes 13 bits wide: tables of 1 << 13 entries can be indexed by
// any code a stream sends. Entries from 4096 on are never filled and stay zero.
const int kTableSize = 1 << 13;
// A valid string is shorter than the table; a longer one cycles through entries that a corrupt
// stream linked to each other.
const int kStackSize = kTableSize;
const int kCodeBufferSize = 280;
// The densest code stream: once the table is one chain of entries, every 12-bit code repeats a
// string of up to 4094 pixels, some 2730 pixels a byte of data. 4096 bounds it.
const uint64_t kMaxPixelsPerByte = 4096;

struct GIFDesc {
    unsigned width;
    unsigned height;
    unsigned char colorMap[3 * 256];
    unsigned bitPixel;
    unsigned colorResolution;
    unsigned background;
    unsigned aspectRatio;
    unsigned zeroFlag;
};

struct Gif89 {
    int transparent;
    int delayTime;
    int inputFlag;
    int disposal;
};

struct CodeState {
    unsigned char buf[kCodeBufferSize];
    int currentBit;
    int lastBit;
    bool done;
    int byteCount;
};

struct LzwState {
    bool fresh;
    int codeSize;
    int setCodeSize;
    int maxCode;
    int maxCodeSize;
    int firstCode;
    int oldCode;
    int clearCode;
    int endCode;
    uint16_t prefix[kTableSize];
    uint16_t suffix[kTableSize];
    uint16_t stack[kStackSize];
    uint16_t* sp;
};

// One decode at a time in the whole process: the decoder's state is static.
GIFDesc g_gifDesc;
Gif89 g_gif89 = {-1, -1, -1, 0};
bool g_zeroDataBlock = false;
CodeState g_code = {{}, 0, 0, false, 2};
LzwState g_lzw;

bool AtEnd(QZMResFile& f) { return f.Eof() || f.state != QZMResFile::ST_OK; }

// The next byte, false at the end of the data (a disk stream only notices it on reading).
bool ReadByte(QZMResFile& f, int& c) {
    unsigned char b;
    if (f.Read(&b, 1) != 1) return false;
    c = b;
    return true;
}

bool ReadColorMap(QZMResFile& f, int count, unsigned char* map) {
    if (count <= 0) return true;
    if (f.Read(map, unsigned(3 * count)) == unsigned(3 * count)) return true;
    QZM::LOG("GIF: bad colormap\n");
    return false;
}

int GetDataBlock(QZMResFile& f, unsigned char* buf) {
    int count;
    if (!ReadByte(f, count)) return 255;
    g_zeroDataBlock = count == 0;
    if (count != 0 && f.Read(buf, unsigned(count)) != unsigned(count)) return 255;
    return count;
}

// Skips data blocks up to the one of length 0. Also stops at the end of the data, where
// GetDataBlock gives 255 forever.
void SkipDataBlocks(QZMResFile& f) {
    unsigned char buf[256];
    while (GetDataBlock(f, buf) != 0 && !AtEnd(f)) {
    }
}

void DoExtension(QZMResFile& f, int label) {
    if (label == 0xF9) {
        unsigned char buf[256] = {};
        GetDataBlock(f, buf);
        g_gif89.disposal = (buf[0] >> 2) & 7;
        g_gif89.inputFlag = (buf[0] >> 1) & 1;
        g_gif89.delayTime = buf[1] + 256 * buf[2];
        if (buf[0] & 1) g_gif89.transparent = buf[3];
    }
    SkipDataBlocks(f);
}

int GetCode(QZMResFile& f, int size, bool init) {
    CodeState& s = g_code;
    if (init) {
        s.currentBit = 0;
        s.lastBit = 0;
        s.done = false;
        return 0;
    }
    if (s.currentBit + size >= s.lastBit) {
        if (s.done) return -1;
        s.buf[0] = s.buf[s.byteCount - 2];
        s.buf[1] = s.buf[s.byteCount - 1];
        // At the end of the data the codes end too, instead of reading the buffer's old bytes
        // again and again.
        const bool ended = AtEnd(f);
        const int count = ended ? 0 : GetDataBlock(f, s.buf + 2);
        if (count == 0 || AtEnd(f)) s.done = true;
        s.byteCount = count + 2;
        s.currentBit = s.currentBit - s.lastBit + 16;
        s.lastBit = (count + 2) * 8;
    }
    // Blocks shorter than a code leave the bit position behind the block; once it would pass
    // the buffer's end the data cannot be valid.
    if (s.currentBit + 24 > 8 * kCodeBufferSize) {
        s.done = true;
        return -1;
    }
    const unsigned char* p = s.buf + (s.currentBit >> 3);
    const unsigned bits = unsigned(p[0]) | unsigned(p[1]) << 8 | unsigned(p[2]) << 16;
    const int code = int(bits >> (s.currentBit & 7)) & ((1 << size) - 1);
    s.currentBit += size;
    return code;
}

void ResetCodeSize(LzwState& s) {
    s.codeSize = s.setCodeSize + 1;
    s.maxCodeSize = 2 * s.clearCode;
    s.maxCode = s.clearCode + 2;
    s.sp = s.stack;
}

// The tables as after a reset, for any code size.
void InitTables(LzwState& s) {
    for (int i = 0; i < s.clearCode; i++) {
        s.prefix[i] = 0;
        s.suffix[i] = uint16_t(i);
    }
    memset(s.prefix + s.clearCode, 0, sizeof(s.prefix[0]) * (kTableSize - s.clearCode));
    memset(s.suffix + s.clearCode, 0, sizeof(s.suffix[0]) * (kTableSize - s.clearCode));
}

// On a clear code only the entries added since the last reset differ from the reset tables.
void ClearTables(LzwState& s) {
    const int first = s.clearCode + 2;
    if (s.maxCode > first) {
        memset(s.prefix + first, 0, sizeof(s.prefix[0]) * (s.maxCode - first));
        memset(s.suffix + first, 0, sizeof(s.suffix[0]) * (s.maxCode - first));
    }
    ResetCodeSize(s);
}

// Decodes codes until one gives a value (step 4 of the decoder); the stack is empty on entry.
int DecodeNextCode(QZMResFile& f, LzwState& s) {
    int code;
    while ((code = GetCode(f, s.codeSize, false)) >= 0) {
        if (code == s.clearCode) {
            ClearTables(s);
            s.firstCode = s.oldCode = GetCode(f, s.codeSize, false);
            return s.firstCode;
        }
        if (code == s.endCode) {
            if (!g_zeroDataBlock) SkipDataBlocks(f);
            return -2;
        }
        const int incode = code;
        uint16_t* sp = s.sp;
        if (code >= s.maxCode) {
            *sp++ = uint16_t(s.firstCode);
            code = s.oldCode;
        }
        uint16_t* const last = s.stack + kStackSize - 1;
        while (code >= s.clearCode) {
            if (sp == last) {
                s.sp = s.stack;
                return -1;
            }
            *sp++ = s.suffix[code];
            code = s.prefix[code];
        }
        s.firstCode = s.suffix[code];
        *sp++ = uint16_t(s.firstCode);
        if (s.maxCode < kMaxCodes) {
            s.prefix[s.maxCode] = uint16_t(s.oldCode);
            s.suffix[s.maxCode] = uint16_t(s.firstCode);
            if (++s.maxCode >= s.maxCodeSize && s.maxCodeSize < kMaxCodes) {
                s.maxCodeSize *= 2;
                s.codeSize++;
            }
        }
        s.oldCode = incode;
        s.sp = sp;
        if (sp > s.stack) return *--s.sp;
    }
    return code;
}

int LWZReadByte(QZMResFile& f, bool init, int input_code_size) {
    LzwState& s = g_lzw;
    if (init) {
        // Larger sizes make clear codes that no table can hold.
        if (input_code_size > kMaxCodeBits) return -1;
        s.setCodeSize = input_code_size;
        s.clearCode = 1 << s.setCodeSize;
        s.endCode = s.clearCode + 1;
        ResetCodeSize(s);
        GetCode(f, 0, true);
        s.fresh = true;
        InitTables(s);
        return 0;
    }
    if (s.fresh) {
        s.fresh = false;
        do s.firstCode = s.oldCode = GetCode(f, s.codeSize, false);
        while (s.firstCode == s.clearCode);
        return s.firstCode;
    }
    if (s.sp > s.stack) return *--s.sp;
    return DecodeNextCode(f, s);
}

// Moves to the next row in storage order; false when decoding stops.
bool NextRow(int& row, int& pass, bool interlace, int height) {
    if (!interlace) return ++row < height;
    static const int kStep[4] = {8, 8, 4, 2};
    static const int kStart[4] = {0, 4, 2, 1};
    row += kStep[pass];
    if (row >= height) {
        if (++pass > 3) return false;
        row = kStart[pass];
    }
    return row < height;
}

// Fills rows with decoded values until the data or the rows end; the values a code leaves on
// the stack are copied straight into the row.
void DecodeRows(QZMResFile& f, unsigned char* image, int width, int height, bool interlace,
                int codeSize) {
    int row = 0;
    int pass = 0;
    int x = 0;
    unsigned char* out = image;
    for (;;) {
        const int value = LWZReadByte(f, false, codeSize);
        if (value < 0) return;
        out[x++] = uint8_t(value);
        uint16_t* sp = g_lzw.sp;
        const uint16_t* const bottom = g_lzw.stack;
        int n = int(sp - bottom);
        if (n > width - x) n = width - x;
        for (int i = 0; i < n; i++) out[x + i] = uint8_t(*--sp);
        x += n;
        g_lzw.sp = sp;
        if (x == width) {
            if (!NextRow(row, pass, interlace, height)) return;
            out = image + size_t(row) * size_t(width);
            x = 0;
        }
    }
}

unsigned char* ReadImage(QZMResFile& f, int width, int height, int interlace, int ignore) {
    int c;
    if (!ReadByte(f, c)) {
        QZM::LOG("GIF: EOF / read error on image data\n");
        return nullptr;
    }
    if (LWZReadByte(f, true, c) < 0) {
        QZM::LOG("GIF: error reading image\n");
        return nullptr;
    }
    if (ignore) {
        // Discarding every value would leave the stream just after the data's closing block, as
        // skipping the blocks does, without the cost of decoding a picture nobody sees.
        SkipDataBlocks(f);
        return nullptr;
    }
    // An empty picture is refused, and so is an absurd one: over 64 MiB and more than the rest of
    // the stream could fill. A short data stream gives a partly decoded picture; the pixels it
    // does not reach are zero rather than whatever the allocation held.
    const uint64_t size = uint64_t(width) * uint64_t(height);
    unsigned char* image = nullptr;
    if (size > 0 && QZM::internal::PlausibleAllocation(f, size, kMaxPixelsPerByte))
        image = new (std::nothrow) unsigned char[size_t(size)]();
    if (!image) {
        QZM::LOG("GIF: error reading image\n");
        return nullptr;
    }
    DecodeRows(f, image, width, height, interlace != 0, c);
    return image;
}

bool ReadScreen(QZMResFile& f) {
    unsigned char sd[7];
    if (f.Read(sd, sizeof sd) != sizeof sd) {
        QZM::LOG("GIF: failed to read screen descriptor\n");
        return false;
    }
    GIFDesc& d = g_gifDesc;
    d.width = LoadLE16(sd);
    d.height = LoadLE16(sd + 2);
    d.bitPixel = 2u << (sd[4] & 7);
    d.colorResolution = ((sd[4] >> 3) & 0x0E) + 1;
    d.background = sd[5];
    d.aspectRatio = sd[6];
    d.zeroFlag = 0;
    // Without a global map an image without a local one gets black, not the last file's colours.
    memset(d.colorMap, 0, sizeof d.colorMap);
    if ((sd[4] & 0x80) && !ReadColorMap(f, int(d.bitPixel), d.colorMap)) {
        QZM::LOG("GIF: error reading global colormap\n");
        return false;
    }
    return true;
}

// The image block after ',': its descriptor, map and pixels. False on a failure that ends the
// load; true also when no pixels came out and the search goes on.
bool ReadImageBlock(QZMResFile& f, int imageCount, unsigned char** pixels, unsigned& width,
                    unsigned& height, QZMPal** palette, unsigned short& bpp) {
    unsigned char desc[9];
    if (f.Read(desc, sizeof desc) != sizeof desc) {
        QZM::LOG("GIF: couldn't read left/top/width/height\n");
        return false;
    }
    unsigned char localMap[3 * 256];
    const unsigned char* map = g_gifDesc.colorMap;
    int colors = int(g_gifDesc.bitPixel);
    if (desc[8] & 0x80) {
        colors = 1 << ((desc[8] & 7) + 1);
        if (!ReadColorMap(f, colors, localMap)) {
            QZM::LOG("GIF: error reading local colormap\n");
            return false;
        }
        map = localMap;
    }
    width = LoadLE16(desc + 4);
    height = LoadLE16(desc + 6);
    bpp = 8;
    *pixels = ReadImage(f, int(width), int(height), desc[8] & 0x40, imageCount != 1);
    if (!*pixels) return true;
    if (!QZM::internal::PreparePalette(palette, unsigned(colors))) return false;
    (*palette)->SetFromRGB(map, unsigned(colors), 0);
    return true;
}

} // namespace

bool Load_GIF(QZMResFile& f, unsigned char** pixels, unsigned int& width, unsigned int& height,
              QZMPal** palette, unsigned short& bpp) {
    if (f.state != QZMResFile::ST_OK) return false;
    unsigned char magic[6];
    if (f.Read(magic, sizeof magic) != sizeof magic || memcmp(magic, "GIF8", 4) != 0 ||
        (magic[4] != '7' && magic[4] != '9') || magic[5] != 'a') {
        QZM::LOG("GIF: error reading magic number\n");
        return false;
    }
    if (!ReadScreen(f)) return false;
    delete[] *pixels;
    *pixels = nullptr;
    int imageCount = 0;
    while (!*pixels) {
        int c;
        if (!ReadByte(f, c)) {
            QZM::LOG("GIF: EOF / read error on image data\n");
            return false;
        }
        if (c == ';' && imageCount == 0) {
            QZM::LOG("GIF: only %d/%d images found in file\n", imageCount, 1);
            return false;
        }
        if (c == '!') {
            int label;
            if (!ReadByte(f, label)) {
                QZM::LOG("GIF: EOF / read error on extension function code\n");
                return false;
            }
            DoExtension(f, label);
        } else if (c == ',') {
            if (!ReadImageBlock(f, ++imageCount, pixels, width, height, palette, bpp)) return false;
        }
    }
    return true;
}

bool Save_GIF(QZMResFile&, QZMImage&) { return false; }
