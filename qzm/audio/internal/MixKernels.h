#pragma once
// The sample arithmetic of the mixing callbacks, one type per device format, and the loops that
// mix one channel over a run of output samples. The callbacks go channel by channel through runs
// in which the set of playing channels does not change: the first channel of a run stores its
// share into a 32-bit accumulator, the next ones add theirs, the last one adds and writes the
// clipped sum. That is the same sum, clipped once, as going sample by sample over the channels.
// In a header so that tests can run the scalar loops on SSE2 builds as well.
#include <cstddef>
#include <cstdint>
#include <type_traits>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include <qzm/gfx/internal/ByteOrder.h>

namespace QZM::internal {

// p / 128, rounded toward zero.
inline int32_t Div128(int32_t p) { return (p + (p < 0 ? 127 : 0)) >> 7; }

inline int32_t Clip(int32_t v, int32_t lo, int32_t hi) { return v < lo ? lo : v > hi ? hi : v; }

inline uint16_t LoadBE16(const uint8_t* p) { return uint16_t(p[0] << 8 | p[1]); }

inline void StoreBE16(uint8_t* p, uint32_t v) {
    p[0] = uint8_t(v >> 8);
    p[1] = uint8_t(v);
}

// Each format: kWidth bytes per sample, Share (one channel's part of an output sample at a
// volume of 0..128) and Put (writes a clipped sum).
struct MixU8 {
    static constexpr unsigned kWidth = 1;
    // Centred, scaled, then biased again: every channel adds its own 128.
    static int32_t Share(const uint8_t* s, int vol) { return Div128((s[0] - 128) * vol) + 128; }
    static void Put(uint8_t* out, int32_t v) { out[0] = uint8_t(v); }
};

struct MixS8 {
    static constexpr unsigned kWidth = 1;
    static int32_t Share(const uint8_t* s, int vol) { return Div128(int8_t(s[0]) * vol); }
    static void Put(uint8_t* out, int32_t v) { out[0] = uint8_t(v); }
};

template <bool kBigEndian>
struct Mix16 {
    static constexpr unsigned kWidth = 2;
    static uint16_t Get(const uint8_t* s) { return kBigEndian ? LoadBE16(s) : LoadLE16(s); }
    static void Put(uint8_t* out, int32_t v) {
        kBigEndian ? StoreBE16(out, uint32_t(v)) : StoreLE16(out, uint32_t(v));
    }
};

template <bool kBigEndian>
struct MixS16 : Mix16<kBigEndian> {
    static int32_t Share(const uint8_t* s, int vol) {
        return Div128(int16_t(Mix16<kBigEndian>::Get(s)) * vol);
    }
};

// Unsigned: the bias is scaled with the sample and kept, as with MixU8.
template <bool kBigEndian>
struct MixU16 : Mix16<kBigEndian> {
    static int32_t Share(const uint8_t* s, int vol) {
        return int32_t((uint32_t(Mix16<kBigEndian>::Get(s)) * uint32_t(vol)) >> 7);
    }
};

// What a channel does with its share in a run: the first of several stores it into the
// accumulator, a middle one adds it, the last one adds it and writes the clipped sum, and a
// channel playing alone writes its clipped share.
enum class MixStep { kFirst, kAdd, kLast, kOnly };

// Output sample i of the run takes vols[i & 1]: vols[0] is the volume of the run's first sample.
template <class Fmt, MixStep kStep>
void MixRunScalar(uint8_t* out, int32_t* acc, const uint8_t* src, unsigned n, const int vols[2],
                  int32_t lo, int32_t hi) {
    for (unsigned i = 0; i < n; ++i, src += Fmt::kWidth) {
        int32_t share = Fmt::Share(src, vols[i & 1]);
        if constexpr (kStep == MixStep::kFirst) {
            acc[i] = share;
        } else if constexpr (kStep == MixStep::kAdd) {
            acc[i] += share;
        } else {
            if constexpr (kStep == MixStep::kLast) share += acc[i];
            Fmt::Put(out + i * Fmt::kWidth, Clip(share, lo, hi));
        }
    }
}

#ifdef __SSE2__
inline __m128i SwapBytes16(__m128i v) {
    return _mm_or_si128(_mm_slli_epi16(v, 8), _mm_srli_epi16(v, 8));
}

// Signed 16-bit runs, 8 samples a step. madd of the pairs (s, s < 0 ? -1 : 0) and (vol, -127)
// gives s * vol + 127 for a negative s: the bias that makes the arithmetic shift round toward
// zero. The packing saturates to the 16-bit range, so the bounds must be -32768..32767.
template <bool kBigEndian, MixStep kStep>
void MixRunS16Sse2(uint8_t* out, int32_t* acc, const uint8_t* src, unsigned n, const int vols[2],
                   int32_t lo, int32_t hi) {
    const __m128i v = _mm_setr_epi16(int16_t(vols[0]), -127, int16_t(vols[1]), -127,
                                     int16_t(vols[0]), -127, int16_t(vols[1]), -127);
    size_t i = 0; // full width: indexed addressing needs no extension
    for (; i + 8 <= n; i += 8) {
        __m128i s = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + 2 * i));
        if (kBigEndian) s = SwapBytes16(s);
        __m128i sign = _mm_srai_epi16(s, 15);
        __m128i low = _mm_srai_epi32(_mm_madd_epi16(_mm_unpacklo_epi16(s, sign), v), 7);
        __m128i high = _mm_srai_epi32(_mm_madd_epi16(_mm_unpackhi_epi16(s, sign), v), 7);
        __m128i* a = reinterpret_cast<__m128i*>(acc + i);
        if constexpr (kStep == MixStep::kAdd || kStep == MixStep::kLast) {
            low = _mm_add_epi32(low, _mm_loadu_si128(a));
            high = _mm_add_epi32(high, _mm_loadu_si128(a + 1));
        }
        if constexpr (kStep == MixStep::kFirst || kStep == MixStep::kAdd) {
            _mm_storeu_si128(a, low);
            _mm_storeu_si128(a + 1, high);
        } else {
            __m128i packed = _mm_packs_epi32(low, high);
            if (kBigEndian) packed = SwapBytes16(packed);
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 2 * i), packed);
        }
    }
    // i is even, so the rest starts on the same side.
    MixRunScalar<MixS16<kBigEndian>, kStep>(out + 2 * i, acc + i, src + 2 * i, unsigned(n - i),
                                            vols, lo, hi);
}
#endif

// The fastest exact loop for the format and bounds.
template <class Fmt, MixStep kStep>
void MixRun(uint8_t* out, int32_t* acc, const uint8_t* src, unsigned n, const int vols[2],
            int32_t lo, int32_t hi) {
#ifdef __SSE2__
    constexpr bool kS16 = std::is_same_v<Fmt, MixS16<false>> || std::is_same_v<Fmt, MixS16<true>>;
    if constexpr (kS16) {
        constexpr bool kBig = std::is_same_v<Fmt, MixS16<true>>;
        bool writes = kStep == MixStep::kLast || kStep == MixStep::kOnly;
        if (!writes || (lo == -32768 && hi == 32767))
            return MixRunS16Sse2<kBig, kStep>(out, acc, src, n, vols, lo, hi);
    }
#endif
    MixRunScalar<Fmt, kStep>(out, acc, src, n, vols, lo, hi);
}

} // namespace QZM::internal
