#pragma once
// Rows of pixels with a clipping box, and the put and xor rules over runs of them: the drawing
// shared by QZMImage and the screen's surface.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <cwchar>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include <qzm/gfx/internal/ByteOrder.h>

namespace QZM::internal {
// Internal linkage: every including file compiles and inlines its own copy, as if written there.
namespace {

// An inclusive clipping rectangle, bounded by the pixels it clips.
struct Box {
    int64_t x1, y1, x2, y2;

    bool Contains(int64_t x, int64_t y) const { return x >= x1 && x <= x2 && y >= y1 && y <= y2; }
    bool Meets(int64_t left, int64_t top, int64_t right, int64_t bottom) const {
        return right >= x1 && left <= x2 && bottom >= y1 && top <= y2;
    }
};

unsigned BytesPerPixel(unsigned bpp) { return (bpp + 7) >> 3; }

// Rows of pixels and the box that drawing keeps to; a null buffer draws nothing.
struct Plane {
    uint8_t* pixels;
    size_t pitch;
    int64_t width, height;
    unsigned bpp; // 8, 15, 16, 24 or 32; other depths draw nothing
    Box clip;

    uint8_t* At(int64_t x, int64_t y) const {
        return pixels + y * int64_t(pitch) + x * int64_t(BytesPerPixel(bpp));
    }
};

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
inline void Fill16(uint8_t* row, unsigned count, unsigned color) {
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

inline void Fill24(uint8_t* row, unsigned count, unsigned color) {
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
inline void FillRow(unsigned bpp, uint8_t* row, unsigned count, unsigned color) {
    if (bpp == 8 || color == 0) {
        std::memset(row, color & 0xFF, size_t(count) * BytesPerPixel(bpp));
        return;
    }
    switch (bpp) {
    case 15:
    case 16: Fill16(row, count, color); break;
    case 24: Fill24(row, count, color); break;
    case 32: Fill32(row, count, PatternWord<uint32_t>(color, 4)); break;
    }
}

// Xor rule over count pixels: a real xor at 8 bits, a complement of every byte elsewhere.
inline void XorRow(unsigned bpp, uint8_t* row, unsigned count, unsigned color) {
    if (bpp == 8) {
        uint8_t key = static_cast<uint8_t>(color);
        for (unsigned i = 0; i < count; ++i) row[i] ^= key;
        return;
    }
    if (!IsDepth(bpp)) return;
    size_t bytes = size_t(count) * BytesPerPixel(bpp);
    for (size_t i = 0; i < bytes; ++i) row[i] = static_cast<uint8_t>(~row[i]);
}

// A horizontal run in 64-bit coordinates, so that circle spans never overflow.
void Span(const Plane& plane, int64_t x, int64_t y, int64_t len, unsigned color, bool xorMode) {
    const Box& box = plane.clip;
    int64_t from, count;
    if (!plane.pixels || y < box.y1 || y > box.y2 || !ClipRun(x, len, box.x1, box.x2, from, count))
        return;
    uint8_t* row = plane.At(from, y);
    if (xorMode)
        XorRow(plane.bpp, row, unsigned(count), color);
    else
        FillRow(plane.bpp, row, unsigned(count), color);
}

// Calls draw once with the pixel writer of the depth and the mode, so that loops over many
// pixels choose it once; unknown depths draw nothing.
template <class Draw> void WithPixelWriter(unsigned bpp, unsigned color, bool xorMode, Draw draw) {
    auto complement16 = [](uint8_t* at) {
        uint16_t word;
        std::memcpy(&word, at, 2);
        word = uint16_t(~word);
        std::memcpy(at, &word, 2);
    };
    switch (bpp) {
    case 8:
        if (xorMode) draw([key = uint8_t(color)](uint8_t* at) { *at ^= key; });
        else draw([value = uint8_t(color)](uint8_t* at) { *at = value; });
        break;
    case 15:
    case 16:
        if (xorMode) draw(complement16);
        else draw([color](uint8_t* at) { StoreLE16(at, color); });
        break;
    case 24:
        if (xorMode) draw([complement16](uint8_t* at) {
            complement16(at);
            at[2] = uint8_t(~at[2]);
        });
        else draw([color](uint8_t* at) { Put24(at, color); });
        break;
    case 32:
        if (xorMode) draw([](uint8_t* at) {
            uint32_t word;
            std::memcpy(&word, at, 4);
            word = ~word;
            std::memcpy(at, &word, 4);
        });
        else draw([color](uint8_t* at) { StoreLE32(at, color); });
        break;
    }
}

// Plots single points; the per-point test is dropped when the whole figure is inside. A copy of
// the plane, so that pixel stores cannot force its fields to be reloaded.
template <class Pixel> struct Plotter {
    Plane plane;
    bool check;
    Pixel pixel;

    void operator()(int64_t x, int64_t y) const {
        if (check && !plane.clip.Contains(x, y)) return;
        pixel(plane.pixels + size_t(y) * plane.pitch + size_t(x) * BytesPerPixel(plane.bpp));
    }
};

// The vertical counterpart of Span.
void Column(const Plane& plane, int64_t x, int64_t y, int64_t len, unsigned color, bool xorMode) {
    const Box& box = plane.clip;
    int64_t from, count;
    if (!plane.pixels || x < box.x1 || x > box.x2 || !ClipRun(y, len, box.y1, box.y2, from, count))
        return;
    WithPixelWriter(plane.bpp, color, xorMode, [&](auto pixel) {
        Plotter<decltype(pixel)> plot{plane, false, pixel};
        for (int64_t i = 0; i < count; ++i) plot(x, from + i);
    });
}

// Both horizontal edges whole, the sides between them: no corner is drawn twice, which matters
// in xor mode.
void Frame(const Plane& plane, int x, int y, unsigned w, unsigned h, unsigned color, bool xorMode) {
    Span(plane, x, y, w, color, xorMode);
    Span(plane, x, int64_t(y) + h - 1, w, color, xorMode);
    // Fewer than three rows leave no side between the two horizontal edges.
    if (h > 2) {
        Column(plane, x, int64_t(y) + 1, h - 2, color, xorMode);
        Column(plane, int64_t(x) + w - 1, int64_t(y) + 1, h - 2, color, xorMode);
    }
}

} // namespace
} // namespace QZM::internal
