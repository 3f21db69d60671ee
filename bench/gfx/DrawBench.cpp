// Fills and primitives on 640x480 images with the inputs of the measured workloads, each next
// to SDL 1.2 + SDL_gfx on a software surface of the same format (and, for fills and lines, to
// the bare stores of the same bytes); then gradients and text.
#include <qzm/gfx/Font.h>
#include <qzm/gfx/Image.h>

#include "../support/SdlSurface.h"

#include <SDL.h>
#include <SDL_gfxPrimitives.h>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace {

const unsigned kWidth = 640;
const unsigned kHeight = 480;
const int kFillIndex = 146;

void Depths(benchmark::internal::Benchmark* b) {
    for (int bpp : {8, 16, 24, 32}) b->Arg(bpp);
}

size_t ImageBytes(unsigned bpp) {
    return size_t(kWidth) * kHeight * ((bpp + 7) / 8);
}

enum Lib { kQzm, kSdlGfx, kMemset };

void BM_Fill(benchmark::State& state, Lib lib) {
    int bpp = int(state.range(0));
    Uint32 pixel = bench::PixelOf(bpp, kFillIndex);
    QZMImage img(kWidth, kHeight, unsigned(bpp));
    SDL_Surface* surface =
        lib == kSdlGfx ? bench::SdlSurface(int(kWidth), int(kHeight), bpp) : nullptr;
    if (lib == kSdlGfx && !surface) {
        state.SkipWithError("no SDL surface");
        return;
    }
    for (auto _ : state) {
        if (lib == kQzm) img.Rectangle(0, 0, kWidth, kHeight, pixel);
        if (lib == kSdlGfx) SDL_FillRect(surface, nullptr, pixel);
        if (lib == kMemset) std::memset(img.pixels, int(pixel & 0xFF), ImageBytes(unsigned(bpp)));
        benchmark::DoNotOptimize(img.pixels);
        benchmark::ClobberMemory();
    }
    SDL_FreeSurface(surface);
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(ImageBytes(unsigned(bpp))));
}
BENCHMARK_CAPTURE(BM_Fill, qzm, kQzm)->Apply(Depths);
BENCHMARK_CAPTURE(BM_Fill, sdl_gfx, kSdlGfx)->Apply(Depths);
BENCHMARK_CAPTURE(BM_Fill, memset, kMemset)->Apply(Depths);

void DrawQzm(QZMImage& img, bench::PrimKind kind, const bench::Prim& p, unsigned pixel) {
    switch (kind) {
    case bench::kHLine:
        img.HLine(std::min(p.x1, p.x2), p.y1, unsigned(std::abs(p.x2 - p.x1) + 1), pixel);
        break;
    case bench::kLine: img.Line(p.x1, p.y1, p.x2, p.y2, pixel); break;
    case bench::kCircle: img.Circle(p.x1, p.y1, p.r, pixel); break;
    case bench::kFilledCircle: img.Disk(p.x1, p.y1, p.r, pixel); break;
    }
}

void DrawSdlGfx(SDL_Surface* s, bench::PrimKind kind, const bench::Prim& p, Uint32 rgba) {
    switch (kind) {
    case bench::kHLine: hlineColor(s, Sint16(p.x1), Sint16(p.x2), Sint16(p.y1), rgba); break;
    case bench::kLine:
        lineColor(s, Sint16(p.x1), Sint16(p.y1), Sint16(p.x2), Sint16(p.y2), rgba);
        break;
    case bench::kCircle: circleColor(s, Sint16(p.x1), Sint16(p.y1), Sint16(p.r), rgba); break;
    case bench::kFilledCircle:
        filledCircleColor(s, Sint16(p.x1), Sint16(p.y1), Sint16(p.r), rgba);
        break;
    }
}

