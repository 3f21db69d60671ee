#include <qzm/audio/internal/SampleOps.h>

#include <cstring>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace QZM::internal {

namespace {

inline int32_t Load16(const uint8_t* p, bool bigEndian, bool isSigned) {
    const uint16_t v = bigEndian ? uint16_t(p[0] << 8 | p[1]) : uint16_t(p[1] << 8 | p[0]);
    return isSigned ? int32_t(int16_t(v)) : int32_t(v);
}

inline void Store16(uint8_t* p, int32_t v, bool bigEndian) {
    p[bigEndian ? 1 : 0] = uint8_t(v);
    p[bigEndian ? 0 : 1] = uint8_t(v >> 8);
}

inline int32_t Clip(int32_t v, int32_t lo, int32_t hi) { return v < lo ? lo : v > hi ? hi : v; }

} // namespace

const char* SoundFormatName(int format) {
    switch (format) {
    case FORMAT_U8: return "8 bits unsigned";
    case FORMAT_U16LSB: return "16 bits unsigned LSB";
    case FORMAT_U16MSB: return "16 bits unsigned MSB";
    case FORMAT_S8: return "8 bits signed";
    case FORMAT_S16LSB: return "16 bits signed LSB";
    case FORMAT_S16MSB: return "16 bits signed MSB";
    default: return "unknown";
    }
}

void SwapBytes16(const uint8_t* src, uint8_t* dst, uint32_t n) {
    uint32_t i = 0;
#ifdef __SSE2__
    // Loaders swap whole sounds in place: 32 bytes a step, both loads ahead of both stores.
    for (; i + 16 <= n; i += 16) {
        __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + 2 * i));
        __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + 2 * i + 16));
        a = _mm_or_si128(_mm_slli_epi16(a, 8), _mm_srli_epi16(a, 8));
        b = _mm_or_si128(_mm_slli_epi16(b, 8), _mm_srli_epi16(b, 8));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + 2 * i), a);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + 2 * i + 16), b);
    }
#endif
    for (; i < n; i++) {
        const uint8_t low = src[2 * i];
        dst[2 * i] = src[2 * i + 1];
        dst[2 * i + 1] = low;
    }
}

void FlipSign(const uint8_t* src, uint8_t* dst, uint32_t bytes, int format) {
    if (SampleBytes(format) == 1) {
        for (uint32_t i = 0; i < bytes; i++) dst[i] = src[i] ^ 0x80;
        return;
    }
    const unsigned high = (format & FORMAT_BIG_ENDIAN) ? 0 : 1;
    if (dst != src) memcpy(dst, src, bytes);
    for (uint32_t i = high; i < bytes; i += 2) dst[i] ^= 0x80;
}

void Widen8to16(const uint8_t* src, uint8_t* dst, uint32_t n, bool bigEndian) {
    const unsigned high = bigEndian ? 0 : 1;
    for (uint32_t i = n; i-- > 0;) { // backwards: in place, each byte is read before overwritten
        dst[2 * i + high] = src[i];
        dst[2 * i + 1 - high] = 0;
    }
}

void Narrow16to8(const uint8_t* src, uint8_t* dst, uint32_t n, bool bigEndian) {
    const unsigned high = bigEndian ? 0 : 1;
    for (uint32_t i = 0; i < n; i++) dst[i] = src[2 * i + high];
}

namespace {

// Backwards, so that src may equal dst: sample i is read before 2i and 2i + 1 are written.
template <unsigned kWidth> void Repeat(const uint8_t* src, uint8_t* dst, uint32_t n) {
    for (uint32_t i = n; i-- > 0;) {
        uint8_t sample[kWidth];
        memcpy(sample, src + i * kWidth, kWidth);
        memcpy(dst + 2 * i * kWidth, sample, kWidth);
        memcpy(dst + (2 * i + 1) * kWidth, sample, kWidth);
    }
}

// Forwards, so that src may equal dst: sample 2i is read before i is written.
template <unsigned kWidth> void DropOdd(const uint8_t* src, uint8_t* dst, uint32_t n) {
    for (uint32_t i = 0; i < n; i++) {
        uint8_t sample[kWidth];
        memcpy(sample, src + 2 * i * kWidth, kWidth);
        memcpy(dst + i * kWidth, sample, kWidth);
    }
}

} // namespace

void RepeatSamples(const uint8_t* src, uint8_t* dst, uint32_t n, unsigned sampleBytes) {
    sampleBytes == 2 ? Repeat<2>(src, dst, n) : Repeat<1>(src, dst, n);
}

void DropOddSamples(const uint8_t* src, uint8_t* dst, uint32_t n, unsigned sampleBytes) {
    sampleBytes == 2 ? DropOdd<2>(src, dst, n) : DropOdd<1>(src, dst, n);
}

void SumPairs(const uint8_t* src, uint8_t* dst, uint32_t n, int format) {
    const bool isSigned = (format & FORMAT_SIGNED) != 0;
    if (SampleBytes(format) == 1) {
        const int32_t lo = isSigned ? -128 : 0, hi = isSigned ? 127 : 255;
        for (uint32_t i = 0; i < n; i++, src += 2) {
            const int32_t a = isSigned ? int8_t(src[0]) : src[0];
            const int32_t b = isSigned ? int8_t(src[1]) : src[1];
            dst[i] = uint8_t(Clip(a + b, lo, hi));
        }
        return;
    }
    const bool big = (format & FORMAT_BIG_ENDIAN) != 0;
    const int32_t lo = isSigned ? -32768 : 0, hi = isSigned ? 32767 : 65535;
    for (uint32_t i = 0; i < n; i++, src += 4, dst += 2) {
        const int32_t sum = Load16(src, big, isSigned) + Load16(src + 2, big, isSigned);
        Store16(dst, Clip(sum, lo, hi), big);
    }
}

} // namespace QZM::internal
