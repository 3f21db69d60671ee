#pragma once
#include <SDL.h>
#include <cstdint>
#include <qzm/gfx/SDLMgr.h>

class QZMImage;
class QZMPal;

/// The SDL video surface for 2D work: video mode, cursor, palettes of 8-bit displays, the
/// drawing primitives and blits of QZMImage straight onto the surface, conversion of images to
/// the display's format, presentation, palette fades, screenshots, window title and icon.
/// Drawing keeps to SDL's clip rectangle and follows the image's put and xor rules by the
/// surface's bytes per pixel. Every call is safe without a surface and does nothing then.
class QZMScreen : public QZMSDLMgr {
public:
    enum DrawMode { DRAW_PUT = 0, DRAW_XOR = 1 };

    SDL_Surface* surface; ///< owned by SDL; null until Init succeeds

    static QZMScreen* m_instance;
    static SDL_Cursor* m_cursor; ///< the library's arrow, created by the first successful Init

    static QZMScreen* Singleton();
    QZMScreen(const QZMScreen&) = delete;
    QZMScreen& operator=(const QZMScreen&) = delete;
    ~QZMScreen() override;

    /// A request for both SDL_FULLSCREEN and SDL_RESIZABLE drops SDL_RESIZABLE.
    bool Init(unsigned width, unsigned height, unsigned flags, unsigned bpp);
    /// Resizable windows only (not full screen); keeps the depth and flags.
    bool Resize(unsigned width, unsigned height);

    /// A new palette with the display's colours (owned by the caller); null without one.
    QZMPal* GetPalette() const;
    /// The display's colours first .. first + count - 1 from pal's same entries.
    void SetPalette(QZMPal* pal, unsigned first, unsigned count);
    /// The display's colours from index 0 with all of pal's entries; pal stays the caller's.
    void ReplacePalette(QZMPal* pal);

    /// Inclusive corners, in any order; SDL bounds the rectangle by the surface.
    void SetClipping(int x1, int y1, int x2, int y2);

    /// Reads the bottom row only: 0 for every row above it, as designed. At 2 and 4 bytes per
    /// pixel the row is addressed by the width in pixels instead of the pitch, as designed too.
    uint32_t GetPixel(int x, int y) const;
    void PutPixel(int x, int y, unsigned color);
    /// Xors at 1 byte per pixel, complements the pixel at the other depths.
    void XorPixel(int x, int y, unsigned color);
    void HLine(int x, int y, unsigned len, unsigned color, DrawMode mode = DRAW_PUT);
    void VLine(int x, int y, unsigned len, unsigned color, DrawMode mode = DRAW_PUT);
    void Frame(int x, int y, unsigned w, unsigned h, unsigned color, DrawMode mode = DRAW_PUT);
    /// Unchecked put at a byte offset into the surface's pixels.
    inline void FastPut(unsigned offset, unsigned color);
    /// Unchecked xor at a byte offset: xors at 1 byte per pixel, complements otherwise.
    inline void FastXor(unsigned offset, unsigned char color);

    /// Overlap-safe move of a block within the surface.
    void MoveInside(int sx, int sy, unsigned w, unsigned h, int dx, int dy);
    /// The images below must have the surface's bits per pixel, else nothing is drawn.
    void CopyImage(int x, int y, QZMImage* img, int sx, int sy, unsigned w, unsigned h);
    /// As CopyImage, skipping pixels equal to key by QZMImage::TCopyImage's rules.
    void TCopyImage(int x, int y, unsigned key, QZMImage* img, int sx, int sy, unsigned w,
                    unsigned h);

    /// img itself when it already has the display's depth (not a copy: do not delete it
    /// twice); otherwise a new image in the display's format, owned by the caller.
    QZMImage* ScreenFormat(const QZMImage* img) const;

    /// Shows the part of the rectangle that lies on the surface.
    void Refresh(int x, int y, unsigned w, unsigned h);
    /// Page flip for double-buffered modes, buffer swap for OpenGL modes.
    void Flip();
    /// Fades the display's colours to black in 2 to 64 steps by speed; 8-bit displays only.
    void FadeOut(char speed);
    /// Fades from black up to pal's colours; 8-bit displays only.
    void FadeIn(QZMPal* pal, char speed);
    /// Black palette, surface cleared to 0 and shown.
    void BlackOut();
    /// Saves the surface as prefix + the first free number "000" .. "998" + ".bmp".
    bool BMPScreenshot(const char* prefix);
    /// icon_title null: the title.
    void SetNames(const char* title, const char* icon_title);
    /// With transparent, pixels of value key are transparent.
    void SetIcon(const QZMImage* img, bool transparent, unsigned key);

private:
    QZMScreen();
};

inline void QZMScreen::FastPut(unsigned offset, unsigned color) {
    if (!surface || (SDL_MUSTLOCK(surface) && SDL_LockSurface(surface) < 0)) return;
    // An OpenGL mode has no pixels.
    if (uint8_t* p = static_cast<uint8_t*>(surface->pixels)) {
        // The colour's bytes low byte first, as many as the pixel has.
        for (unsigned i = 0; i < surface->format->BytesPerPixel; ++i)
            p[offset + i] = uint8_t(color >> (8 * i));
    }
    if (SDL_MUSTLOCK(surface)) SDL_UnlockSurface(surface);
}

inline void QZMScreen::FastXor(unsigned offset, unsigned char color) {
    if (!surface || (SDL_MUSTLOCK(surface) && SDL_LockSurface(surface) < 0)) return;
    if (uint8_t* p = static_cast<uint8_t*>(surface->pixels)) {
        const unsigned bytes = surface->format->BytesPerPixel;
        if (bytes == 1)
            p[offset] ^= color;
        else
            for (unsigned i = 0; i < bytes; ++i) p[offset + i] = uint8_t(~p[offset + i]);
    }
    if (SDL_MUSTLOCK(surface)) SDL_UnlockSurface(surface);
}
