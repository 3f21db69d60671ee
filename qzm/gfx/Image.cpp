#include <qzm/gfx/Image.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#include <qzm/core/Log.h>
#include <qzm/gfx/Font.h>
#include <qzm/gfx/codec/Codecs.h>
#include <qzm/gfx/internal/GlyphSheet.h>
#include <qzm/gfx/internal/PixelBlocks.h>
#include <qzm/gfx/internal/PixelRows.h>

namespace {

using namespace QZM::internal;

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
inline Box ClipBox(const QZMImage& img) {
    return Box{std::max<int64_t>(img.clipX1, 0), std::max<int64_t>(img.clipY1, 0),
               std::min<int64_t>(img.clipX2, int64_t(img.width) - 1),
               std::min<int64_t>(img.clipY2, int64_t(img.height) - 1)};
}

inline Plane PlaneOf(const QZMImage& img) {
    return Plane{img.pixels, img.pitch, img.width, img.height, img.bpp, ClipBox(img)};
}

uint8_t* AllocPixels(uint64_t bytes) {
    if (bytes > 0xFFFFFFFFu || bytes > SIZE_MAX) return nullptr;
    return new (std::nothrow) uint8_t[static_cast<size_t>(bytes)];
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
            XorRow(img.bpp, row, unsigned(w), color);
        else
            FillRow(img.bpp, row, unsigned(w), color);
    }
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
    Span(PlaneOf(*this), x, y, len, color, mode);
}

void QZMImage::VLine(int x, int y, unsigned len, unsigned color, DrawMode mode) {
    Column(PlaneOf(*this), x, y, len, color, mode);
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
    WithPixelWriter(bpp, color, mode,
                    [&](auto pixel) { DrawSteps(pixels, major, minor, first, last, pixel); });
}

void QZMImage::Frame(int x, int y, unsigned w, unsigned h, unsigned color, DrawMode mode) {
    QZM::internal::Frame(PlaneOf(*this), x, y, w, h, color, mode);
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
            FillRow(bpp, first + i * pitch, unsigned(cw), steps.Next());
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
    const Plane plane = PlaneOf(*this);
    const Box& box = plane.clip;
    int64_t left = int64_t(cx) - r, right = int64_t(cx) + r;
    int64_t top = int64_t(cy) - r, bottom = int64_t(cy) + r;
    if (!box.Meets(left, top, right, bottom)) return;
    bool check = !box.Contains(left, top) || !box.Contains(right, bottom);
    // Points (cx +- x, cy +- y) need a visible column cx +- x, points (cx +- y, cy +- x) a
    // visible row cy +- x.
    OffsetRanges columns;
    columns.AddAround(cx, box.x1, box.x2);
    columns.AddAround(cy, box.y1, box.y2);
    WithPixelWriter(bpp, color, mode, [&](auto pixel) {
        Plotter<decltype(pixel)> plot{plane, check, pixel};
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
    const Plane plane = PlaneOf(*this);
    const Box& box = plane.clip;
    if (!box.Meets(int64_t(cx) - r, int64_t(cy) - r, int64_t(cx) + r, int64_t(cy) + r)) return;
    // Spans lie on rows cy +- x, and on the diagonal steps on rows cy +- y.
    OffsetRanges columns;
    columns.AddAround(cy, box.y1, box.y2);
    AddColumnsOfRows(columns, r, box.y1 - int64_t(cy), box.y2 - int64_t(cy));
    AddColumnsOfRows(columns, r, int64_t(cy) - box.y2, int64_t(cy) - box.y1);
    WalkCircle(
        r, columns,
        [&](int64_t x, int64_t y) {
            Span(plane, cx - y, cy - x, 2 * y, color, mode);
            if (x != 0) Span(plane, cx - y, cy + x, 2 * y, color, mode);
        },
        [&](int64_t x, int64_t y) {
            if (x == y) return;
            Span(plane, cx - x, cy - y, 2 * x, color, mode);
            if (y != 0) Span(plane, cx - x, cy + y, 2 * x, color, mode);
        });
}

void QZMImage::CopyImage(int x, int y, QZMImage* src, int sx, int sy, unsigned w, unsigned h) {
    if (src && src->bpp == bpp) CopyBlock(PlaneOf(*this), PlaneOf(*src), x, y, sx, sy, w, h);
}

void QZMImage::TCopyImage(int x, int y, unsigned key, QZMImage* src, int sx, int sy, unsigned w,
                          unsigned h) {
    if (src && src->bpp == bpp) KeyedBlock(PlaneOf(*this), PlaneOf(*src), x, y, key, sx, sy, w, h);
}

void QZMImage::MoveInside(int sx, int sy, unsigned w, unsigned h, int dx, int dy) {
    MoveBlock(PlaneOf(*this), sx, sy, w, h, dx, dy);
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
