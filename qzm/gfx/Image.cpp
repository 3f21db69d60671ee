#include <qzm/gfx/Image.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <new>
#include <utility>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include <qzm/core/Log.h>
#include <qzm/gfx/Font.h>
#include <qzm/gfx/codec/Codecs.h>
#include <qzm/gfx/internal/ByteOrder.h>
#include <qzm/gfx/internal/GlyphSheet.h>

namespace {

using QZM::internal::StoreLE16;
using QZM::internal::StoreLE32;

using Loader = bool (*)(QZMResFile&, unsigned char**, unsigned int&, unsigned int&, QZMPal**,
                        unsigned short&);
using Writer = bool (*)(QZMResFile&, QZMImage&);

struct ImageCodec {
    Loader load;
    Writer save;
};

// Indexed by format code. Code 0 loads undetected data as PCX; its writer is chosen by depth.
const ImageCodec g_codecs[] = {
    {Load_PCX, nullptr},     // 0
    {Load_BMP, Save_BMP},    // 1
    {Load_PCX, Save_PCX},    // 2
    {Load_GIF, nullptr},     // 3 GIF, read only
    {Load_TGA, Save_TGA},    // 4 TGA
    {nullptr, Save_TGA_RLE}, // 5 TGA RLE
    {Load_FONT, nullptr},    // 6
};
const int kCodecCount = sizeof(g_codecs) / sizeof(g_codecs[0]);
const int kSavePCX = 2;
const int kSaveTGARLE = 5;

// The clipping rectangle bounded by the image, so that fields set by hand never let a write out.
struct Box {
    int64_t x1, y1, x2, y2;

    bool Contains(int64_t x, int64_t y) const { return x >= x1 && x <= x2 && y >= y1 && y <= y2; }
    bool Meets(int64_t left, int64_t top, int64_t right, int64_t bottom) const {
        return right >= x1 && left <= x2 && bottom >= y1 && top <= y2;
    }
};

inline Box ClipBox(const QZMImage& img) {
    return Box{std::max<int64_t>(img.clipX1, 0), std::max<int64_t>(img.clipY1, 0),
               std::min<int64_t>(img.clipX2, int64_t(img.width) - 1),
               std::min<int64_t>(img.clipY2, int64_t(img.height) - 1)};
}

// Clips the run start .. start + len - 1 to [lo, hi]; false when nothing is left.
bool ClipRun(int64_t start, int64_t len, int64_t lo, int64_t hi, int64_t& from, int64_t& count) {
    from = std::max(start, lo);
    count = std::min(start + len - 1, hi) - from + 1;
    return count > 0;
}

// One axis of a block transfer: the destination to [lo, hi], the source to [0, srcSize).
bool ClipBlockAxis(int64_t& to, int64_t& from, int64_t& len, int64_t lo, int64_t hi,
                   int64_t srcSize) {
    if (to < lo) {
        len -= lo - to;
        from += lo - to;
        to = lo;
    }
    if (from + len > srcSize) len = srcSize - from;
    if (to + len - 1 > hi) len = hi - to + 1;
    return len > 0;
}

uint8_t* AllocPixels(uint64_t bytes) {
    if (bytes > 0xFFFFFFFFu || bytes > SIZE_MAX) return nullptr;
    return new (std::nothrow) uint8_t[static_cast<size_t>(bytes)];
}

bool IsDepth(unsigned bpp) {
    return bpp == 8 || bpp == 15 || bpp == 16 || bpp == 24 || bpp == 32;
}

// The colour's bytes in put order, as a native word whatever the host's byte order.
template <class Word> Word PatternWord(unsigned color, unsigned pixelBytes) {
    uint8_t bytes[sizeof(Word)];
    for (unsigned i = 0; i < sizeof(Word); ++i)
        bytes[i] = static_cast<uint8_t>(color >> (8 * (i % pixelBytes)));
    Word word;
    std::memcpy(&word, bytes, sizeof(Word));
    return word;
}

// wmemset is the C library's tuned 32-bit fill; rows of 4-byte multiples are 4-byte aligned.
void Fill32(uint8_t* row, size_t words, uint32_t word) {
    if constexpr (sizeof(wchar_t) == 4) {
        wchar_t wide;
        std::memcpy(&wide, &word, 4);
        std::wmemset(reinterpret_cast<wchar_t*>(row), wide, words);
    } else {
        for (size_t i = 0; i < words; ++i) std::memcpy(row + 4 * i, &word, 4);
    }
}

// Two pixels per 32-bit word once the row is word aligned.
void Fill16(uint8_t* row, unsigned count, unsigned color) {
    uint16_t half = PatternWord<uint16_t>(color, 2);
    if (count && reinterpret_cast<uintptr_t>(row) % 4) {
        std::memcpy(row, &half, 2);
        row += 2;
        --count;
    }
    Fill32(row, count / 2, PatternWord<uint32_t>(color, 2));
    if (count % 2) std::memcpy(row + 2 * (count - 1), &half, 2);
}

// A 24-bit colour repeated, in pieces that may start at any byte: the piece for byte o of a run
// of whole pixels has phase o % 3. SSE2 stores 16 bytes at a time, other targets 8. A piece of
// phase 1 or 2 is the pattern shifted by that many bytes, the gap at its end filled from a copy
// shifted the other way by the rest of the 3-byte period.
#ifdef __SSE2__
struct Pattern24 {
    static const size_t kSize = 16;
    __m128i piece[3];

    explicit Pattern24(unsigned color) {
        __m128i bytes = _mm_cvtsi32_si128(int(color & 0xFFFFFFu));
        bytes = _mm_or_si128(bytes, _mm_slli_si128(bytes, 3));
        bytes = _mm_or_si128(bytes, _mm_slli_si128(bytes, 6));
        bytes = _mm_or_si128(bytes, _mm_slli_si128(bytes, 12));
        piece[0] = bytes;
        piece[1] = _mm_or_si128(_mm_srli_si128(bytes, 1), _mm_slli_si128(bytes, 2));
        piece[2] = _mm_or_si128(_mm_srli_si128(bytes, 2), _mm_slli_si128(bytes, 1));
    }
    void Store(uint8_t* at, unsigned phase) const {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(at), piece[phase]);
    }
};
#else
struct Pattern24 {
    static const size_t kSize = 8;
    uint64_t piece[3]; // the first byte lowest

    explicit Pattern24(unsigned color) {
        uint64_t bytes = uint64_t(color & 0xFFFFFFu) * 0x0001000001000001u;
        piece[0] = bytes;
        piece[1] = bytes >> 8 | bytes << 16;
        piece[2] = bytes >> 16 | bytes << 8;
    }
    void Store(uint8_t* at, unsigned phase) const {
        StoreLE32(at, uint32_t(piece[phase]));
        StoreLE32(at + 4, uint32_t(piece[phase] >> 32));
    }
};
#endif

