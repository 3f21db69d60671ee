#include <qzm/gfx/Screen.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

#include <qzm/gfx/Image.h>
#include <qzm/gfx/Pal.h>
#include <qzm/gfx/internal/Fade.h>
#include <qzm/gfx/internal/PixelBlocks.h>
#include <qzm/gfx/internal/PixelRows.h>
#include <qzm/gfx/internal/ShotName.h>

QZMScreen* QZMScreen::m_instance = nullptr;
SDL_Cursor* QZMScreen::m_cursor = nullptr;

namespace {

using namespace QZM::internal;

static_assert(sizeof(QZMRGBA) == sizeof(SDL_Color), "palette entries are laid out as SDL colours");

// An arrow, white inside with a black outline: rows of two bytes, most significant bit leftmost.
const Uint8 kCursorData[32] = {0x80, 0x00, 0xC0, 0x00, 0xA0, 0x00, 0x90, 0x00, 0x88, 0x00, 0x84,
                               0x00, 0x82, 0x00, 0x81, 0x00, 0x80, 0x80, 0x80, 0x40, 0x80, 0x20,
                               0x8F, 0xF0, 0x90, 0x00, 0xA0, 0x00, 0xC0, 0x00, 0x80, 0x00};
const Uint8 kCursorMask[32] = {0x80, 0x00, 0xC0, 0x00, 0xE0, 0x00, 0xF0, 0x00, 0xF8, 0x00, 0xFC,
                               0x00, 0xFE, 0x00, 0xFF, 0x00, 0xFF, 0x80, 0xFF, 0xC0, 0xFF, 0xE0,
                               0xFF, 0xF0, 0xF0, 0x00, 0xE0, 0x00, 0xC0, 0x00, 0x80, 0x00};

// An 8-bit display has 256 colours.
const int kMaxDisplayColors = 256;

// SDL 1.2 keeps a surface's pitch in 16 bits and rectangle positions in signed 16 bits:
// larger surfaces would wrap inside SDL.
bool FitsSdlSurface(uint64_t width, uint64_t height, unsigned bytesPerPixel) {
    uint64_t pitch = (width * bytesPerPixel + 3) & ~uint64_t(3);
    return width <= 0x7FFF && height <= 0x7FFF && pitch <= 0xFFFF;
}

// Calls use(pixels) with the surface locked while SDL requires it; not at all without pixels
// (an OpenGL mode has none) or when the lock fails.
template <class Use> void Locked(SDL_Surface* s, Use use) {
    if (!s || (SDL_MUSTLOCK(s) && SDL_LockSurface(s) < 0)) return;
    if (s->pixels) use(static_cast<uint8_t*>(s->pixels));
    if (SDL_MUSTLOCK(s)) SDL_UnlockSurface(s);
}

bool HasPixels(SDL_Surface* s) {
    bool has = false;
    Locked(s, [&](uint8_t*) { has = true; });
    return has;
}

// The surface's pixels with SDL's clip rectangle, pixel rules chosen by bytes per pixel.
Plane PlaneOf(const SDL_Surface& s) {
    const SDL_Rect& c = s.clip_rect;
    Box clip{std::max<int64_t>(c.x, 0), std::max<int64_t>(c.y, 0),
             std::min<int64_t>(int64_t(c.x) + c.w, s.w) - 1,
             std::min<int64_t>(int64_t(c.y) + c.h, s.h) - 1};
    unsigned bpp = 8u * s.format->BytesPerPixel;
    return Plane{static_cast<uint8_t*>(s.pixels), s.pitch, s.w, s.h, bpp, clip};
}

template <class Draw> void DrawLocked(SDL_Surface* s, Draw draw) {
    Locked(s, [&](uint8_t*) { draw(PlaneOf(*s)); });
}

// A blit's source: its clipping is not consulted.
Plane SourceOf(const QZMImage& img) {
    return Plane{img.pixels, img.pitch, img.width, img.height, img.bpp, Box{}};
}

bool Blittable(const SDL_Surface* s, const QZMImage* img) {
    return s && img && img->pixels && img->bpp == s->format->BitsPerPixel;
}

void Plot(SDL_Surface* s, int x, int y, unsigned color, bool xorMode) {
    DrawLocked(s, [&](const Plane& plane) {
        if (!plane.clip.Contains(x, y)) return;
        WithPixelWriter(plane.bpp, color, xorMode, [&](auto pixel) { pixel(plane.At(x, y)); });
    });
}

// The image's read rule. Rows are addressed by the pitch at 1 and 3 bytes per pixel and by the
// width in pixels at 2 and 4, as designed; on the bottom row both stay within the surface.
uint32_t ReadPixel(const SDL_Surface& s, const uint8_t* pixels, int x, int y) {
    size_t byPitch = size_t(y) * s.pitch, byWidth = size_t(y) * size_t(s.w) + size_t(x);
    switch (s.format->BytesPerPixel) {
    case 1: return pixels[byPitch + size_t(x)];
    case 2: return LoadLE16(pixels + 2 * byWidth);
    case 3: {
        const uint8_t* p = pixels + byPitch + 3 * size_t(x);
        return uint32_t(p[0]) << 16 | p[1] << 8 | p[2];
    }
    case 4: return LoadLE32(pixels + 4 * byWidth);
    }
    return 0;
}

SDL_Palette* DisplayPalette(const SDL_Surface* s) {
    return s ? s->format->palette : nullptr;
}

// Sets display colours first .. first + count - 1 (cut at the palette's end) on the palettes
// named by which.
void SetDisplayColors(SDL_Surface* s, int which, const SDL_Color* colors, unsigned first,
                      unsigned count) {
    SDL_Palette* display = DisplayPalette(s);
    if (!display || first >= unsigned(display->ncolors)) return;
    count = std::min(count, unsigned(display->ncolors) - first);
    SDL_SetPalette(s, which, const_cast<SDL_Color*>(colors), int(first), int(count));
}

const SDL_Color* ColorsOf(const QZMPal& pal) {
    return reinterpret_cast<const SDL_Color*>(pal.entries);
}

// Red, green and blue times level / 2^shift.
void FadeLevel(const SDL_Color* full, SDL_Color* out, int n, unsigned level, unsigned shift) {
    for (int i = 0; i < n; ++i) {
        out[i] = full[i];
        out[i].r = Uint8(full[i].r * level >> shift);
        out[i].g = Uint8(full[i].g * level >> shift);
        out[i].b = Uint8(full[i].b * level >> shift);
    }
}

// Red, green and blue masks by depth; 8 and 32 bits leave them to SDL.
struct Masks {
    Uint32 red, green, blue;
};

Masks MasksOf(unsigned bpp) {
    switch (bpp) {
    case 15: return {0x7C00, 0x03E0, 0x001F};
    case 16: return {0xF800, 0x07E0, 0x001F};
    case 24: return {0xFF0000, 0xFF00, 0xFF};
    }
    return {0, 0, 0};
}

// An SDL surface over the image's own pixels, with its palette at 8 bits; null for an image
// that SDL cannot take.
SDL_Surface* SurfaceOver(const QZMImage& img, Masks masks) {
    if (!img.pixels || !IsDepth(img.bpp) ||
        !FitsSdlSurface(img.width, img.height, img.BytesPerPixel()))
        return nullptr;
    SDL_Surface* s =
        SDL_CreateRGBSurfaceFrom(img.pixels, int(img.width), int(img.height), img.bpp,
                                 int(img.pitch), masks.red, masks.green, masks.blue, 0);
    if (s && img.bpp == 8 && img.palette && img.palette->size)
        SDL_SetColors(s, const_cast<SDL_Color*>(ColorsOf(*img.palette)), 0,
                      int(std::min<uint32_t>(img.palette->size, kMaxDisplayColors)));
    return s;
}

// A new image with the converted surface's depth and rows; null when it cannot be made.
QZMImage* ImageFrom(SDL_Surface& converted) {
    std::unique_ptr<QZMImage> img(new (std::nothrow) QZMImage(
        unsigned(converted.w), unsigned(converted.h), converted.format->BitsPerPixel));
    if (!img || !img->pixels) return nullptr;
    bool copied = false;
    Locked(&converted, [&](const uint8_t* rows) {
        size_t rowBytes = std::min<size_t>(img->pitch, converted.pitch);
        for (int y = 0; y < converted.h; ++y)
            std::memcpy(img->pixels + size_t(y) * img->pitch, rows + size_t(y) * converted.pitch,
                        rowBytes);
        copied = true;
    });
    return copied ? img.release() : nullptr;
}

// SDL's four-byte colours read as consecutive three-byte triplets, as designed; the triplets
// of ncolors entries stay within the colour array.
QZMPal* TripletPalette(const SDL_Palette& display) {
    QZMPal* pal = new (std::nothrow) QZMPal(unsigned(display.ncolors));
    if (pal)
        pal->SetFromRGB(reinterpret_cast<const unsigned char*>(display.colors),
                        unsigned(display.ncolors), 0);
    return pal;
}

} // namespace

