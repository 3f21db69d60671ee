#include <qzm/gfx/Font.h>
#include <qzm/gfx/Image.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

namespace {

const unsigned kWidth = 640;
const unsigned kHeight = 480;

unsigned ColorFor(unsigned bpp) {
    return bpp == 8 ? 0x5A : 0x12345678;
}

void Depths(benchmark::internal::Benchmark* b) {
    for (int bpp : {8, 16, 24, 32}) b->Arg(bpp);
}

size_t ImageBytes(unsigned bpp) {
    return size_t(kWidth) * kHeight * ((bpp + 7) / 8);
}

void BM_Rectangle(benchmark::State& state) {
    unsigned bpp = unsigned(state.range(0));
    QZMImage img(kWidth, kHeight, bpp);
    for (auto _ : state) {
        img.Rectangle(0, 0, kWidth, kHeight, ColorFor(bpp));
        benchmark::DoNotOptimize(img.pixels);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * ImageBytes(bpp));
}
BENCHMARK(BM_Rectangle)->Apply(Depths);

void BM_HLine(benchmark::State& state) {
    unsigned bpp = unsigned(state.range(0));
    QZMImage img(kWidth, kHeight, bpp);
    for (auto _ : state) {
        for (unsigned y = 0; y < kHeight; ++y) img.HLine(0, int(y), kWidth, ColorFor(bpp));
        benchmark::DoNotOptimize(img.pixels);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * ImageBytes(bpp));
}
BENCHMARK(BM_HLine)->Apply(Depths);

void BM_MemsetSameBytes(benchmark::State& state) {
    std::vector<uint8_t> buffer(ImageBytes(unsigned(state.range(0))));
    for (auto _ : state) {
        std::memset(buffer.data(), 0x5A, buffer.size());
        benchmark::DoNotOptimize(buffer.data());
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * buffer.size());
}
BENCHMARK(BM_MemsetSameBytes)->Apply(Depths);

// The HLine baseline: one memset per row, as many calls as HLine makes.
void BM_MemsetRows(benchmark::State& state) {
    size_t row = ImageBytes(unsigned(state.range(0))) / kHeight;
    std::vector<uint8_t> buffer(row * kHeight);
    for (auto _ : state) {
        for (unsigned y = 0; y < kHeight; ++y) std::memset(buffer.data() + y * row, 0x5A, row);
        benchmark::DoNotOptimize(buffer.data());
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * buffer.size());
}
BENCHMARK(BM_MemsetRows)->Apply(Depths);

void BM_Line(benchmark::State& state) {
    QZMImage img(kWidth, kHeight, 32);
    for (auto _ : state) {
        for (int i = 0; i < 100; ++i)
            img.Line(i * 7 - 50, -10, 639 - i * 5, 490, 0xFF00FF, QZMImage::DrawMode(i & 1));
        benchmark::DoNotOptimize(img.pixels);
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * 100);
}
BENCHMARK(BM_Line);

void BM_Circle(benchmark::State& state) {
    QZMImage img(kWidth, kHeight, 32);
    for (auto _ : state) {
        for (int r = 10; r < 400; r += 4) img.Circle(320, 240, r, 0xFF00FF);
        benchmark::DoNotOptimize(img.pixels);
    }
}
BENCHMARK(BM_Circle);

void BM_Disk(benchmark::State& state) {
    unsigned bpp = unsigned(state.range(0));
    QZMImage img(kWidth, kHeight, bpp);
    for (auto _ : state) {
        img.Disk(320, 240, 230, ColorFor(bpp));
        benchmark::DoNotOptimize(img.pixels);
    }
}
BENCHMARK(BM_Disk)->Apply(Depths);

// Circles far larger than the image whose edge crosses it: the cost follows the visible part.
void BM_HugeCircleEdge(benchmark::State& state) {
    const int r = 2000000000;
    QZMImage img(kWidth, kHeight, 32);
    for (auto _ : state) {
        img.Circle(320, 240 + r - 10, r, 0xFFFFFF);
        img.Disk(320, 240 + r - 10, r, 0x808080);
        img.Disk(320 - r + 10, 240, r, 0x404040);
        benchmark::DoNotOptimize(img.pixels);
    }
}
BENCHMARK(BM_HugeCircleEdge)->Unit(benchmark::kMillisecond);

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