void Put24(uint8_t* at, unsigned color) {
    at[0] = static_cast<uint8_t>(color);
    at[1] = static_cast<uint8_t>(color >> 8);
    at[2] = static_cast<uint8_t>(color >> 16);
}

void Fill24(uint8_t* row, unsigned count, unsigned color) {
    const size_t size = Pattern24::kSize, group = 3 * size;
    size_t bytes = size_t(count) * 3;
    if (bytes < size) {
        for (size_t i = 0; i < bytes; i += 3) Put24(row + i, color);
        return;
    }
    Pattern24 pattern(color);
    // A run ends on a whole pixel, so a piece that ends with it has the phase of -size.
    const unsigned lastPhase = (3 - size % 3) % 3;
    if (bytes < group) {
        pattern.Store(row, 0);
        if (bytes > 2 * size) pattern.Store(row + size, size % 3);
        pattern.Store(row + bytes - size, lastPhase);
        return;
    }
    // Groups of three pieces cover whole pixels; the last group may overlap the one before.
    auto storeGroup = [&pattern](uint8_t* at) {
        pattern.Store(at, 0);
        pattern.Store(at + size, size % 3);
        pattern.Store(at + 2 * size, 2 * size % 3);
    };
    for (size_t at = 0; at + group < bytes; at += group) storeGroup(row + at);
    storeGroup(row + bytes - group);
}

// Put rule over count pixels.
void FillRow(const QZMImage& img, uint8_t* row, unsigned count, unsigned color) {
    if (img.bpp == 8 || color == 0) {
        std::memset(row, color & 0xFF, size_t(count) * img.BytesPerPixel());
        return;
    }
    switch (img.bpp) {
    case 15:
    case 16: Fill16(row, count, color); break;
    case 24: Fill24(row, count, color); break;
    case 32: Fill32(row, count, PatternWord<uint32_t>(color, 4)); break;
    }
}

// Xor rule over count pixels: a real xor at 8 bits, a complement of every byte elsewhere.
void XorRow(const QZMImage& img, uint8_t* row, unsigned count, unsigned color) {
    if (img.bpp == 8) {
        uint8_t key = static_cast<uint8_t>(color);
        for (unsigned i = 0; i < count; ++i) row[i] ^= key;
        return;
    }
    if (!IsDepth(img.bpp)) return;
    size_t bytes = size_t(count) * img.BytesPerPixel();
    for (size_t i = 0; i < bytes; ++i) row[i] = static_cast<uint8_t>(~row[i]);
}

void DrawRows(QZMImage& img, int64_t x, int64_t y, int64_t w, int64_t h, unsigned color,
              QZMImage::DrawMode mode) {
    uint8_t* row = img.pixels + y * img.pitch + x * img.BytesPerPixel();
    // Whole rows are one contiguous run: fill them in one call.
    if (uint64_t(w) * img.BytesPerPixel() == img.pitch && uint64_t(w) * h <= 0xFFFFFFFFu) {
        w *= h;
        h = 1;
    }
    for (int64_t i = 0; i < h; ++i, row += img.pitch) {
        if (mode)
            XorRow(img, row, unsigned(w), color);
        else
            FillRow(img, row, unsigned(w), color);
    }
}

// A horizontal run in 64-bit coordinates, so that circle spans never overflow.
void Span(QZMImage& img, int64_t x, int64_t y, int64_t len, unsigned color,
          QZMImage::DrawMode mode) {
    if (!img.pixels) return;
    Box box = ClipBox(img);
    int64_t from, count;
    if (y < box.y1 || y > box.y2 || !ClipRun(x, len, box.x1, box.x2, from, count)) return;
    uint8_t* row = img.pixels + y * img.pitch + from * img.BytesPerPixel();
    if (mode)
        XorRow(img, row, unsigned(count), color);
    else
        FillRow(img, row, unsigned(count), color);
}

// Calls draw once with the pixel writer of the image's depth and the mode, so that loops over
// many pixels choose it once; unknown depths draw nothing.
template <class Draw>
void WithPixelWriter(const QZMImage& img, unsigned color, QZMImage::DrawMode mode, Draw draw) {
    auto complement16 = [](uint8_t* at) {
        uint16_t word;
        std::memcpy(&word, at, 2);
        word = uint16_t(~word);
        std::memcpy(at, &word, 2);
    };
    switch (img.bpp) {
    case 8:
        if (mode) draw([key = uint8_t(color)](uint8_t* at) { *at ^= key; });
        else draw([value = uint8_t(color)](uint8_t* at) { *at = value; });
        break;
    case 15:
    case 16:
        if (mode) draw(complement16);
        else draw([color](uint8_t* at) { StoreLE16(at, color); });
        break;
    case 24:
        if (mode) draw([complement16](uint8_t* at) {
            complement16(at);
            at[2] = uint8_t(~at[2]);
        });
        else draw([color](uint8_t* at) { Put24(at, color); });
        break;
    case 32:
        if (mode) draw([](uint8_t* at) {
            uint32_t word;
            std::memcpy(&word, at, 4);
            word = ~word;
            std::memcpy(at, &word, 4);
        });
        else draw([color](uint8_t* at) { StoreLE32(at, color); });
        break;
    }
}

// Plots single points; the per-point test is dropped when the whole figure is inside.
template <class Pixel> struct Plotter {
    const QZMImage& img;
    Box box;
    bool check;
    Pixel pixel;

    void operator()(int64_t x, int64_t y) const {
        if (check && !box.Contains(x, y)) return;
        pixel(img.pixels + size_t(y) * img.pitch + size_t(x) * img.BytesPerPixel());
    }
};

// The vertical counterpart of Span.
void Column(QZMImage& img, int64_t x, int64_t y, int64_t len, unsigned color,
            QZMImage::DrawMode mode) {
    if (!img.pixels) return;
    Box box = ClipBox(img);
    int64_t from, count;
    if (x < box.x1 || x > box.x2 || !ClipRun(y, len, box.y1, box.y2, from, count)) return;
    WithPixelWriter(img, color, mode, [&](auto pixel) {
        Plotter<decltype(pixel)> plot{img, box, false, pixel};
        for (int64_t i = 0; i < count; ++i) plot(x, from + i);
    });
}

// One axis of a line: its first coordinate, its direction (+1 or -1), the number of places it
// covers, the box's extent on it and the bytes from one place to the next.
struct LineAxis {
    int64_t start, dir;
    uint64_t len;
    int64_t lo, hi;
    size_t stride;