// The thousand primitives of a workload, drawn again at every iteration over the background.
void DrawPrims(benchmark::State& state, bench::PrimKind kind, Lib lib) {
    int bpp = int(state.range(0));
    const std::vector<bench::Prim> prims = bench::Prims(kind);
    std::vector<Uint32> colors;
    for (const bench::Prim& p : prims)
        colors.push_back(lib == kSdlGfx ? bench::GfxColor(p.c) : bench::PixelOf(bpp, p.c));
    QZMImage img(kWidth, kHeight, unsigned(bpp));
    img.Rectangle(0, 0, kWidth, kHeight, bench::PixelOf(bpp, bench::kBackgroundIndex));
    SDL_Surface* surface =
        lib == kSdlGfx ? bench::SdlSurface(int(kWidth), int(kHeight), bpp) : nullptr;
    if (lib == kSdlGfx && !surface) {
        state.SkipWithError("no SDL surface");
        return;
    }
    if (surface) SDL_FillRect(surface, nullptr, bench::PixelOf(bpp, bench::kBackgroundIndex));
    for (auto _ : state) {
        for (size_t i = 0; i < prims.size(); ++i) {
            const bench::Prim& p = prims[i];
            if (lib == kQzm) DrawQzm(img, kind, p, colors[i]);
            if (lib == kSdlGfx) DrawSdlGfx(surface, kind, p, colors[i]);
            if (lib == kMemset)
                std::memset(img.pixels + p.y1 * img.pitch + std::min(p.x1, p.x2) * (bpp / 8),
                            int(colors[i] & 0xFF), size_t(std::abs(p.x2 - p.x1) + 1) * (bpp / 8));
        }
        benchmark::DoNotOptimize(img.pixels);
        benchmark::ClobberMemory();
    }
    SDL_FreeSurface(surface);
    state.SetItemsProcessed(int64_t(state.iterations()) * int64_t(prims.size()));
}

// The pixels of each line in the order they are drawn, as byte offsets into a 640x480 image of
// the given depth: found by drawing the line alone and taking, at each step along its longer
// axis, the one pixel it set.
std::vector<std::vector<uint32_t>> LineOffsets(const std::vector<bench::Prim>& lines, int bpp) {
    QZMImage marks(kWidth, kHeight, 8);
    std::vector<std::vector<uint32_t>> offsets;
    for (const bench::Prim& p : lines) {
        marks.Rectangle(0, 0, kWidth, kHeight, 0);
        marks.Line(p.x1, p.y1, p.x2, p.y2, 1);
        const bool steep = std::abs(p.y2 - p.y1) > std::abs(p.x2 - p.x1);
        const int from = steep ? p.y1 : p.x1, to = steep ? p.y2 : p.x2, dir = to >= from ? 1 : -1;
        const int lo = steep ? std::min(p.x1, p.x2) : std::min(p.y1, p.y2);
        const int hi = steep ? std::max(p.x1, p.x2) : std::max(p.y1, p.y2);
        std::vector<uint32_t> line;
        for (int major = from;; major += dir) {
            for (int minor = lo; minor <= hi; ++minor) {
                int x = steep ? minor : major, y = steep ? major : minor;
                if (marks.GetPixel(x, y)) line.push_back(uint32_t(y * kWidth + x) * (bpp / 8));
            }
            if (major == to) break;
        }
        offsets.push_back(std::move(line));
    }
    return offsets;
}

// Pixels of 1, 2 or 4 bytes in one store each; 24-bit ones in two (2 bytes, then 1).
template <size_t kBytes>
void StorePixels(uint8_t* pixels, const std::vector<uint32_t>& offsets, uint32_t pixel) {
    const size_t head = kBytes == 3 ? 2 : kBytes;
    for (uint32_t at : offsets) {
        std::memcpy(pixels + at, &pixel, head);
        if (kBytes == 3) pixels[at + 2] = uint8_t(pixel >> 16);
    }
}

// The limit of lines: the same pixel stores in the same order, replayed from recorded offsets.
// Every line drawer pays for them; what it adds is the cost of finding the pixels.
void BM_LineStores(benchmark::State& state) {
    const int bpp = int(state.range(0));
    const std::vector<bench::Prim> lines = bench::Prims(bench::kLine);
    const std::vector<std::vector<uint32_t>> offsets = LineOffsets(lines, bpp);
    QZMImage img(kWidth, kHeight, unsigned(bpp));
    const auto store = bpp == 8    ? StorePixels<1>
                       : bpp == 16 ? StorePixels<2>
                       : bpp == 24 ? StorePixels<3>
                                   : StorePixels<4>;
    for (auto _ : state) {
        for (size_t i = 0; i < lines.size(); ++i)
            store(img.pixels, offsets[i], bench::PixelOf(bpp, lines[i].c));
        benchmark::DoNotOptimize(img.pixels);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * int64_t(lines.size()));
}
BENCHMARK(BM_LineStores)->Name("BM_Line/stores")->Apply(Depths);

