// The screen's blits and horizontal lines on a 640x480 video surface (SDL's dummy driver unless
// another is chosen), next to SDL 1.2's blits and SDL_gfx's lines on the same surface: the
// workloads of the image blit and primitive benchmarks, drawn straight on the display.
#include <qzm/gfx/Image.h>
#include <qzm/gfx/Screen.h>

#include <SDL.h>
#include <SDL_gfxPrimitives.h>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "../support/SdlSurface.h"

namespace {

using bench::kSprite;

enum Work { kBlit, kBlitKey, kHLine };

// The display in the depth, with the 3-3-2 palette at 8 bits; null when SDL gives no mode.
SDL_Surface* OpenDisplay(int bpp) {
    setenv("SDL_VIDEODRIVER", "dummy", 0);
    QZMScreen* screen = QZMScreen::Singleton();
    if (!screen || !screen->Init(bench::kSurfaceW, bench::kSurfaceH, 0, unsigned(bpp)))
        return nullptr;
    if (SDL_Surface* colors = bench::SdlSurface(1, 1, 8)) {
        SDL_SetColors(screen->surface, colors->format->palette->colors, 0, 256);
        SDL_FreeSurface(colors);
    }
    SDL_FillRect(screen->surface, nullptr, bench::PixelOf(bpp, bench::kBackgroundIndex));
    return screen->surface;
}

// One batch of the workload's 1000 blits or lines per iteration.
template <class Draw> void RunBatches(benchmark::State& state, SDL_Surface* display, Draw draw) {
    if (!display) return state.SkipWithError("no video mode");
    for (auto _ : state) {
        draw();
        benchmark::DoNotOptimize(display->pixels);
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * 1000);
}

void Qzm(benchmark::State& state, Work work, int bpp) {
    SDL_Surface* display = OpenDisplay(bpp);
    QZMScreen* screen = QZMScreen::Singleton();
    QZMImage sprite(kSprite, kSprite, unsigned(bpp));
    bench::PutSprite(sprite.pixels, sprite.pitch, bpp);
    unsigned key = bench::PixelOf(bpp, bench::kKeyIndex);
    std::vector<std::pair<int, int>> at = bench::BlitPositions();
    std::vector<bench::Prim> lines = bench::Prims(bench::kHLine);
    RunBatches(state, display, [&] {
        if (work == kHLine)
            for (const bench::Prim& p : lines)
                screen->HLine(std::min(p.x1, p.x2), p.y1, unsigned(std::abs(p.x2 - p.x1) + 1),
                              bench::PixelOf(bpp, p.c));
        else if (work == kBlitKey)
            for (const auto& p : at)
                screen->TCopyImage(p.first, p.second, key, &sprite, 0, 0, kSprite, kSprite);
        else
            for (const auto& p : at)
                screen->CopyImage(p.first, p.second, &sprite, 0, 0, kSprite, kSprite);
    });
}

void Sdl(benchmark::State& state, Work work, int bpp) {
    SDL_Surface* display = OpenDisplay(bpp);
    SDL_Surface* sprite = bench::SdlSurface(kSprite, kSprite, bpp);
    if (!sprite) return state.SkipWithError("SDL_CreateRGBSurface failed");
    bench::PutSprite(static_cast<uint8_t*>(sprite->pixels), sprite->pitch, bpp);
    if (work == kBlitKey)
        SDL_SetColorKey(sprite, SDL_SRCCOLORKEY, bench::PixelOf(bpp, bench::kKeyIndex));
    std::vector<std::pair<int, int>> at = bench::BlitPositions();
    std::vector<bench::Prim> lines = bench::Prims(bench::kHLine);
    RunBatches(state, display, [&] {
        if (work == kHLine)
            for (const bench::Prim& p : lines)
                hlineColor(display, Sint16(p.x1), Sint16(p.x2), Sint16(p.y1), bench::GfxColor(p.c));
        else
            for (const auto& p : at) {
                SDL_Rect place{Sint16(p.first), Sint16(p.second), 0, 0};
                SDL_BlitSurface(sprite, nullptr, display, &place);
            }
    });
    SDL_FreeSurface(sprite);
}

// BM_Screen<work>/<library>/<bpp>, each next to its peer.
const bool g_registered = [] {
    using Run = void (*)(benchmark::State&, Work, int);
    const std::pair<const char*, Work> works[] = {
        {"BM_ScreenBlit", kBlit}, {"BM_ScreenBlitKey", kBlitKey}, {"BM_ScreenHLine", kHLine}};
    for (const auto& work : works)
        for (int bpp : {8, 16, 24, 32}) {
            const char* peer = work.second == kHLine ? "sdl_gfx" : "sdl";
            for (auto [lib, run] : {std::pair<const char*, Run>{"qzm", Qzm}, {peer, Sdl}}) {
                std::string name = std::string(work.first) + "/" + lib + "/" + std::to_string(bpp);
                benchmark::RegisterBenchmark(
                    name.c_str(),
                    [run = run, w = work.second, bpp](benchmark::State& s) { run(s, w, bpp); });
            }
        }
    return true;
}();

} // namespace