    LineAxis(int from, int to, int64_t lo, int64_t hi, size_t stride)
        : start(from), dir(to >= from ? 1 : -1), len(uint64_t(std::abs(int64_t(to) - from)) + 1),
          lo(lo), hi(hi), stride(stride) {}

    // The offsets along the axis, in [0, len), whose coordinate lies in the box. Multiplying by
    // the direction instead of testing it leaves no branch for random lines to mispredict.
    bool Visible(uint64_t& first, uint64_t& last) const {
        int64_t a = dir * (lo - start), b = dir * (hi - start);
        int64_t from = std::max<int64_t>(std::min(a, b), 0);
        int64_t to = std::min(std::max(a, b), int64_t(len) - 1);
        first = uint64_t(from);
        last = uint64_t(to);
        return from <= to;
    }
    size_t ByteOffset(uint64_t offset) const {
        return size_t(start + dir * int64_t(offset)) * stride;
    }
    // Offsets add up in wrapping size_t arithmetic: a step backwards is its two's complement.
    size_t Step() const { return size_t(dir) * stride; }
};

// A line's walk steps along its longer (major) axis; after i steps the error term is i m mod M
// and the other (minor) axis has moved floor(i m / M) places (M, m: the axes' lengths,
// m <= M <= 2^32). So any step is reached directly, and the steps whose point lies in the box
// form one range [first, last], the only one walked; false when it is empty.
bool VisibleSteps(const LineAxis& major, const LineAxis& minor, uint64_t& first, uint64_t& last) {
    uint64_t from, to;
    if (!major.Visible(first, last) || !minor.Visible(from, to)) return false;
    uint64_t M = major.len, m = minor.len;
    // floor(i m / M) >= from <=> i >= ceil(from M / m); <= to <=> i m < (to + 1) M. Both
    // products stay below 2^64 since to + 1 < m here.
    if (from > 0) first = std::max(first, (from * M + m - 1) / m);
    if (to + 1 < m) last = std::min(last, ((to + 1) * M - 1) / m);
    return first <= last;
}

// count steps from byte offset at: a step moves by straight, or by diagonal when the 32-bit
// fraction overflows. Out of line, each depth's loop has the registers to itself.
template <class Pixel>
[[gnu::noinline]] void WalkSteps(uint8_t* pixels, size_t at, size_t straight, size_t diagonal,
                                 uint32_t fraction, uint32_t increment, size_t count, Pixel pixel) {
    // The step is chosen one round before it is taken: chosen and taken in the same round, the
    // choice may be compiled to a branch, which the irregular pattern of a line mispredicts.
    size_t step = 0;
    for (; count > 0; --count) {
        at += step;
        pixel(pixels + at);
        uint32_t next = fraction + increment;
        step = next < fraction ? diagonal : straight;
        fraction = next;
    }
}

// Walks the steps first .. last with the error term as a 32-bit fixed-point fraction of M,
// rounded up: after j steps it is off by less than j + 1 units of 2^-32, and that never reaches
// the next multiple of 1/M while (j + 1) M <= 2^32. Longer runs restart from the exact term.
template <class Pixel>
void DrawSteps(uint8_t* pixels, const LineAxis& major, const LineAxis& minor, uint64_t first,
               uint64_t last, Pixel pixel) {
    const uint64_t M = major.len, m = minor.len, one = uint64_t(1) << 32;
    const size_t diagonal = major.Step() + minor.Step();
    // A diagonal line moves both ways at every step: no fraction.
    const bool everyStep = m == M;
    const size_t straight = everyStep ? diagonal : major.Step();
    const uint32_t increment = everyStep ? 0 : uint32_t(((m << 32) + M - 1) / M);
    // The visible steps fit in the box, at most 2^15 pixels across, and M <= 2^32: the product
    // cannot overflow.
    const uint64_t count = last - first + 1;
    const uint64_t run = everyStep || count * M <= one ? count : one / M;
    for (uint64_t step = first; step <= last; step += run) {
        uint64_t moved = 0, error = 0;
        if (step > 0) {
            uint64_t walked = step * m; // below 2^64: step < M, m <= 2^32
            moved = walked / M;
            error = walked % M;
        }
        uint32_t fraction = error ? uint32_t(((error << 32) + M - 1) / M) : 0;
        WalkSteps(pixels, major.ByteOffset(step) + minor.ByteOffset(moved), straight, diagonal,
                  fraction, increment, size_t(std::min(run, last - step + 1)), pixel);
    }
}

// Offsets of a midpoint circle's columns, in [lo, hi]; the walk visits only such ranges.
struct Offsets {
    int64_t lo, hi;
};

// At most four ranges (two clip sides for each of two axes), sorted and merged in place.
struct OffsetRanges {
    Offsets range[4];
    int count = 0;

    void Add(int64_t lo, int64_t hi) {
        lo = std::max<int64_t>(lo, 0);
        if (lo <= hi) range[count++] = {lo, hi};
    }
    // Offsets o >= 0 for which c + o or c - o lies in [a, b].
    void AddAround(int64_t c, int64_t a, int64_t b) {
        Add(a - c, b - c);
        Add(c - b, c - a);
    }
    void Merge() {
        for (int i = 1; i < count; ++i) // insertion sort: four ranges at most
            for (int j = i; j > 0 && range[j].lo < range[j - 1].lo; --j)
                std::swap(range[j], range[j - 1]);
        int out = 0;
        for (int i = 0; i < count; ++i) {
            if (out > 0 && range[i].lo <= range[out - 1].hi + 1)
                range[out - 1].hi = std::max(range[out - 1].hi, range[i].hi);
            else
                range[out++] = range[i];
        }
        count = out;
    }
};

int64_t CeilSqrt(int64_t v) {
    if (v <= 0) return 0;
    int64_t s = int64_t(std::sqrt(static_cast<long double>(v)));
    while (s * s < v) ++s;
    while (s > 0 && (s - 1) * (s - 1) >= v) --s;
    return s;
}

// The row that the midpoint walk of radius r holds at column x >= 1: the largest y with
// y(y - 1) < r^2 - x^2. Its decision variable is (x + 1)^2 + y^2 - y - r^2, so the walk can
// start at any column and still give exactly the pixels of a walk from column 0.
int64_t CircleRowAt(int64_t r, int64_t x) {
    int64_t room = r * r - x * x;
    int64_t y = int64_t((1 + std::sqrt(1 + 4 * static_cast<long double>(room))) / 2);
    while (y > 0 && y * (y - 1) >= room) --y;
    while ((y + 1) * y < room) ++y;
    return y;
}