// BM_<primitive>/<library>/<bpp>; memset of the same bytes is the limit of horizontal lines.
const bool kPrimsRegistered = [] {
    const std::pair<const char*, bench::PrimKind> prims[] = {
        {"BM_HLine", bench::kHLine},
        {"BM_Line", bench::kLine},
        {"BM_Circle", bench::kCircle},
        {"BM_Disk", bench::kFilledCircle}};
    const std::pair<const char*, Lib> libs[] = {
        {"qzm", kQzm}, {"sdl_gfx", kSdlGfx}, {"memset", kMemset}};
    for (const auto& prim : prims)
        for (const auto& lib : libs)
            if (lib.second != kMemset || prim.second == bench::kHLine)
                benchmark::RegisterBenchmark((std::string(prim.first) + "/" + lib.first).c_str(),
                                             DrawPrims, prim.second, lib.second)
                    ->Apply(Depths);
    return true;
}();

// Lines and circles far larger than the image that cross it: the cost follows the visible part.
void BM_HugeFiguresAcross(benchmark::State& state) {
    const int r = 2000000000;
    QZMImage img(kWidth, kHeight, 32);
    for (auto _ : state) {
        img.Circle(320, 240 + r - 10, r, 0xFFFFFF);
        img.Disk(320, 240 + r - 10, r, 0x808080);
        img.Disk(320 - r + 10, 240, r, 0x404040);
        for (int i = 0; i < 100; ++i) {
            int a = r - i * 7919, b = r / (i + 2);
            if (i & 1)
                img.Line(320 - a, 240 - b, 320 + a, 240 + b, 0xFF00FF);
            else
                img.Line(320 - b, 240 + a, 320 + b, 240 - a, 0xFF00FF, QZMImage::DRAW_XOR);
        }
        benchmark::DoNotOptimize(img.pixels);
    }
}
BENCHMARK(BM_HugeFiguresAcross)->Unit(benchmark::kMillisecond);

void BM_Gradient(benchmark::State& state) {
    unsigned bpp = unsigned(state.range(0));
    int direction = int(state.range(1));
    QZMImage img(kWidth, kHeight, bpp);
    for (auto _ : state) {
        img.Gradient(0, 0, kWidth, kHeight, 0x000010, 0x40F0FF, direction);
        benchmark::DoNotOptimize(img.pixels);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * ImageBytes(bpp));
}
BENCHMARK(BM_Gradient)->ArgsProduct({{8, 32}, {0, 1}});

// 95 glyphs of 6 x 8 pixels with a checker pattern, for the printable codes.
void BM_DrawText(benchmark::State& state) {
    const unsigned count = 95, glyphWidth = 6, glyphHeight = 8;
    QZMImage sheet(count * glyphWidth, glyphHeight, 8);
    for (unsigned y = 0; y < sheet.height; ++y)
        for (unsigned x = 0; x < sheet.width; ++x)
            sheet.pixels[y * sheet.pitch + x] = uint8_t((x + y) & 1);
    QZMFont font("bench", 32, 126, &sheet, 8);
    for (unsigned c = 33; c <= 126; ++c) {
        QZMChar ch{uint16_t((c - 32) * glyphWidth), 0, glyphWidth, glyphHeight, 1};
        font.SetChar(static_cast<unsigned char>(c), &ch);
    }
    font.ascent = 7;
    font.descent = 1;
    font.spacing = 1;
    font.white = 4;
    std::string text;
    for (unsigned i = 0; i < 1000; ++i) text += char(32 + (i * 7) % 95);
    const unsigned perLine = 80;
    QZMImage img(kWidth, kHeight, 32);
    for (auto _ : state) {
        for (unsigned i = 0; i < text.size(); i += perLine)
            img.DrawText(0, int(i / perLine) * 10, text.c_str() + i, 0xFFFFFF, &font, ALIGN_TOP,
                         int(std::min<size_t>(perLine, text.size() - i)));
        benchmark::DoNotOptimize(img.pixels);
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * text.size());
}
BENCHMARK(BM_DrawText);

} // namespace
