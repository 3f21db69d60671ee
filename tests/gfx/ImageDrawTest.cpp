// Lines, spans, circles and disks against references that apply the pixel rules point by point.
#include <qzm/gfx/Image.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>

namespace {

using Mode = QZMImage::DrawMode;

const unsigned kDepths[] = {8, 15, 16, 24, 32};
const unsigned kWidth = 37, kHeight = 23;

void Plot(QZMImage& img, int64_t x, int64_t y, unsigned color, Mode mode) {
    if (x < img.clipX1 || x > img.clipX2 || y < img.clipY1 || y > img.clipY2) return;
    unsigned offset = unsigned(y * img.pitch + x * img.BytesPerPixel());
    if (mode)
        img.FastXor(offset, color);
    else
        img.FastPut(offset, color);
}

// The walk as written: the longer axis moves every step, the other when the error term
// overflows. Steps before the image are jumped over with the state they would leave
// (after i steps e = i m mod M), steps after it are not walked.
void ReferenceLine(QZMImage& img, int x1, int y1, int x2, int y2, unsigned color, Mode mode) {
    int64_t dx = std::abs(int64_t(x2) - x1) + 1, dy = std::abs(int64_t(y2) - y1) + 1;
    bool steep = dx < dy;
    int64_t x = x1, y = y1, e = 0;
    int64_t& major = steep ? y : x;
    int64_t& minor = steep ? x : y;
    int64_t M = steep ? dy : dx, m = steep ? dx : dy, size = steep ? img.height : img.width;
    int64_t majorStep = (steep ? y2 >= y1 : x2 >= x1) ? 1 : -1;
    int64_t minorStep = (steep ? x2 >= x1 : y2 >= y1) ? 1 : -1;
    int64_t before = majorStep > 0 ? -1 - major : major - size;
    int64_t i = std::clamp<int64_t>(before, 0, M);
    uint64_t walked = uint64_t(i) * uint64_t(m);
    e = int64_t(walked % uint64_t(M));
    major += majorStep * i;
    minor += minorStep * int64_t(walked / uint64_t(M));
    for (; i < M && (majorStep > 0 ? major <= size : major >= -1); ++i, major += majorStep) {
        Plot(img, x, y, color, mode);
        e += m;
        if (e >= M) {
            minor += minorStep;
            e -= M;
        }
    }
}

// The midpoint walk over every column (spans cut to the image only to bound the time): the
// fast versions walk only the columns that can reach the clipping rectangle.
void ReferenceCircle(QZMImage& img, int cx, int cy, int r, bool disk, Mode mode) {
    auto put = [&](int64_t x, int64_t y) { Plot(img, x, y, 1, mode); };
    auto span = [&](int64_t x, int64_t y, int64_t n) {
        for (int64_t i = std::max<int64_t>(x, 0); i < std::min<int64_t>(x + n, kWidth); ++i)
            put(i, y);
    };
    for (int64_t x = 0, y = r, d = 1 - int64_t(r), dE = 3, dSE = 5 - 2 * int64_t(r); x <= y; ++x) {
        if (disk) {
            span(cx - y, cy - x, 2 * y);
            if (x) span(cx - y, cy + x, 2 * y);
        } else {
            for (int sa : {1, -1})
                for (int sb : {1, -1}) {
                    if ((sa < 0 && !x) || (sb < 0 && !y)) continue;
                    put(cx + sa * x, cy + sb * y);
                    if (x != y) put(cx + sb * y, cy + sa * x);
                }
        }
        if (d < 0) {
            d += dE, dE += 2, dSE += 2;
            continue;
        }
        if (disk && x != y) {
            span(cx - x, cy - y, 2 * x);
            if (y) span(cx - x, cy + y, 2 * x);
        }
        d += dSE, dE += 2, dSE += 4, --y;
    }
}

// Two equal images of random bytes with, half of the time, the same random clipping rectangle.
struct Canvases {
    QZMImage fast, slow;