// Columns whose row y(x) lies in [a, b] (clamped to the radius, widened by one either side).
void AddColumnsOfRows(OffsetRanges& ranges, int64_t r, int64_t a, int64_t b) {
    a = std::max<int64_t>(a, 0);
    b = std::min(b, r);
    if (a > b) return;
    int64_t first = b >= r ? 0 : CeilSqrt(r * r - b * (b + 1));
    int64_t last = CeilSqrt(r * r - a * (a - 1)) - 1;
    ranges.Add(first - 1, last + 1);
}

// Midpoint circle over one octant: step(x, y) each column, diagonal(x, y) before y decreases.
// Only the columns in ranges are walked: a huge circle that crosses the image costs what its
// visible part costs.
template <class Step, class Diagonal>
void WalkCircle(int r, OffsetRanges& ranges, Step step, Diagonal diagonal) {
    if (r < 0) return; // the walk would end before its first column
    ranges.Merge();
    for (int i = 0; i < ranges.count; ++i) {
        int64_t x = ranges.range[i].lo, y = r, d = 1 - int64_t(r);
        if (x > r) break; // columns past the radius are never reached
        if (x > 0) {
            y = CircleRowAt(r, x);
            d = (x + 1) * (x + 1) + y * y - y - int64_t(r) * r;
        }
        int64_t dE = 2 * x + 3, dSE = 2 * (x - y) + 5;
        for (; x <= y && x <= ranges.range[i].hi; ++x) {
            step(x, y);
            if (d < 0) {
                d += dE;
                dE += 2;
                dSE += 2;
            } else {
                diagonal(x, y);
                d += dSE;
                dE += 2;
                dSE += 4;
                --y;
            }
        }
    }
}

// Channel values of a gradient: truncation after adding 0.5 to the start; the step is single
// precision.
class GradientSteps {
public:
    GradientSteps(unsigned color1, unsigned color2, int64_t n, bool paletted) : paletted(paletted) {
        int channels = paletted ? 1 : 3;
        for (int k = 0; k < channels; ++k) {
            double a = paletted ? double(color1) : double((color1 >> (8 * k)) & 0xFF);
            double b = paletted ? double(color2) : double((color2 >> (8 * k)) & 0xFF);
            value[k] = a + 0.5;
            step[k] = n > 1 ? float((b - a) / double(n - 1)) : 0.0f;
        }
    }

    unsigned Next() {
        unsigned color;
        if (paletted) {
            color = unsigned(int64_t(value[0]) & 0xFF);
            value[0] += step[0];
            return color;
        }
        color = 0xFF000000u;
        for (int k = 0; k < 3; ++k) {
            color |= unsigned(int64_t(value[k]) & 0xFF) << (8 * k);
            value[k] += step[k];
        }
        return color;
    }

private:
    bool paletted;
    double value[3] = {};
    float step[3] = {};
};

// Shared by DrawText and DrawTextEx; colorOf maps a non-zero glyph byte to a colour.
template <class ColorOf>
void DrawGlyphs(QZMImage& img, int x, int y, const char* text, const QZMFont& font, FontAlign align,
                int len, ColorOf colorOf) {
    Box box = ClipBox(img);
    if (!text || !img.pixels || x > box.x2) return;
    int64_t base = align == ALIGN_TOP      ? int64_t(y) + font.ascent - 1
                   : align == ALIGN_BOTTOM ? int64_t(y) - font.descent
                                           : int64_t(y);
    if (base - font.ascent > box.y2 || base + font.descent < box.y1) return;
    size_t count = len < 0 ? std::strlen(text) : size_t(len);
    int64_t px = x;
    for (size_t i = 0; i < count && text[i] && px <= box.x2; ++i) {
        unsigned c = static_cast<unsigned char>(text[i]);
        if (c == ' ') {
            px += font.white + font.spacing;
            continue;
        }
        if (c == '\t') {
            px += 8 * font.white + font.spacing;
            continue;
        }
        if (c < font.first || c > font.last || !font.chars) {
            px += font.spacing;
            continue;
        }
        const QZMChar& g = font.chars[c - font.first];
        int64_t top = base + g.below - g.height + 1;
        int64_t bottom = base + g.below;
        if (g.width == 0 || px + g.width <= box.x1 || bottom < box.y1 || top > box.y2) {
            px += g.width + font.spacing;
            continue;
        }
        int64_t left = std::max(px, box.x1);
        int64_t right = std::min(px + g.width - 1, box.x2);
        int64_t skip = left - px;
        for (int64_t row = std::max(top, box.y1); row <= std::min(bottom, box.y2); ++row) {
            // Glyph records come from files: only the part inside the sheet is drawn.
            uint64_t n = uint64_t(right - left + 1);
            const uint8_t* src =
                QZM::internal::GlyphRow(font, uint64_t(g.x) + uint64_t(skip), g.y + (row - top), n);
            unsigned dst = unsigned(row * img.pitch + left * img.BytesPerPixel());
            for (uint64_t i = 0; i < n; ++i, dst += img.BytesPerPixel())
                if (src[i]) img.FastPut(dst, colorOf(src[i]));
        }
        px = right + 1 + font.spacing;
    }
}

} // namespace

QZMImage::QZMImage(unsigned width, unsigned height, unsigned bpp)
    : width(width), height(height), clipX1(0), clipX2(0), clipY1(0), clipY2(0), pixels(nullptr),
      palette(nullptr), pitch(0), bpp(static_cast<uint16_t>(bpp)) {
    if (width == 0 || height == 0) return;
    uint64_t rowBytes = uint64_t(BytesPerPixel()) * width;
    pixels = rowBytes <= 0xFFFFFFFFu ? AllocPixels(rowBytes * height) : nullptr;
    if (!pixels) {
        this->width = this->height = 0;
        return;
    }
    pitch = uint32_t(rowBytes);
    StopClipping();
}

QZMImage::QZMImage(QZMImage* src)
    : width(0), height(0), clipX1(0), clipX2(0), clipY1(0), clipY2(0), pixels(nullptr),
      palette(nullptr), pitch(0), bpp(0) {
    if (!src) return;
    if (src->pixels) {
        pixels = AllocPixels(uint64_t(src->pitch) * src->height);
        if (!pixels) return;
        std::memcpy(pixels, src->pixels, size_t(src->pitch) * src->height);
    }
    width = src->width;
    height = src->height;
    clipX1 = src->clipX1;
    clipX2 = src->clipX2;
    clipY1 = src->clipY1;
    clipY2 = src->clipY2;
    bpp = src->bpp;
    pitch = src->pitch;
    // Built from the copy's own, still null, palette: an empty palette, not the source's colours.
    if (src->palette) palette = new (std::nothrow) QZMPal(static_cast<const QZMPal*>(palette));
}

