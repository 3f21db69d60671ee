#pragma once
#include <SDL.h>
#include <cstdint>
#include <qzm/gfx/SDLMgr.h>

/// One full-screen mode.
struct VideoMode {
    uint32_t width;
    uint32_t height;
    uint32_t bpp;
};

/// Orders modes by width, then height, then bpp, all descending (qsort comparator).
int compare_modes(const void* a, const void* b);

/// Lists the display's full-screen modes.
class QZMVideoMode : public QZMSDLMgr {
public:
    QZMVideoMode();

    const SDL_VideoInfo* VideoInfo() const;
    /// SDL's modes for flags at depth bpp, in SDL's order. *modes gets a new[] array that the
    /// caller deletes, or null. Returns the count, 0 for none, -1 when any size is possible.
    int GetModes(VideoMode** modes, unsigned flags, unsigned bpp) const;
    /// Full-screen hardware modes at depth bpp; bpp 0 gathers 8, 16, 24 and 32 bits and sorts
    /// them with compare_modes. Results as GetModes; -1 when any depth takes any size.
    int QueryModes(VideoMode** modes, unsigned flags, unsigned bpp) const;
};
