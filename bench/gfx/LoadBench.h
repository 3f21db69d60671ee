#pragma once
// The load loops shared by the codec benchmarks: this library's loader and SDL_image's on the
// same bytes in memory.
#include <qzm/gfx/Pal.h>
#include <qzm/io/MemFile.h>

#include <SDL_image.h>
#include <benchmark/benchmark.h>

#include <string>

namespace qzmbench {

using LoadFn = bool (*)(QZMResFile&, unsigned char**, unsigned&, unsigned&, QZMPal**,
                        unsigned short&);

inline void Put(std::string& s, uint32_t v, unsigned bytes) {
    for (unsigned i = 0; i < bytes; i++) s += char(v >> (8 * i));
}

inline void QzmLoadBytes(benchmark::State& state, LoadFn load, const std::string& bytes) {
    unsigned char* pixels = nullptr;
    QZMPal* palette = nullptr;
    unsigned width, height;
    unsigned short bpp;
    for (auto _ : state) {
        QZMMemFile f(unsigned(bytes.size()), QZMResFile::READ,
                     reinterpret_cast<unsigned char*>(const_cast<char*>(bytes.data())));
        if (!load(f, &pixels, width, height, &palette, bpp)) state.SkipWithError("load failed");
        benchmark::DoNotOptimize(pixels);
    }
    delete[] pixels;
    delete palette;
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(bytes.size()));
}

/// type null: SDL_image detects the format from the content.
inline void SdlLoadBytes(benchmark::State& state, const std::string& bytes, const char* type) {
    for (auto _ : state) {
        SDL_RWops* rw = SDL_RWFromConstMem(bytes.data(), int(bytes.size()));
        SDL_Surface* surface =
            type ? IMG_LoadTyped_RW(rw, 1, const_cast<char*>(type)) : IMG_Load_RW(rw, 1);
        if (!surface) state.SkipWithError("SDL_image failed");
        benchmark::DoNotOptimize(surface);
        SDL_FreeSurface(surface);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(bytes.size()));
}

} // namespace qzmbench