QZMImage::~QZMImage() {
    delete[] pixels;
    delete palette;
}

uint32_t QZMImage::MemoryUsed() const {
    return pitch * height + sizeof(*this);
}

void QZMImage::SetPalette(QZMPal* pal, unsigned first, unsigned count) {
    if (bpp != 8 || !pal) return;
    uint64_t end64 = uint64_t(first) + count;
    unsigned end = end64 > 0xFFFFFFFFu ? 0xFFFFFFFFu : unsigned(end64);
    if (!palette)
        palette = new (std::nothrow) QZMPal(end);
    else if (palette->size < end)
        palette->Resize(end);
    if (!palette) return;
    // The palette may have been capped at 4096 entries: copy only what it holds.
    end = std::min(end, palette->size);
    for (unsigned i = first; i < end; ++i)
        palette->entries[i] = i < pal->size ? pal->entries[i] : QZMRGBA{0, 0, 0, 0};
}

void QZMImage::ReplacePalette(QZMPal* pal) {
    if (bpp != 8 || pal == palette) return;
    delete palette;
    palette = pal;
}

void QZMImage::SetClipping(int x1, int y1, int x2, int y2) {
    if (x1 > x2) std::swap(x1, x2);
    if (y1 > y2) std::swap(y1, y2);
    x1 = std::max(x1, 0);
    y1 = std::max(y1, 0);
    x2 = std::max(x2, 0);
    y2 = std::max(y2, 0);
    if (unsigned(x1) >= width || unsigned(y1) >= height) return;
    clipX1 = int16_t(x1);
    clipY1 = int16_t(y1);
    clipX2 = int16_t(std::min<int64_t>(x2, int64_t(width) - 1));
    clipY2 = int16_t(std::min<int64_t>(y2, int64_t(height) - 1));
}

bool QZMImage::IsClipping() const {
    return clipX1 != 0 || clipY1 != 0 || clipX2 != int16_t(width - 1) ||
           clipY2 != int16_t(height - 1);
}

void QZMImage::StopClipping() {
    clipX1 = 0;
    clipY1 = 0;
    clipX2 = int16_t(width ? width - 1 : 0);
    clipY2 = int16_t(height ? height - 1 : 0);
}

uint32_t QZMImage::GetPixel(int x, int y) const {
    if (!pixels || x < 0 || y < 0 || unsigned(x) >= width || unsigned(y) >= height) return 0;
    const uint8_t* p = pixels + size_t(y) * pitch + size_t(x) * BytesPerPixel();
    switch (bpp) {
    case 8: return p[0];
    case 15:
    case 16: return p[0] | p[1] << 8;
    case 24: return uint32_t(p[0]) << 16 | p[1] << 8 | p[2];
    case 32: return p[0] | p[1] << 8 | p[2] << 16 | uint32_t(p[3]) << 24;
    default: return 0;
    }
}

void QZMImage::HLine(int x, int y, unsigned len, unsigned color, DrawMode mode) {
    Span(*this, x, y, len, color, mode);
}

void QZMImage::VLine(int x, int y, unsigned len, unsigned color, DrawMode mode) {
    Column(*this, x, y, len, color, mode);
}

void QZMImage::Line(int x1, int y1, int x2, int y2, unsigned color, DrawMode mode) {
    if (!pixels) return;
    Box box = ClipBox(*this);
    const LineAxis axes[2] = {{x1, x2, box.x1, box.x2, BytesPerPixel()},
                              {y1, y2, box.y1, box.y2, pitch}};
    // The longer axis advances at every step, the other when the error term overflows. Chosen
    // by index: a branch on it would be mispredicted for random lines.
    bool steep = axes[0].len < axes[1].len;
    const LineAxis& major = axes[steep];
    const LineAxis& minor = axes[!steep];
    uint64_t first, last;
    if (!VisibleSteps(major, minor, first, last)) return;
    WithPixelWriter(*this, color, mode,
                    [&](auto pixel) { DrawSteps(pixels, major, minor, first, last, pixel); });
}

void QZMImage::Frame(int x, int y, unsigned w, unsigned h, unsigned color, DrawMode mode) {
    Span(*this, x, y, w, color, mode);
    Span(*this, x, int64_t(y) + h - 1, w, color, mode);
    // Fewer than three rows leave no side between the two horizontal edges.
    if (h > 2) {
        Column(*this, x, int64_t(y) + 1, h - 2, color, mode);
        Column(*this, int64_t(x) + w - 1, int64_t(y) + 1, h - 2, color, mode);
    }
}

void QZMImage::Rectangle(int x, int y, unsigned w, unsigned h, unsigned color, DrawMode mode) {
    if (!pixels) return;
    Box box = ClipBox(*this);
    int64_t cx, cw, cy, ch;
    if (!ClipRun(x, w, box.x1, box.x2, cx, cw) || !ClipRun(y, h, box.y1, box.y2, cy, ch)) return;
    DrawRows(*this, cx, cy, cw, ch, color, mode);
}

void QZMImage::Gradient(int x, int y, unsigned w, unsigned h, unsigned color1, unsigned color2,
                        int direction, DrawMode mode) {
    if (color1 == color2) {
        Rectangle(x, y, w, h, color1, mode);
        return;
    }
    if (mode || !pixels || (direction != 0 && direction != 1)) return;
    Box box = ClipBox(*this);
    int64_t cx, cw, cy, ch;
    if (!ClipRun(x, w, box.x1, box.x2, cx, cw) || !ClipRun(y, h, box.y1, box.y2, cy, ch)) return;
    unsigned bytesPerPixel = BytesPerPixel();
    uint8_t* first = pixels + cy * pitch + cx * bytesPerPixel;
    if (direction == 0) {
        GradientSteps steps(color1, color2, ch, bpp == 8);
        for (int64_t i = 0; i < ch; ++i)
            FillRow(*this, first + i * pitch, unsigned(cw), steps.Next());
        return;
    }
    // Every row of a horizontal gradient is the same: draw the first, copy it down.
    GradientSteps steps(color1, color2, cw, bpp == 8);
    unsigned offset = unsigned(first - pixels);
    for (int64_t i = 0; i < cw; ++i) FastPut(offset + unsigned(i) * bytesPerPixel, steps.Next());
    for (int64_t i = 1; i < ch; ++i)
        std::memcpy(first + i * pitch, first, size_t(cw) * bytesPerPixel);
}

