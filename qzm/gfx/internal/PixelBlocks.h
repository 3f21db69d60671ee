#pragma once
// Block transfers between planes of one depth: plain, with a transparent key, and moves within
// one plane.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#include <qzm/gfx/internal/PixelRows.h>

namespace QZM::internal {
// Internal linkage: every including file compiles and inlines its own copy, as if written there.
namespace {

// The checks and clipping shared by the block transfers; false when nothing is to be done.
inline bool ClipTransfer(const Plane& dst, const Plane& src, int64_t& x, int64_t& y, int64_t& sx,
                         int64_t& sy, int64_t& w, int64_t& h) {
    const Box& box = dst.clip;
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

// Pixel by pixel in reading order, which a copy within one buffer may depend on.
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
__m128i LoadVector(const uint8_t* p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}
void StoreVector(uint8_t* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }

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
    __m128i src = LoadVector(from), keyed = KeyedLanes<Word>(src, key);
    int mask = _mm_movemask_epi8(keyed);
    if (mask == 0)
        StoreVector(to, src);
    else if (mask != 0xFFFF)
        StoreVector(to, Blend(LoadVector(to), src, keyed));
}

// What KeyedVector stores, worked out ahead, and whether it stores anything.
template <class Word> bool KeyedVectorAhead(uint8_t* to, const uint8_t* from, __m128i key,
                                            __m128i& out) {
    __m128i src = LoadVector(from), keyed = KeyedLanes<Word>(src, key);
    int mask = _mm_movemask_epi8(keyed);
    out = mask ? Blend(LoadVector(to), src, keyed) : src;
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
        if (storeTail) StoreVector(to + last, tail);
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
        __m128i tail = keyed.Five(LoadVector(to + 3 * last), LoadVector(from + 3 * last));
        __m128i dst = LoadVector(to);
        for (int64_t i = 0; i < last; i += 5) {
            __m128i next = LoadVector(to + 3 * std::min(i + 5, last));
            StoreVector(to + 3 * i, keyed.Five(dst, LoadVector(from + 3 * i)));
            dst = next;
        }
        StoreVector(to + 3 * last, tail);
        KeyedPixel24(to + 3 * (last + 5), from + 3 * (last + 5), key, srcEnd);
    });
}
#endif

// A copy within one buffer (inOrder) keeps to the per-pixel order, since its rows may overlap.
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

// The block of src at (sx, sy) to (x, y) of dst, clipped to dst's box and to src, row by row;
// both of one depth.
void CopyBlock(const Plane& dst, const Plane& src, int x, int y, int sx, int sy, unsigned w,
               unsigned h) {
    int64_t dx = x, dy = y, fx = sx, fy = sy, cw = w, ch = h;
    if (!ClipTransfer(dst, src, dx, dy, fx, fy, cw, ch)) return;
    size_t rowBytes = size_t(cw) * BytesPerPixel(dst.bpp);
    uint8_t* to = dst.At(dx, dy);
    const uint8_t* from = src.At(fx, fy);
    size_t toPitch = dst.pitch, fromPitch = src.pitch;
    if (rowBytes == toPitch && rowBytes == fromPitch) {
        rowBytes *= size_t(ch);
        ch = 1;
    }
    // A copy within one buffer may overlap.
    const bool overlap = src.pixels == dst.pixels;
    for (int64_t i = 0; i < ch; ++i, to += toPitch, from += fromPitch) {
        if (overlap)
            std::memmove(to, from, rowBytes);
        else
            std::memcpy(to, from, rowBytes);
    }
}

// As CopyBlock, skipping source pixels equal to key by the depth's rule.
void KeyedBlock(const Plane& dst, const Plane& src, int x, int y, unsigned key, int sx, int sy,
                unsigned w, unsigned h) {
    int64_t dx = x, dy = y, fx = sx, fy = sy, cw = w, ch = h;
    if (!ClipTransfer(dst, src, dx, dy, fx, fy, cw, ch)) return;
    Block block{dst.At(dx, dy), src.At(fx, fy), dst.pitch, src.pitch, cw, ch};
    const uint8_t* srcEnd = src.At(0, src.height);
    bool inOrder = src.pixels == dst.pixels;
    switch (dst.bpp) {
    case 8: return KeyedCopy<uint8_t>(block, uint8_t(key), inOrder);
    case 15:
    case 16: return KeyedCopy<uint16_t>(block, uint16_t(key), inOrder);
    case 24: return KeyedCopy24(block, key, srcEnd, inOrder);
    case 32: return KeyedCopy<uint32_t>(block, uint32_t(key), inOrder);
    }
}

// Overlap-safe move of a block within the plane: rows bottom up when the source starts at or
// above the destination.
void MoveBlock(const Plane& plane, int sx, int sy, unsigned w, unsigned h, int dx, int dy) {
    int64_t tx = dx, ty = dy, fx = sx, fy = sy, cw = w, ch = h;
    if (!ClipTransfer(plane, plane, tx, ty, fx, fy, cw, ch)) return;
    size_t rowBytes = size_t(cw) * BytesPerPixel(plane.bpp);
    bool upward = fy <= ty;
    for (int64_t i = 0; i < ch; ++i) {
        int64_t row = upward ? ch - 1 - i : i;
        std::memmove(plane.At(tx, ty + row), plane.At(fx, fy + row), rowBytes);
    }
}

} // namespace
} // namespace QZM::internal