QZMScreen::QZMScreen() : QZMSDLMgr(SDL_INIT_VIDEO), surface(nullptr) {}

QZMScreen* QZMScreen::Singleton() {
    if (!m_instance) m_instance = new (std::nothrow) QZMScreen();
    return m_instance;
}

QZMScreen::~QZMScreen() {
    m_instance = nullptr;
    // The video surface is SDL's: it goes with the video mode.
    surface = nullptr;
    if (m_cursor) {
        SDL_FreeCursor(m_cursor);
        m_cursor = nullptr;
    }
}

bool QZMScreen::Init(unsigned width, unsigned height, unsigned flags, unsigned bpp) {
    // The previous surface is left to SDL, which reuses or frees it for the new mode.
    surface = nullptr;
    if ((flags & SDL_FULLSCREEN) && (flags & SDL_RESIZABLE)) flags &= ~SDL_RESIZABLE;
    // Depth 0 asks for the current one, at most 4 bytes per pixel; a size 0 the current size.
    if (bpp > 32 || !FitsSdlSurface(width, height, bpp ? (bpp + 7) / 8 : 4)) return false;
    surface = SDL_SetVideoMode(int(width), int(height), int(bpp), flags);
    if (!surface) return false;
    if (!m_cursor)
        m_cursor = SDL_CreateCursor(const_cast<Uint8*>(kCursorData),
                                    const_cast<Uint8*>(kCursorMask), 16, 16, 1, 1);
    if (m_cursor) SDL_SetCursor(m_cursor);
    return true;
}