void QZMImage::Circle(int cx, int cy, int r, unsigned color, DrawMode mode) {
    if (!pixels) return;
    Box box = ClipBox(*this);
    int64_t left = int64_t(cx) - r, right = int64_t(cx) + r;
    int64_t top = int64_t(cy) - r, bottom = int64_t(cy) + r;
    if (!box.Meets(left, top, right, bottom)) return;
    bool check = !box.Contains(left, top) || !box.Contains(right, bottom);
    // Points (cx +- x, cy +- y) need a visible column cx +- x, points (cx +- y, cy +- x) a
    // visible row cy +- x.
    OffsetRanges columns;
    columns.AddAround(cx, box.x1, box.x2);
    columns.AddAround(cy, box.y1, box.y2);
    WithPixelWriter(*this, color, mode, [&](auto pixel) {
        Plotter<decltype(pixel)> plot{*this, box, check, pixel};
        WalkCircle(
            r, columns,
            [&](int64_t x, int64_t y) {
                plot(cx + x, cy + y);
                if (x != 0) plot(cx - x, cy + y);
                if (y != 0) plot(cx + x, cy - y);
                if (x != 0 && y != 0) plot(cx - x, cy - y);
                if (x == y) return;
                plot(cx + y, cy + x);
                if (x != 0) plot(cx + y, cy - x);
                if (y != 0) plot(cx - y, cy + x);
                if (x != 0 && y != 0) plot(cx - y, cy - x);
            },
            [](int64_t, int64_t) {});
    });
}

void QZMImage::Disk(int cx, int cy, int r, unsigned color, DrawMode mode) {
    if (!pixels) return;
    Box box = ClipBox(*this);
    if (!box.Meets(int64_t(cx) - r, int64_t(cy) - r, int64_t(cx) + r, int64_t(cy) + r)) return;
    // Spans lie on rows cy +- x, and on the diagonal steps on rows cy +- y.
    OffsetRanges columns;
    columns.AddAround(cy, box.y1, box.y2);
    AddColumnsOfRows(columns, r, box.y1 - int64_t(cy), box.y2 - int64_t(cy));
    AddColumnsOfRows(columns, r, int64_t(cy) - box.y2, int64_t(cy) - box.y1);
    WalkCircle(
        r, columns,
        [&](int64_t x, int64_t y) {
            Span(*this, cx - y, cy - x, 2 * y, color, mode);
            if (x != 0) Span(*this, cx - y, cy + x, 2 * y, color, mode);
        },
        [&](int64_t x, int64_t y) {
            if (x == y) return;
            Span(*this, cx - x, cy - y, 2 * x, color, mode);
            if (y != 0) Span(*this, cx - x, cy + y, 2 * x, color, mode);
        });
}

