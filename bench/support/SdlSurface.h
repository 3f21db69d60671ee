#pragma once
// SDL surfaces in the measured workloads' formats, for the peer side of the benchmarks.
#include <SDL.h>

#include "Workload.h"

namespace bench {

// 8 bpp with the 3-3-2 palette, 16 bpp RGB565, 24 and 32 bpp 0x00RRGGBB; null on failure.
inline SDL_Surface* SdlSurface(int w, int h, int bpp) {
    Uint32 red = bpp == 16 ? 0xF800 : bpp >= 24 ? 0xFF0000 : 0;
    Uint32 green = bpp == 16 ? 0x07E0 : bpp >= 24 ? 0x00FF00 : 0;
    Uint32 blue = bpp == 16 ? 0x001F : bpp >= 24 ? 0x0000FF : 0;
    SDL_Surface* s = SDL_CreateRGBSurface(SDL_SWSURFACE, w, h, bpp, red, green, blue, 0);
    if (s && bpp == 8) {
        SDL_Color colors[256];
        for (int i = 0; i < 256; ++i) {
            int r, g, b;
            Pal332(i, r, g, b);
            colors[i] = SDL_Color{Uint8(r), Uint8(g), Uint8(b), 0};
        }
        SDL_SetColors(s, colors, 0, 256);
    }
    return s;
}

// SDL_gfx takes the palette colour as opaque RGBA: alpha 255 is a plain write.
inline Uint32 GfxColor(int index) {
    int r, g, b;
    Pal332(index, r, g, b);
    return Uint32(r) << 24 | Uint32(g) << 16 | Uint32(b) << 8 | 0xFF;
}

} // namespace bench
