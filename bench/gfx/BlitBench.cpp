// Block copies next to SDL 1.2's blits of the same bytes: 1000 copies of a 32x32 sprite onto a
// 640x480 surface, plain, with a transparent key, and with SDL's run-length accelerated key; and
// whole-image copies next to memcpy.
#include <qzm/gfx/Image.h>

#include <SDL.h>
#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "../support/SdlSurface.h"

namespace {

using bench::kSprite;
using bench::kSurfaceH;
using bench::kSurfaceW;

// Like the peer programs, every tenth batch starts again from the background.
const int kBatchesPerFill = 10;

size_t SurfaceBytes(int bpp) {
    return size_t(kSurfaceW) * kSurfaceH * size_t((bpp + 7) / 8);
}

// One batch of 1000 sprites per iteration; fill() untimed before every tenth.
template <class Fill, class Batch>
void RunBatches(benchmark::State& state, Fill fill, Batch batch) {
    int count = 0;
    for (auto _ : state) {
        if (count++ % kBatchesPerFill == 0) {
            state.PauseTiming();
            fill();
            state.ResumeTiming();
        }
        batch();
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * int64_t(bench::BlitPositions().size()));
}

void QzmBlits(benchmark::State& state, int bpp, bool keyed) {
    QZMImage dst(kSurfaceW, kSurfaceH, unsigned(bpp)), sprite(kSprite, kSprite, unsigned(bpp));
    bench::PutSprite(sprite.pixels, sprite.pitch, bpp);
    unsigned key = bench::PixelOf(bpp, bench::kKeyIndex);
    unsigned background = bench::PixelOf(bpp, bench::kBackgroundIndex);
    std::vector<std::pair<int, int>> at = bench::BlitPositions();
    RunBatches(
        state, [&] { dst.Rectangle(0, 0, kSurfaceW, kSurfaceH, background); },
        [&] {
            for (const auto& p : at) {
                if (keyed)
                    dst.TCopyImage(p.first, p.second, key, &sprite, 0, 0, kSprite, kSprite);
                else
                    dst.CopyImage(p.first, p.second, &sprite, 0, 0, kSprite, kSprite);
            }
            benchmark::DoNotOptimize(dst.pixels);
        });
}

// keyFlags 0 is a plain blit. The first blit, untimed, encodes the runs of an RLE sprite.
void SdlBlits(benchmark::State& state, int bpp, Uint32 keyFlags) {
    SDL_Surface* dst = bench::SdlSurface(kSurfaceW, kSurfaceH, bpp);
    SDL_Surface* sprite = bench::SdlSurface(kSprite, kSprite, bpp);
    if (!dst || !sprite) return state.SkipWithError("SDL_CreateRGBSurface failed");
    bench::PutSprite(static_cast<uint8_t*>(sprite->pixels), sprite->pitch, bpp);
    if (keyFlags) SDL_SetColorKey(sprite, keyFlags, bench::PixelOf(bpp, bench::kKeyIndex));
    std::vector<std::pair<int, int>> at = bench::BlitPositions();
    auto blit = [&](const std::pair<int, int>& p) {
        SDL_Rect place{Sint16(p.first), Sint16(p.second), 0, 0};
        SDL_BlitSurface(sprite, nullptr, dst, &place);
    };
    blit(at[0]);
    Uint32 background = bench::PixelOf(bpp, bench::kBackgroundIndex);
    RunBatches(
        state, [&] { SDL_FillRect(dst, nullptr, background); },
        [&] {
            for (const auto& p : at) blit(p);
            benchmark::DoNotOptimize(dst->pixels);
        });
    SDL_FreeSurface(sprite);
    SDL_FreeSurface(dst);
}

// A whole image onto another; the keyed source holds scattered disks on the key 0.
void QzmWholeImage(benchmark::State& state, int bpp, bool keyed) {
    QZMImage src(kSurfaceW, kSurfaceH, unsigned(bpp)), dst(kSurfaceW, kSurfaceH, unsigned(bpp));
    unsigned color = bench::PixelOf(bpp, 146);
    src.Rectangle(0, 0, kSurfaceW, kSurfaceH, keyed ? 0 : color);
    for (int i = 0; keyed && i < 200; ++i)
        src.Disk(i * 37 % kSurfaceW, i * 53 % kSurfaceH, 20, color);
    for (auto _ : state) {
        if (keyed)
            dst.TCopyImage(0, 0, 0, &src, 0, 0, kSurfaceW, kSurfaceH);
        else
            dst.CopyImage(0, 0, &src, 0, 0, kSurfaceW, kSurfaceH);
        benchmark::DoNotOptimize(dst.pixels);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(SurfaceBytes(bpp)));
}

void MemcpyWholeImage(benchmark::State& state, int bpp) {
    std::vector<uint8_t> src(SurfaceBytes(bpp), 1), dst(src.size());
    for (auto _ : state) {
        std::memcpy(dst.data(), src.data(), src.size());
        benchmark::DoNotOptimize(dst.data());
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(src.size()));
}

// Names like BM_BlitKey/sdl_rle/16: the workload, who runs it, the depth; by depth, so that
// each line sits next to its peers.
const bool g_registered = [] {
    using Run = void (*)(benchmark::State&, int);
    const std::pair<const char*, Run> runs[] = {
        {"BM_Blit/qzm", [](benchmark::State& s, int bpp) { QzmBlits(s, bpp, false); }},
        {"BM_Blit/sdl", [](benchmark::State& s, int bpp) { SdlBlits(s, bpp, 0); }},
        {"BM_BlitKey/qzm", [](benchmark::State& s, int bpp) { QzmBlits(s, bpp, true); }},
        {"BM_BlitKey/sdl", [](benchmark::State& s, int bpp) { SdlBlits(s, bpp, SDL_SRCCOLORKEY); }},
        {"BM_BlitKey/sdl_rle",
         [](benchmark::State& s, int bpp) { SdlBlits(s, bpp, SDL_SRCCOLORKEY | SDL_RLEACCEL); }},
        {"BM_CopyImage/qzm", [](benchmark::State& s, int bpp) { QzmWholeImage(s, bpp, false); }},
        {"BM_CopyImage/memcpy", MemcpyWholeImage},
        {"BM_TCopyImage/qzm", [](benchmark::State& s, int bpp) { QzmWholeImage(s, bpp, true); }},
    };
    for (int bpp : {8, 16, 24, 32})
        for (const auto& run : runs) {
            std::string name = std::string(run.first) + "/" + std::to_string(bpp);
            auto bench = [fn = run.second, bpp](benchmark::State& s) { fn(s, bpp); };
            benchmark::RegisterBenchmark(name.c_str(), bench)->Unit(benchmark::kMicrosecond);
        }
    return true;
}();

} // namespace