namespace {

// The checks and clipping shared by the block transfers; false when nothing is to be done.
bool ClipTransfer(const QZMImage& dst, const QZMImage& src, int64_t& x, int64_t& y, int64_t& sx,
                  int64_t& sy, int64_t& w, int64_t& h) {
    Box box = ClipBox(dst);
    if (!dst.pixels || !src.pixels || x > box.x2 || y > box.y2 || sx < 0 || sy < 0 ||
        sx >= src.width || sy >= src.height)
        return false;
    return ClipBlockAxis(x, sx, w, box.x1, box.x2, src.width) &&
           ClipBlockAxis(y, sy, h, box.y1, box.y2, src.height);
}

// A clipped block transfer: its first destination and source rows, their pitches, its size.
struct Block {
    uint8_t* to;
    const uint8_t* from;
    size_t toPitch, fromPitch;
    int64_t width, height;
};

// The comparison value of a 24-bit pixel is bytes 1 and 2 of it and byte 0 of the next one; the
// last pixel of the source buffer has no next byte, which then counts as zero.
void KeyedPixel24(uint8_t* dst, const uint8_t* src, uint32_t key, const uint8_t* srcEnd) {
    uint32_t next = src + 3 < srcEnd ? src[3] : 0;
    if ((src[1] | uint32_t(src[2]) << 8 | next << 16) == key) return;
    for (int k = 0; k < 3; ++k) dst[k] = src[k];
}

// Calls row(to, from) for each row of the block, from the top.
template <class Row> void EachRow(const Block& b, Row row) {
    uint8_t* to = b.to;
    const uint8_t* from = b.from;
    for (int64_t r = 0; r < b.height; ++r, to += b.toPitch, from += b.fromPitch) row(to, from);
}

// Pixel by pixel in reading order, which a copy within one image may depend on.
template <class Word> void KeyedPixels(const Block& b, Word key) {
    EachRow(b, [&](uint8_t* to, const uint8_t* from) {
        for (int64_t i = 0; i < b.width; ++i) {
            Word pixel;
            std::memcpy(&pixel, from + i * sizeof(Word), sizeof(Word));
            if (pixel != key) std::memcpy(to + i * sizeof(Word), &pixel, sizeof(Word));
        }
    });
}

void KeyedPixels24(const Block& b, uint32_t key, const uint8_t* srcEnd) {
    EachRow(b, [&](uint8_t* to, const uint8_t* from) {
        for (int64_t i = 0; i < b.width; ++i) KeyedPixel24(to + 3 * i, from + 3 * i, key, srcEnd);
    });
}

#ifdef __SSE2__
__m128i Load(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
void Store(uint8_t* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }

// The destination's bytes where keep is set, the source's elsewhere.
__m128i Blend(__m128i dst, __m128i src, __m128i keep) {
    return _mm_or_si128(_mm_and_si128(keep, dst), _mm_andnot_si128(keep, src));
}

template <class Word> __m128i Splat(Word key) {
    if constexpr (sizeof(Word) == 1) return _mm_set1_epi8(char(key));
    if constexpr (sizeof(Word) == 2) return _mm_set1_epi16(short(key));
    return _mm_set1_epi32(int(key));
}

template <class Word> __m128i KeyedLanes(__m128i src, __m128i key) {
    if constexpr (sizeof(Word) == 1) return _mm_cmpeq_epi8(src, key);
    if constexpr (sizeof(Word) == 2) return _mm_cmpeq_epi16(src, key);
    return _mm_cmpeq_epi32(src, key);
}

// 16 bytes: a vector without keyed lanes is stored as it is, one of keyed lanes only not at all,
// and only a mixed one is blended with the destination, which it has to read.
template <class Word> void KeyedVector(uint8_t* to, const uint8_t* from, __m128i key) {
    __m128i src = Load(from), keyed = KeyedLanes<Word>(src, key);
    int mask = _mm_movemask_epi8(keyed);
    if (mask == 0)
        Store(to, src);
    else if (mask != 0xFFFF)
        Store(to, Blend(Load(to), src, keyed));
}

// What KeyedVector stores, worked out ahead, and whether it stores anything.
template <class Word> bool KeyedVectorAhead(uint8_t* to, const uint8_t* from, __m128i key,
                                            __m128i& out) {
    __m128i src = Load(from), keyed = KeyedLanes<Word>(src, key);
    int mask = _mm_movemask_epi8(keyed);
    out = mask ? Blend(Load(to), src, keyed) : src;
    return mask != 0xFFFF;
}

// Rows of 16 bytes up to eight vectors, unrolled so that each place in the row has branches of
// its own, which then follow the sprite's columns. The last vector ends flush with the row and
// may overlap the one before (writing the same bytes): it is worked out before the row's stores,
// since a load that overlaps a recent store waits for it.
template <class Word, size_t... K>
void KeyedRowsOf(const Block& b, __m128i key, std::index_sequence<K...>) {
    size_t last = size_t(b.width) * sizeof(Word) - 16;
    EachRow(b, [&](uint8_t* to, const uint8_t* from) {
        __m128i tail;
        bool storeTail = KeyedVectorAhead<Word>(to + last, from + last, key, tail);
        (KeyedVector<Word>(to + 16 * K, from + 16 * K, key), ...);
        if (storeTail) Store(to + last, tail);
    });
}

template <class Word, size_t Before> void KeyedRows(const Block& b, __m128i key) {
    KeyedRowsOf<Word>(b, key, std::make_index_sequence<Before>());
}

template <class Word> void KeyedWideRows(const Block& b, __m128i key) {
    size_t last = size_t(b.width) * sizeof(Word) - 16;
    EachRow(b, [&](uint8_t* to, const uint8_t* from) {
        for (size_t i = 0; i < last; i += 16) KeyedVector<Word>(to + i, from + i, key);
        KeyedVector<Word>(to + last, from + last, key);
    });
}

// Rows of 16 bytes or more, by the number of vectors before the last.
template <class Word, size_t... Before>
void KeyedVectors(const Block& b, Word key, std::index_sequence<Before...>) {
    using Rows = void (*)(const Block&, __m128i);
    static constexpr Rows kRows[] = {&KeyedRows<Word, Before>..., &KeyedWideRows<Word>};
    size_t before = (size_t(b.width) * sizeof(Word) - 1) / 16;
    kRows[std::min(before, sizeof...(Before))](b, Splat(key));
}

// Five 24-bit pixels in 16 bytes, whose byte 15 (the sixth pixel's first) completes the fifth
// pixel's comparison value and keeps the destination's value.
class Keyed24 {
public:
    explicit Keyed24(uint32_t key) {
        auto k = [key](int i) { return char(key >> (8 * i)); };
        pattern_ = _mm_setr_epi8(k(2), k(0), k(1), k(2), k(0), k(1), k(2), k(0), k(1), k(2), k(0),
                                 k(1), k(2), k(0), k(1), k(2));
        // A key above 24 bits matches no pixel.
        starts_ = key >> 24 ? _mm_setzero_si128()
                            : _mm_setr_epi8(0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0);
    }

    __m128i Five(__m128i dst, __m128i src) const {
        __m128i equal = _mm_cmpeq_epi8(src, pattern_);
        __m128i three = _mm_and_si128(_mm_and_si128(equal, _mm_srli_si128(equal, 1)),
                                      _mm_srli_si128(equal, 2));
        __m128i skip = _mm_and_si128(three, starts_); // at byte 1 of each skipped pixel
        __m128i sixth = _mm_setr_epi8(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, -1);
        __m128i keep = _mm_or_si128(_mm_or_si128(skip, _mm_srli_si128(skip, 1)),
                                    _mm_or_si128(_mm_slli_si128(skip, 1), sixth));
        return Blend(dst, src, keep);
    }

private:
    __m128i pattern_; // the key's bytes 0, 1, 2 at bytes 1, 2, 3 of each pixel
    __m128i starts_;  // byte 1 of each pixel
};

// Rows of six pixels or more, five at a time. A block's destination is read before the block
// before it is stored, which covers its first byte; the last block, flush with the row's next to
// last pixel, before the row is written. The last pixel may end the source buffer.
void KeyedVectors24(const Block& b, uint32_t key, const uint8_t* srcEnd) {
    Keyed24 keyed(key);
    int64_t last = b.width - 6;
    EachRow(b, [&](uint8_t* to, const uint8_t* from) {
        __m128i tail = keyed.Five(Load(to + 3 * last), Load(from + 3 * last));
        __m128i dst = Load(to);
        for (int64_t i = 0; i < last; i += 5) {
            __m128i next = Load(to + 3 * std::min(i + 5, last));
            Store(to + 3 * i, keyed.Five(dst, Load(from + 3 * i)));
            dst = next;
        }
        Store(to + 3 * last, tail);
        KeyedPixel24(to + 3 * (last + 5), from + 3 * (last + 5), key, srcEnd);
    });
}
#endif

// A copy within one image (inOrder) keeps to the per-pixel order, since its rows may overlap.
template <class Word> void KeyedCopy(const Block& b, Word key, [[maybe_unused]] bool inOrder) {
#ifdef __SSE2__
    if (!inOrder && b.width * sizeof(Word) >= 16)
        return KeyedVectors(b, key, std::make_index_sequence<8>());
#endif
    KeyedPixels(b, key);
}

void KeyedCopy24(const Block& b, uint32_t key, const uint8_t* srcEnd,
                 [[maybe_unused]] bool inOrder) {
#ifdef __SSE2__
    if (!inOrder && b.width >= 6) return KeyedVectors24(b, key, srcEnd);
#endif
    KeyedPixels24(b, key, srcEnd);
}

} // namespace

void QZMImage::CopyImage(int x, int y, QZMImage* src, int sx, int sy, unsigned w, unsigned h) {
    int64_t dx = x, dy = y, fx = sx, fy = sy, cw = w, ch = h;
    if (!src || src->bpp != bpp || !ClipTransfer(*this, *src, dx, dy, fx, fy, cw, ch)) return;
    unsigned bytesPerPixel = BytesPerPixel();
    size_t rowBytes = size_t(cw) * bytesPerPixel;
    uint8_t* to = pixels + dy * pitch + dx * bytesPerPixel;
    const uint8_t* from = src->pixels + fy * src->pitch + fx * bytesPerPixel;
    if (rowBytes == pitch && rowBytes == src->pitch) {
        rowBytes *= size_t(ch);
        ch = 1;
    }
    for (int64_t i = 0; i < ch; ++i, to += pitch, from += src->pitch) {
        // A copy within one image may overlap.
        if (src == this)
            std::memmove(to, from, rowBytes);
        else
            std::memcpy(to, from, rowBytes);
    }
}

void QZMImage::TCopyImage(int x, int y, unsigned key, QZMImage* src, int sx, int sy, unsigned w,
                          unsigned h) {
    int64_t dx = x, dy = y, fx = sx, fy = sy, cw = w, ch = h;
    if (!src || src->bpp != bpp || !ClipTransfer(*this, *src, dx, dy, fx, fy, cw, ch)) return;
    unsigned bytesPerPixel = BytesPerPixel();
    Block block{pixels + dy * pitch + dx * bytesPerPixel,
                src->pixels + fy * src->pitch + fx * bytesPerPixel, pitch, src->pitch, cw, ch};
    const uint8_t* srcEnd = src->pixels + size_t(src->pitch) * src->height;
    bool inOrder = src == this;
    switch (bpp) {
    case 8: return KeyedCopy<uint8_t>(block, uint8_t(key), inOrder);
    case 15:
    case 16: return KeyedCopy<uint16_t>(block, uint16_t(key), inOrder);
    case 24: return KeyedCopy24(block, key, srcEnd, inOrder);
    case 32: return KeyedCopy<uint32_t>(block, uint32_t(key), inOrder);
    }
}

void QZMImage::MoveInside(int sx, int sy, unsigned w, unsigned h, int dx, int dy) {
    int64_t tx = dx, ty = dy, fx = sx, fy = sy, cw = w, ch = h;
    if (!ClipTransfer(*this, *this, tx, ty, fx, fy, cw, ch)) return;
    unsigned bytesPerPixel = BytesPerPixel();
    size_t rowBytes = size_t(cw) * bytesPerPixel;
    bool upward = fy <= ty;
    for (int64_t i = 0; i < ch; ++i) {
        int64_t row = upward ? ch - 1 - i : i;
        std::memmove(pixels + (ty + row) * pitch + tx * bytesPerPixel,
                     pixels + (fy + row) * pitch + fx * bytesPerPixel, rowBytes);
    }
}

void QZMImage::VFlip() {
    if (!pixels) return;
    for (uint32_t i = 0; i < height / 2; ++i) {
        uint8_t* a = pixels + size_t(i) * pitch;
        std::swap_ranges(a, a + pitch, pixels + size_t(height - 1 - i) * pitch);
    }
}

bool QZMImage::Resize(unsigned w, unsigned h) {
    if (w == 0 || h == 0) return false;
    uint64_t newPitch64 = uint64_t(BytesPerPixel()) * w;
    uint8_t* grown = newPitch64 <= 0xFFFFFFFFu ? AllocPixels(newPitch64 * h) : nullptr;
    if (!grown) return false;
    size_t newPitch = size_t(newPitch64);
    if (pixels) {
        unsigned rows = std::min(h, height);
        size_t keep = std::min<size_t>(newPitch, pitch);
        for (unsigned i = 0; i < rows; ++i) {
            std::memcpy(grown + i * newPitch, pixels + size_t(i) * pitch, keep);
            std::memset(grown + i * newPitch + keep, 0, newPitch - keep);
        }
        // Clears w bytes at the top rows, not the new bottom rows: kept as designed.
        for (unsigned i = 0; i < h - rows; ++i)
            std::memset(grown + i * newPitch, 0, std::min<size_t>(w, newPitch));
        delete[] pixels;
    }
    pixels = grown;
    width = w;
    height = h;
    pitch = uint32_t(newPitch);
    StopClipping();
    return true;
}

bool QZMImage::NewFormat(unsigned w, unsigned h, unsigned bpp) {
    if (!IsDepth(bpp)) return false;
    if (w == width && h == height && bpp == this->bpp) return true;
    delete[] pixels;
    pixels = nullptr;
    width = height = pitch = 0;
    this->bpp = 0;
    bool ok = true;
    if (w && h) {
        uint64_t rowBytes = uint64_t((bpp + 7) >> 3) * w;
        pixels = AllocPixels(rowBytes * h);
        if (pixels) {
            width = w;
            height = h;
            this->bpp = uint16_t(bpp);
            pitch = uint32_t(rowBytes);
        }
        ok = pixels != nullptr;
    }
    StopClipping();
    return ok;
}

int QZMImage::FindFormat(QZMResFile& f) {
    unsigned char head[4];
    if (f.Read(head, 4) < 4) {
        QZM::LOG("Can not read file header\n");
        return 0;
    }
    f.Seek(-4, 1);
    if (head[0] == 'B' && head[1] == 'M') return 1;
    if (std::memcmp(head, "GIF", 3) == 0) return 3;
    if (std::memcmp(head, "QZMF", 4) == 0) return 6;
    if (head[0] == 10 && head[1] == 5 && head[2] == 1) return 2;
    return 4;
}

bool QZMImage::Load(QZMResFile& f, int format) {
    if (f.state != QZMResFile::ST_OK) return false;
    if (format == 0) format = FindFormat(f);
    if (format < 0 || format >= kCodecCount || !g_codecs[format].load) return false;
    // The loader gets a fresh buffer slot: a failed load leaves the image as it was instead of
    // pairing a new buffer with old dimensions.
    unsigned char* loaded = nullptr;
    unsigned w = width, h = height;
    unsigned short depth = bpp;
    if (!g_codecs[format].load(f, &loaded, w, h, &palette, depth)) {
        delete[] loaded;
        return false;
    }
    delete[] pixels;
    pixels = loaded;
    width = w;
    height = h;
    bpp = depth;
    pitch = BytesPerPixel() * width;
    StopClipping();
    return true;
}

bool QZMImage::Save(QZMResFile& f, int format) {
    if (f.state != QZMResFile::ST_OK || format < 0 || format > kSaveTGARLE) return false;
    if (format == 0) format = bpp <= 8 ? kSavePCX : kSaveTGARLE;
    Writer save = g_codecs[format].save;
    return save && save(f, *this);
}

void QZMImage::PrintInfo() const {
    QZM::LOG("Image: %d x %d x %d bpp, pitch: %d", width, height, bpp, pitch);
    if (palette) QZM::LOG(", palette: %d colors", palette->size);
    QZM::LOG("\n");
}

void QZMImage::DrawText(int x, int y, const char* text, unsigned color, QZMFont* font,
                        FontAlign align, int len) {
    if (font) DrawGlyphs(*this, x, y, text, *font, align, len, [color](uint8_t) { return color; });
}

void QZMImage::DrawTextEx(int x, int y, const char* text, FontParams& params, int len) {
    QZMFont* font = params.font;
    if (!font || !text || !pixels) return;
    if (font->bpp != 2) {
        DrawText(x, y, text, params.colors[3], font, params.align, len);
        return;
    }
    // A sheet byte above 3 cannot come from a two-bit file; it takes the last colour.
    DrawGlyphs(*this, x, y, text, *font, params.align, len,
               [&params](uint8_t p) { return params.colors[p > 3 ? 3 : p]; });
}