    Canvases(unsigned bpp, std::mt19937& rng)
        : fast(kWidth, kHeight, bpp), slow(kWidth, kHeight, bpp) {
        for (uint32_t i = 0; i < fast.pitch * kHeight; ++i) fast.pixels[i] = uint8_t(rng());
        std::memcpy(slow.pixels, fast.pixels, fast.pitch * kHeight);
        if (rng() % 2) {
            int clip[4] = {int(rng() % kWidth), int(rng() % kHeight), int(rng() % kWidth),
                           int(rng() % kHeight)};
            fast.SetClipping(clip[0], clip[1], clip[2], clip[3]);
            slow.SetClipping(clip[0], clip[1], clip[2], clip[3]);
        }
    }
    bool Same() const { return std::memcmp(fast.pixels, slow.pixels, fast.pitch * kHeight) == 0; }
};

// End points near the image, far from it, at the ends of the int range; lines whose lengths
// have a small ratio (the error term returns to zero every few steps) from outside the image;
// lines through the image from far away (some of them exact diagonals).
void RandomLine(std::mt19937& rng, int p[4]) {
    auto near = [&](unsigned size) { return int(rng() % (size + 16)) - 8; };
    auto far = [&] { return int(int64_t(rng() % 6001) - 3000); };
    auto extreme = [&] { return rng() % 2 ? INT_MIN + int(rng() % 3) : INT_MAX - int(rng() % 3); };
    switch (rng() % 7) {
    case 0:
        p[0] = near(kWidth), p[1] = near(kHeight), p[2] = near(kWidth), p[3] = near(kHeight);
        break;
    case 1: p[0] = far(), p[1] = near(kHeight), p[2] = far(), p[3] = far(); break;
    case 2: for (int i = 0; i < 4; ++i) p[i] = int(rng()); break;
    case 3: for (int i = 0; i < 4; ++i) p[i] = rng() % 3 ? extreme() : near(kHeight); break;
    case 4: {
        int a = int(rng() % 6) + 1, b = int(rng() % 6) + 1, k = int(rng() % 20) + 1;
        p[0] = near(kWidth) - 20, p[1] = near(kHeight) - 20;
        p[2] = p[0] + a * k - 1, p[3] = p[1] + b * k - 1;
        if (rng() % 2) std::swap(p[0], p[2]);
        if (rng() % 2) std::swap(p[1], p[3]);
        break;
    }
    default: {
        int cx = near(kWidth), cy = near(kHeight);
        int64_t ax = int64_t(rng() % (1u << 31)) - (1 << 30);
        int64_t ay = rng() % 3 ? int64_t(rng() % (1u << 31)) - (1 << 30) : ax;
        p[0] = int(cx + ax), p[1] = int(cy + ay), p[2] = int(cx - ax), p[3] = int(cy - ay);
    }
    }
    if (rng() % 8 == 0) p[2] = p[0];
    if (rng() % 8 == 0) p[3] = p[1];
}

} // namespace

TEST(ImageDrawTest, LinesMatchTheWalkAtEveryDepthModeAndClip) {
    std::mt19937 rng(20261123);
    for (unsigned bpp : kDepths)
        for (Mode mode : {QZMImage::DRAW_PUT, QZMImage::DRAW_XOR})
            for (int n = 0; n < 1500; ++n) {
                int p[4];
                RandomLine(rng, p);
                unsigned color = rng();
                Canvases c(bpp, rng);
                c.fast.Line(p[0], p[1], p[2], p[3], color, mode);
                ReferenceLine(c.slow, p[0], p[1], p[2], p[3], color, mode);
                ASSERT_TRUE(c.Same()) << "bpp " << bpp << (mode ? " xor " : " put ") << p[0]
                                      << "," << p[1] << " to " << p[2] << "," << p[3] << " clip "
                                      << c.fast.clipX1 << "," << c.fast.clipY1 << ","
                                      << c.fast.clipX2 << "," << c.fast.clipY2;
            }
}

// HLine and Rectangle against single points: spans of every length and phase of the 24-bit
// pattern (disks fill through the same spans).
TEST(ImageDrawTest, SpansMatchSinglePoints) {
    std::mt19937 rng(7);
    for (unsigned bpp : kDepths)
        for (int n = 0; n < 3000; ++n) {
            Mode mode = Mode(rng() % 4 == 0);
            unsigned color = rng() % 8 ? rng() : 0; // colour 0 takes the byte fill
            int x = int(rng() % (kWidth + 40)) - 20, y = int(rng() % (kHeight + 40)) - 20;
            unsigned w = rng() % 16 ? rng() % 60 : UINT_MAX - rng() % 4;
            unsigned h = rng() % 4 ? rng() % 30 : 1;
            Canvases c(bpp, rng);
            if (rng() % 2) {
                c.fast.HLine(x, y, w, color, mode);
                h = 1;
            } else {
                if (rng() % 8 == 0) x = y = 0, w = kWidth, h = kHeight; // one run of whole rows
                c.fast.Rectangle(x, y, w, h, color, mode);
            }
            for (int64_t row = y; row < int64_t(y) + h && row < kHeight; ++row)
                for (int64_t col = x; col < int64_t(x) + w && col < kWidth; ++col)
                    Plot(c.slow, col, row, color, mode);
            ASSERT_TRUE(c.Same()) << "bpp " << bpp << " at " << x << "," << y << " size " << w
                                  << "x" << h << " mode " << mode;
        }
}

// Xor mode shows a column walked twice or missed.
TEST(ImageDrawTest, CirclesAndDisksMatchTheWholeWalk) {
    std::mt19937 rng(7);
    for (int n = 0; n < 300; ++n) {
        int r = int(rng() % 3 ? rng() % 60 : rng() % 40000), angle = int(rng() % 360);
        int cx = int(kWidth / 2 + r * std::cos(angle) + int(rng() % 9) - 4);
        int cy = int(kHeight / 2 + r * std::sin(angle) + int(rng() % 9) - 4);
        for (bool disk : {false, true}) {
            Canvases c(8, rng);
            if (disk)
                c.fast.Disk(cx, cy, r, 1, QZMImage::DRAW_XOR);
            else
                c.fast.Circle(cx, cy, r, 1, QZMImage::DRAW_XOR);
            ReferenceCircle(c.slow, cx, cy, r, disk, QZMImage::DRAW_XOR);
            ASSERT_TRUE(c.Same()) << (disk ? "disk" : "circle") << " at " << cx << "," << cy
                                  << " r " << r;
        }
    }
}