bool QZMScreen::Resize(unsigned width, unsigned height) {
    if (!surface || !(surface->flags & SDL_RESIZABLE) || (surface->flags & SDL_FULLSCREEN) ||
        !FitsSdlSurface(width, height, surface->format->BytesPerPixel))
        return false;
    surface =
        SDL_SetVideoMode(int(width), int(height), surface->format->BitsPerPixel, surface->flags);
    return surface != nullptr;
}

QZMPal* QZMScreen::GetPalette() const {
    SDL_Palette* display = DisplayPalette(surface);
    if (!display) return nullptr;
    QZMPal* pal = new (std::nothrow) QZMPal(unsigned(display->ncolors));
    if (pal) pal->SetFromRGBA(display->colors, unsigned(display->ncolors), 0);
    return pal;
}

void QZMScreen::SetPalette(QZMPal* pal, unsigned first, unsigned count) {
    // Only pal's own entries are read.
    if (!pal || first >= pal->size) return;
    SetDisplayColors(surface, SDL_LOGPAL | SDL_PHYSPAL, ColorsOf(*pal) + first, first,
                     std::min(count, pal->size - first));
}

void QZMScreen::ReplacePalette(QZMPal* pal) {
    if (pal) SetDisplayColors(surface, SDL_LOGPAL | SDL_PHYSPAL, ColorsOf(*pal), 0, pal->size);
}

