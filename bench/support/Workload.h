#pragma once
// The inputs the project is measured on next to its peers: a fixed-seed generator, the 3-3-2
// palette, the keyed sprite, blit positions and primitives on a 640x480 surface, PAK member names,
// the looping sounds and volumes of the mixing runs.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <utility>
#include <vector>

namespace bench {

const int kSurfaceW = 640;
const int kSurfaceH = 480;
const int kSprite = 32;
const int kKeyIndex = 227;       // (255, 0, 255) in the 3-3-2 palette
const int kBackgroundIndex = 37;

// 64-bit LCG; the output is the high half of the new state.
class Rng {
public:
    explicit Rng(uint64_t seed) : s_(seed) {}
    uint32_t Next() {
        s_ = s_ * 6364136223846793005ull + 1442695040888963407ull;
        return uint32_t(s_ >> 32);
    }
    // lo..hi inclusive, without a modulo.
    int Range(int lo, int hi) {
        uint64_t n = uint32_t(hi - lo + 1);
        return lo + int((uint64_t(Next()) * n) >> 32);
    }

private:
    uint64_t s_;
};

inline void Pal332(int idx, int& r, int& g, int& b) {
    r = ((idx >> 5) & 7) * 255 / 7;
    g = ((idx >> 2) & 7) * 255 / 7;
    b = (idx & 3) * 255 / 3;
}

// Pixel value of a palette index: the index at 8 bpp, RGB565 at 16, 0x00RRGGBB at 24 and 32.
inline uint32_t PixelOf(int bpp, int idx) {
    if (bpp == 8) return uint32_t(idx);
    int r, g, b;
    Pal332(idx, r, g, b);
    if (bpp == 16) return uint32_t(((r >> 3) << 11) | ((g >> 2) << 5) | (b >> 3));
    return uint32_t((r << 16) | (g << 8) | b);
}

// 32x32 indices: the key outside a disc of radius 15 centred at (15.5, 15.5).
inline std::vector<uint8_t> SpriteIndices() {
    std::vector<uint8_t> idx(kSprite * kSprite);
    for (int y = 0; y < kSprite; y++)
        for (int x = 0; x < kSprite; x++) {
            int dx2 = 2 * x - 31, dy2 = 2 * y - 31;
            int c = kKeyIndex;
            if (dx2 * dx2 + dy2 * dy2 <= 30 * 30) {
                c = (x * 8 + y * 5 + ((x ^ y) & 7)) & 255;
                if (c == kKeyIndex) c = 228;
            }
            idx[y * kSprite + x] = uint8_t(c);
        }
    return idx;
}

// The sprite's pixel values written into rows of the given pitch, low byte first.
inline void PutSprite(uint8_t* pixels, size_t pitch, int bpp) {
    std::vector<uint8_t> indices = SpriteIndices();
    size_t bytes = size_t((bpp + 7) / 8);
    for (int y = 0; y < kSprite; ++y)
        for (int x = 0; x < kSprite; ++x) {
            uint32_t value = PixelOf(bpp, indices[y * kSprite + x]);
            for (size_t b = 0; b < bytes; ++b)
                pixels[y * pitch + x * bytes + b] = uint8_t(value >> (8 * b));
        }
}

// 1000 top-left corners with the sprite wholly inside the surface.
inline std::vector<std::pair<int, int>> BlitPositions() {
    Rng r(0xB1B1B1B1ull);
    std::vector<std::pair<int, int>> at(1000);
    for (auto& p : at) {
        p.first = r.Range(0, kSurfaceW - kSprite);
        p.second = r.Range(0, kSurfaceH - kSprite);
    }
    return at;
}

enum PrimKind { kHLine = 0, kLine = 1, kCircle = 2, kFilledCircle = 3 };

// hline: x1..x2 (either order) on row y1; line: (x1, y1)-(x2, y2); circles: centre (x1, y1), r.
struct Prim {
    int x1 = 0, y1 = 0, x2 = 0, y2 = 0, r = 0, c = 0;
};

inline std::vector<Prim> Prims(PrimKind kind) {
    Rng r(0x9000ull + uint64_t(kind));
    std::vector<Prim> prims(1000);
    for (Prim& p : prims) {
        if (kind == kHLine) {
            p.x1 = r.Range(0, kSurfaceW - 1);
            p.x2 = r.Range(0, kSurfaceW - 1);
            p.y1 = p.y2 = r.Range(0, kSurfaceH - 1);
        } else if (kind == kLine) {
            p.x1 = r.Range(0, kSurfaceW - 1);
            p.y1 = r.Range(0, kSurfaceH - 1);
            p.x2 = r.Range(0, kSurfaceW - 1);
            p.y2 = r.Range(0, kSurfaceH - 1);
        } else {
            p.r = r.Range(4, 64);
            p.x1 = r.Range(p.r, kSurfaceW - 1 - p.r);
            p.y1 = r.Range(p.r, kSurfaceH - 1 - p.r);
        }
        p.c = r.Range(0, 255);
    }
    return prims;
}

const int kPakMembers = 10000;

inline void PakMemberName(int i, char out[64]) {
    std::snprintf(out, 64, "dir%02d/file%05d.dat", i % 64, i);
}

// A Fisher-Yates shuffle of 0..n-1.
inline std::vector<int> PakLookupOrder(int n) {
    Rng r(0xFA57FA57ull);
    std::vector<int> order(n);
    for (int k = 0; k < n; k++) order[k] = k;
    for (int k = n - 1; k > 0; k--) std::swap(order[k], order[r.Range(0, k)]);
    return order;
}

// Mixing runs: 2584 callbacks of 1024 stereo S16 frames at 44100 Hz, 60 s of output.
const int kMixFreq = 44100;
const int kMixCallbackBytes = 4096;
const int kMixCallbacks = 2584;

// Parabolic sine, one period over the 32-bit phase, -32767..32767.
inline int PSine(uint32_t phase) {
    int32_t x = int32_t(phase >> 16) - 32768;
    int32_t ax = x < 0 ? -x : x;
    int32_t y = int32_t((int64_t(x) * (32768 - ax)) / 8192);
    return y > 32767 ? 32767 : y < -32767 ? -32767 : y;
}

inline uint32_t MixFrames(int i) { return 30000u + 2311u * uint32_t(i); }

// Volume of channel i, 16..128.
inline int MixVolume(int i) {
    Rng r(0xC0FFEE00ull + uint64_t(i));
    return r.Range(16, 128);
}

// Channel i's sound: interleaved left, right samples of two noisy sines.
inline std::vector<int16_t> MixSound(int i) {
    Rng r(0x5EED0000ull + uint64_t(i));
    uint32_t left = 0, right = 0x40000000u;
    uint32_t stepLeft = uint32_t((uint64_t(r.Range(110, 1760)) << 32) / kMixFreq);
    uint32_t stepRight = stepLeft + uint32_t(r.Range(0, 1 << 20));
    int amp = r.Range(2000, 5000);
    std::vector<int16_t> s(2 * size_t(MixFrames(i)));
    for (size_t f = 0; f < s.size(); f += 2) {
        int noiseLeft = r.Range(-256, 255);
        int noiseRight = r.Range(-256, 255);
        s[f] = int16_t(PSine(left) * amp / 32768 + noiseLeft);
        s[f + 1] = int16_t(PSine(right) * amp / 32768 + noiseRight);
        left += stepLeft;
        right += stepRight;
    }
    return s;
}

} // namespace bench
