#pragma once
#include <cstdint>
#include <qzm/resource/Resource.h>

struct Q3DTexture;

/// One glyph: its place in the glyph sheet's texture and its size in pixels.
struct Q3DGlyph {
    float s0;      ///< left edge, as a fraction of the padded sheet width
    float t0;      ///< top edge, as a fraction of the padded sheet height
    float s1;      ///< right edge
    float t1;      ///< bottom edge
    uint8_t width; ///< 0: no glyph
    uint8_t height;
    int8_t below; ///< rows below the baseline
    int8_t above; ///< height - below: rows above the baseline
};

/// A bitmap font drawn with textured OpenGL quads. It reads the metrics and glyph table of a
/// "QZMF" font file; the glyph sheet reaches OpenGL as a texture that the application makes
/// (padded to powers of two, as Load assumes) and attaches. Load-only.
class Q3DFont : public QZMResource {
public:
    /// What y stands for in the drawing calls; any other value means the baseline.
    enum FontAlign : int { ALIGN_TOP = 0, ALIGN_BOTTOM = 1, ALIGN_BASELINE = 2 };

    char* name;          ///< owned; null means that no font is loaded
    Q3DTexture* texture; ///< not owned; nothing is drawn without it
    uint32_t first;      ///< first character code of the glyph table
    uint32_t last;       ///< last character code
    Q3DGlyph* glyphs;    ///< owned, last - first + 1 records
    int16_t ascent;
    int16_t descent;
    uint8_t spacing; ///< extra advance after every character
    uint8_t white;   ///< advance of a space

    /// Loads the named disk file; a null name gives an empty font.
    explicit Q3DFont(const char* filename = nullptr);
    Q3DFont(const Q3DFont&) = delete;
    Q3DFont& operator=(const Q3DFont&) = delete;
    ~Q3DFont() override;

    /// Counts the glyph table one record short, as the bitmap font does.
    uint32_t MemoryUsed() const override;
    /// format 0 only; other versions than 2 are read as version 2 after a message.
    bool Load(QZMResFile& f, int format) override;
    /// Always false: the font cannot be saved.
    bool Save(QZMResFile& f, int format) override;
    /// Frees name and glyph table and zeroes the metrics; the texture stays attached.
    void Free();

    unsigned int CharWidth(unsigned char c) const;
    unsigned int CharHeight(unsigned char c) const;
    /// n characters at most (0xFFFFFFFF: up to the terminator), spacing between them.
    unsigned int TextWidth(const char* s, unsigned int n = 0xFFFFFFFF) const;
    void TextSize(const char* s, unsigned int& width, unsigned int& height,
                  unsigned int n = 0xFFFFFFFF) const;

    /// One quad with every coordinate scaled, the position included. Binds nothing and
    /// enables nothing: the caller does.
    void DrawChar(int x, int y, unsigned char c, float scale = 1.0f);
    /// The same quad at the model-view origin.
    void DrawChar(unsigned char c, float scale = 1.0f);
    /// Scales the glyphs, not the position. An explicit n is drawn through zero bytes.
    /// Leaves blending enabled and texturing disabled.
    void DrawString(int x, int y, const char* s, unsigned int n = 0xFFFFFFFF, float scale = 1.0f,
                    FontAlign align = ALIGN_BASELINE);
    /// At the model-view origin, moving it glyph by glyph; a space advances unscaled.
    void DrawString(const char* s, unsigned int n = 0xFFFFFFFF, float scale = 1.0f,
                    FontAlign align = ALIGN_BASELINE);
    /// Glyphs left of xmin are skipped; the first one reaching past xmax ends the string.
    void DrawClipString(int x, int y, int xmin, int xmax, const char* s,
                        unsigned int n = 0xFFFFFFFF, float scale = 1.0f,
                        FontAlign align = ALIGN_BASELINE);

    /// With chars, each glyph's texture coordinates rounded to integers, as designed.
    void PrintInfo(bool chars = false) const;

private:
    const Q3DGlyph* PrivateGlyph(unsigned char c) const;
    bool PrivateBegin(const char* s, unsigned int& n);
    float PrivateBaseline(int y, float scale, FontAlign align) const;
    bool PrivateReadGlyphs(QZMResFile& f);
    void PrivateScaleToSheet(QZMResFile& f);
};