void QZMScreen::SetClipping(int x1, int y1, int x2, int y2) {
    if (!surface) return;
    if (x1 > x2) std::swap(x1, x2);
    if (y1 > y2) std::swap(y1, y2);
    // Bounded here as SDL would, so that far coordinates cannot wrap in SDL's 16-bit fields.
    int64_t left = std::max(x1, 0), top = std::max(y1, 0);
    int64_t right = std::min<int64_t>(x2, surface->w - 1);
    int64_t bottom = std::min<int64_t>(y2, surface->h - 1);
    SDL_Rect rect{Sint16(left), Sint16(top), Uint16(std::max<int64_t>(right - left + 1, 0)),
                  Uint16(std::max<int64_t>(bottom - top + 1, 0))};
    SDL_SetClipRect(surface, &rect);
}

uint32_t QZMScreen::GetPixel(int x, int y) const {
    // Rows above the bottom one read 0 as designed; rows below it lie outside the surface.
    if (!surface || x < 0 || x > surface->w - 1 || y != surface->h - 1) return 0;
    uint32_t value = 0;
    Locked(surface, [&](const uint8_t* pixels) { value = ReadPixel(*surface, pixels, x, y); });
    return value;
}

void QZMScreen::PutPixel(int x, int y, unsigned color) {
    Plot(surface, x, y, color, false);
}

void QZMScreen::XorPixel(int x, int y, unsigned color) {
    Plot(surface, x, y, color, true);
}

void QZMScreen::HLine(int x, int y, unsigned len, unsigned color, DrawMode mode) {
    DrawLocked(surface, [&](const Plane& plane) { Span(plane, x, y, len, color, mode); });
}

void QZMScreen::VLine(int x, int y, unsigned len, unsigned color, DrawMode mode) {
    DrawLocked(surface, [&](const Plane& plane) { Column(plane, x, y, len, color, mode); });
}

void QZMScreen::Frame(int x, int y, unsigned w, unsigned h, unsigned color, DrawMode mode) {
    DrawLocked(surface,
               [&](const Plane& plane) { QZM::internal::Frame(plane, x, y, w, h, color, mode); });
}

void QZMScreen::MoveInside(int sx, int sy, unsigned w, unsigned h, int dx, int dy) {
    DrawLocked(surface, [&](const Plane& plane) { MoveBlock(plane, sx, sy, w, h, dx, dy); });
}

void QZMScreen::CopyImage(int x, int y, QZMImage* img, int sx, int sy, unsigned w, unsigned h) {
    if (!Blittable(surface, img)) return;
    DrawLocked(surface,
               [&](const Plane& plane) { CopyBlock(plane, SourceOf(*img), x, y, sx, sy, w, h); });
}

void QZMScreen::TCopyImage(int x, int y, unsigned key, QZMImage* img, int sx, int sy, unsigned w,
                           unsigned h) {
    if (!Blittable(surface, img)) return;
    DrawLocked(surface, [&](const Plane& plane) {
        KeyedBlock(plane, SourceOf(*img), x, y, key, sx, sy, w, h);
    });
}

QZMImage* QZMScreen::ScreenFormat(const QZMImage* img) const {
    if (!surface || !img || !img->pixels) return nullptr;
    if (img->bpp == surface->format->BitsPerPixel) return const_cast<QZMImage*>(img);
    // SDL_DisplayFormat makes a surface of the image's size at the display's depth.
    if (!FitsSdlSurface(img->width, img->height, surface->format->BytesPerPixel)) return nullptr;
    SDL_Surface* source = SurfaceOver(*img, MasksOf(img->bpp));
    if (!source) return nullptr;
    SDL_Surface* converted = SDL_DisplayFormat(source);
    SDL_FreeSurface(source);
    if (!converted) return nullptr;
    QZMImage* result = ImageFrom(*converted);
    SDL_FreeSurface(converted);
    SDL_Palette* display = DisplayPalette(surface);
    if (result && result->bpp == 8 && display) result->ReplacePalette(TripletPalette(*display));
    return result;
}

