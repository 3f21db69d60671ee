#include <qzm/gfx/VideoMode.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

const int kDepthCount = 4;
const unsigned kDepths[kDepthCount] = {8, 16, 24, 32};
const int kAnySize = -1;

// b - a, saturated so that far-apart values keep their sign.
int Descending(uint32_t a, uint32_t b) {
    int64_t d = int64_t(b) - int64_t(a);
    return d > INT_MAX ? INT_MAX : d < INT_MIN ? INT_MIN : int(d);
}

int CountRects(SDL_Rect** rects) {
    int n = 0;
    while (rects[n]) ++n;
    return n;
}

// The lists one after the other in a new[] array; null when empty or out of memory.
VideoMode* Concatenate(VideoMode* const* lists, const int* counts, int total) {
    VideoMode* all = total > 0 ? new (std::nothrow) VideoMode[total] : nullptr;
    if (!all) return nullptr;
    VideoMode* next = all;
    for (int d = 0; d < kDepthCount; ++d) next = std::copy(lists[d], lists[d] + counts[d], next);
    return all;
}

} // namespace

int compare_modes(const void* a, const void* b) {
    const VideoMode& ma = *static_cast<const VideoMode*>(a);
    const VideoMode& mb = *static_cast<const VideoMode*>(b);
    if (ma.width != mb.width) return Descending(ma.width, mb.width);
    if (ma.height != mb.height) return Descending(ma.height, mb.height);
    return Descending(ma.bpp, mb.bpp);
}

QZMVideoMode::QZMVideoMode() : QZMSDLMgr(SDL_INIT_VIDEO) {}

const SDL_VideoInfo* QZMVideoMode::VideoInfo() const { return SDL_GetVideoInfo(); }

int QZMVideoMode::GetModes(VideoMode** modes, unsigned flags, unsigned bpp) const {
    if (!modes) return 0;
    *modes = nullptr;
    SDL_PixelFormat format;
    memset(&format, 0, sizeof format);
    format.BitsPerPixel = Uint8(bpp);
    SDL_Rect** rects = SDL_ListModes(&format, flags);
    if (!rects) return 0;
    if (rects == reinterpret_cast<SDL_Rect**>(-1)) return kAnySize;
    int count = CountRects(rects);
    VideoMode* list = new (std::nothrow) VideoMode[count];
    if (!list) return 0;
    for (int i = 0; i < count; ++i) list[i] = {rects[i]->w, rects[i]->h, bpp};
    *modes = list;
    return count;
}

int QZMVideoMode::QueryModes(VideoMode** modes, unsigned flags, unsigned bpp) const {
    flags |= SDL_FULLSCREEN | SDL_HWSURFACE;
    if (bpp != 0) return GetModes(modes, flags, bpp);
    if (!modes) return 0;
    *modes = nullptr;

    VideoMode* lists[kDepthCount] = {};
    int counts[kDepthCount];
    int total = 0;
    bool anySize = false;
    for (int d = 0; d < kDepthCount; ++d) {
        counts[d] = GetModes(&lists[d], flags, kDepths[d]);
        if (counts[d] == kAnySize) anySize = true;
        else total += counts[d];
    }
    VideoMode* all = anySize ? nullptr : Concatenate(lists, counts, total);
    for (VideoMode* list : lists) delete[] list;
    if (anySize) return kAnySize;
    if (!all) return 0;
    qsort(all, total, sizeof(VideoMode), compare_modes);
    *modes = all;
    return total;
}
