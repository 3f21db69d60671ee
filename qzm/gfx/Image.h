#pragma once
#include <cstdint>
#include <qzm/gfx/Pal.h>
#include <qzm/resource/Resource.h>

class QZMFont;

/// What the y coordinate of the text operations stands for; any other value means the baseline.
enum FontAlign : int { ALIGN_TOP = 0, ALIGN_BOTTOM = 1, ALIGN_BASELINE = 2 };

/// Text settings for QZMImage::DrawTextEx.
struct FontParams {
    QZMFont* font;
    FontAlign align;
    /// Colour of glyph pixel values 1 to 3 (0 is transparent); [3] also for fonts other than 2-bit.
    uint32_t colors[4];
};

/// Memory image of 8, 15, 16, 24 or 32 bits per pixel with clipping and software drawing.
/// Colours are raw pixel values: a palette index at 8 bits, the word at 15/16/32, three bytes
/// low byte first at 24. Format codes: 0 detect (save: PCX up to 8 bits, else TGA RLE),
/// 1 BMP, 2 PCX, 3 GIF (load only), 4 TGA, 5 TGA RLE (save only), 6 font sheet (load only).
class QZMImage : public QZMResource {
public:
    enum DrawMode { DRAW_PUT = 0, DRAW_XOR = 1 };

    uint32_t width;
    uint32_t height;
    int16_t clipX1; ///< clipping rectangle, inclusive on all sides
    int16_t clipX2;
    int16_t clipY1;
    int16_t clipY2;
    uint8_t* pixels; ///< owned, height rows of pitch bytes; null when empty
    QZMPal* palette; ///< owned; 8-bit images only
    uint32_t pitch;  ///< always bytes per pixel x width
    uint16_t bpp;

    /// The buffer is allocated uncleared when width and height are both non-zero.
    QZMImage(unsigned width, unsigned height, unsigned bpp);
    /// Copy of src's pixels; a source palette becomes an empty palette in the copy.
    explicit QZMImage(QZMImage* src);
    QZMImage(const QZMImage&) = delete;
    QZMImage& operator=(const QZMImage&) = delete;
    ~QZMImage() override;

    uint32_t MemoryUsed() const override;
    bool Load(QZMResFile& f, int format) override;
    bool Save(QZMResFile& f, int format) override;
    /// Format code from the first four bytes, 4 (TGA) when none matches; 0 on a short read.
    static int FindFormat(QZMResFile& f);
    void PrintInfo() const;

    unsigned BytesPerPixel() const { return (bpp + 7u) >> 3; }

    /// 8-bit images only: entries first .. first + count - 1 from pal's same indices.
    void SetPalette(QZMPal* pal, unsigned first, unsigned count);
    /// 8-bit images only: takes ownership of pal; at other depths pal is not taken.
    void ReplacePalette(QZMPal* pal);

    /// Ignored when x1 or y1 (after ordering and clamping) lies past the image.
    void SetClipping(int x1, int y1, int x2, int y2);
    bool IsClipping() const;
    void StopClipping();

    /// 0 outside the image; at 24 bits the bytes come back in reverse put order.
    uint32_t GetPixel(int x, int y) const;
    /// Unchecked put at a byte offset into the buffer.
    inline void FastPut(unsigned offset, unsigned color);
    /// Unchecked xor at a byte offset: xors at 8 bits, complements at the other depths.
    inline void FastXor(unsigned offset, unsigned color);

    void HLine(int x, int y, unsigned len, unsigned color, DrawMode mode = DRAW_PUT);
    void VLine(int x, int y, unsigned len, unsigned color, DrawMode mode = DRAW_PUT);
    void Line(int x1, int y1, int x2, int y2, unsigned color, DrawMode mode = DRAW_PUT);
    void Frame(int x, int y, unsigned w, unsigned h, unsigned color, DrawMode mode = DRAW_PUT);
    void Rectangle(int x, int y, unsigned w, unsigned h, unsigned color, DrawMode mode = DRAW_PUT);
    /// direction 0: top to bottom, 1: left to right; put mode only.
    void Gradient(int x, int y, unsigned w, unsigned h, unsigned color1, unsigned color2,
                  int direction, DrawMode mode = DRAW_PUT);
    void Circle(int cx, int cy, int r, unsigned color, DrawMode mode = DRAW_PUT);
    /// Spans cover cx - r .. cx + r - 1: one pixel narrower on the right.
    void Disk(int cx, int cy, int r, unsigned color, DrawMode mode = DRAW_PUT);

    /// Block of src at (sx, sy) to (x, y); same depth only; src's clipping is ignored.
    void CopyImage(int x, int y, QZMImage* src, int sx, int sy, unsigned w, unsigned h);
    /// As CopyImage, skipping source pixels equal to key (at 24 bits: bytes 1, 2 and the next byte
    /// 0).
    void TCopyImage(int x, int y, unsigned key, QZMImage* src, int sx, int sy, unsigned w,
                    unsigned h);
    /// Overlap-safe move of a block within the image.
    void MoveInside(int sx, int sy, unsigned w, unsigned h, int dx, int dy);
    void VFlip();

    /// False for a zero size; keeps the top-left block, bpp and palette.
    bool Resize(unsigned w, unsigned h);
    /// False unless bpp is 8, 15, 16, 24 or 32; the pixels are kept only when nothing changes.
    bool NewFormat(unsigned w, unsigned h, unsigned bpp);

    /// len -1: up to the terminating zero. Text is always put, whatever the draw mode.
    void DrawText(int x, int y, const char* text, unsigned color, QZMFont* font,
                  FontAlign align = ALIGN_BASELINE, int len = -1);
    /// Two-bit fonts in params.colors[pixel]; other fonts as DrawText in params.colors[3].
    void DrawTextEx(int x, int y, const char* text, FontParams& params, int len = -1);
};

inline void QZMImage::FastPut(unsigned offset, unsigned color) {
    uint8_t* p = pixels + offset;
    switch (bpp) {
    case 8: *p = static_cast<uint8_t>(color); break;
    case 15:
    case 16:
        p[0] = static_cast<uint8_t>(color);
        p[1] = static_cast<uint8_t>(color >> 8);
        break;
    case 24:
        p[0] = static_cast<uint8_t>(color);
        p[1] = static_cast<uint8_t>(color >> 8);
        p[2] = static_cast<uint8_t>(color >> 16);
        break;
    case 32:
        p[0] = static_cast<uint8_t>(color);
        p[1] = static_cast<uint8_t>(color >> 8);
        p[2] = static_cast<uint8_t>(color >> 16);
        p[3] = static_cast<uint8_t>(color >> 24);
        break;
    }
}

inline void QZMImage::FastXor(unsigned offset, unsigned color) {
    uint8_t* p = pixels + offset;
    if (bpp == 8) {
        *p ^= static_cast<uint8_t>(color);
        return;
    }
    if (bpp == 15 || bpp == 16 || bpp == 24 || bpp == 32) {
        for (unsigned i = 0; i < BytesPerPixel(); ++i) p[i] = static_cast<uint8_t>(~p[i]);
    }
}