void QZMScreen::Refresh(int x, int y, unsigned w, unsigned h) {
    if (!surface || x >= surface->w || y >= surface->h) return;
    int64_t left = x, top = y, width = w, height = h;
    if (left + width < 0 || top + height < 0) return;
    if (left < 0) {
        width += left;
        left = 0;
    }
    if (top < 0) {
        height += top;
        top = 0;
    }
    width = std::min<int64_t>(width, surface->w - left);
    height = std::min<int64_t>(height, surface->h - top);
    // Nothing is left to show.
    if (width <= 0 || height <= 0) return;
    SDL_Rect rect{Sint16(left), Sint16(top), Uint16(width), Uint16(height)};
    SDL_UpdateRects(surface, 1, &rect);
}

void QZMScreen::Flip() {
    if (!surface) return;
    if (surface->flags & SDL_DOUBLEBUF)
        SDL_Flip(surface);
    else if (surface->flags & SDL_OPENGL)
        SDL_GL_SwapBuffers();
}

void QZMScreen::FadeOut(char speed) {
    SDL_Palette* display = DisplayPalette(surface);
    if (!display) return;
    int n = std::min(display->ncolors, kMaxDisplayColors);
    SDL_Color full[kMaxDisplayColors], level[kMaxDisplayColors];
    std::copy(display->colors, display->colors + n, full);
    unsigned shift = FadeShift(speed);
    // Physical palette only until the last level, which both palettes keep.
    for (int l = (1 << shift) - 1; l >= 0; --l) {
        FadeLevel(full, level, n, unsigned(l), shift);
        SetDisplayColors(surface, SDL_PHYSPAL, level, 0, unsigned(n));
    }
    SetDisplayColors(surface, SDL_LOGPAL | SDL_PHYSPAL, level, 0, unsigned(n));
}

void QZMScreen::FadeIn(QZMPal* pal, char speed) {
    SDL_Palette* display = DisplayPalette(surface);
    if (!pal || !display) return;
    int n =
        int(std::min<uint32_t>(pal->size, uint32_t(std::min(display->ncolors, kMaxDisplayColors))));
    SDL_Color level[kMaxDisplayColors];
    unsigned shift = FadeShift(speed);
    for (unsigned l = 0; l <= 1u << shift; ++l) {
        FadeLevel(ColorsOf(*pal), level, n, l, shift);
        SetDisplayColors(surface, SDL_PHYSPAL, level, 0, unsigned(n));
    }
    SetDisplayColors(surface, SDL_LOGPAL | SDL_PHYSPAL, level, 0, unsigned(n));
}

void QZMScreen::BlackOut() {
    if (!surface) return;
    const SDL_Color black[kMaxDisplayColors] = {};
    SetDisplayColors(surface, SDL_LOGPAL | SDL_PHYSPAL, black, 0, kMaxDisplayColors);
    Locked(surface, [&](uint8_t* pixels) {
        std::memset(pixels, 0, size_t(surface->pitch) * size_t(surface->h));
    });
    SDL_UpdateRect(surface, 0, 0, 0, 0);
}

bool QZMScreen::BMPScreenshot(const char* prefix) {
    if (!HasPixels(surface) || !prefix) return false;
    std::unique_ptr<char[]> name = QZM::internal::FreeShotName(prefix);
    if (!name) return false;
    SDL_RWops* file = SDL_RWFromFile(name.get(), "wb");
    return file && SDL_SaveBMP_RW(surface, file, 1) == 0;
}

void QZMScreen::SetNames(const char* title, const char* icon_title) {
    SDL_WM_SetCaption(title, icon_title ? icon_title : title);
}

void QZMScreen::SetIcon(const QZMImage* img, bool transparent, unsigned key) {
    if (!img) return;
    // Icons take 32-bit pixels with the 24-bit masks.
    SDL_Surface* icon = SurfaceOver(*img, MasksOf(img->bpp == 32 ? 24 : img->bpp));
    if (!icon) return;
    if (transparent) SDL_SetColorKey(icon, SDL_SRCCOLORKEY, key);
    SDL_WM_SetIcon(icon, nullptr);
    SDL_FreeSurface(icon);
}
