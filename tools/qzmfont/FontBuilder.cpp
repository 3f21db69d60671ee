#include "FontBuilder.h"

#include <ft2build.h>
#include FT_FREETYPE_H

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <new>
#include <vector>

#include <qzm/gfx/Font.h>
#include <qzm/gfx/Image.h>
#include <qzm/gfx/Pal.h>

namespace {

// A glyph's width and height are bytes in the font's table.
const unsigned kMaxCell = 255;
const unsigned kSpace = 32;
const unsigned kTab = 9;

// One character: a cell as wide as FreeType's advance and as tall as its bitmap, which lies
// `left` columns from the pen and `top` rows above the baseline.
struct Glyph {
    unsigned code = 0;
    unsigned advance = 0;
    int left = 0;
    int top = 0;
    unsigned rows = 0;
    unsigned columns = 0;
    std::vector<uint8_t> coverage; // rows x columns, 0 to 255
    unsigned x = 0;                // cell's place in the sheet
    unsigned y = 0;

    bool HasInk() const { return advance > 0 && rows > 0; }
};

class Face {
public:
    Face() = default;
    Face(const Face&) = delete;
    Face& operator=(const Face&) = delete;
    ~Face() {
        if (face) FT_Done_Face(face);
        if (library) FT_Done_FreeType(library);
    }

    FT_Library library = nullptr;
    FT_Face face = nullptr;
};

std::string CodeName(unsigned code) {
    char text[32];
    if (code > 32 && code < 127)
        snprintf(text, sizeof text, "character %u '%c'", code, char(code));
    else
        snprintf(text, sizeof text, "character %u", code);
    return text;
}

bool OpenFace(const FontRequest& request, Face& face, std::string& error) {
    const std::string path = request.path;
    // FreeType says "cannot open resource" for every reason; the system's reason is clearer.
    FILE* probe = fopen(request.path, "rb");
    if (!probe) {
        error = path + ": cannot open (" + strerror(errno) + ")";
        return false;
    }
    fclose(probe);
    if (FT_Init_FreeType(&face.library)) {
        error = "FreeType cannot start";
        return false;
    }
    if (FT_New_Face(face.library, request.path, 0, &face.face)) {
        error = path + ": not a font that FreeType can read";
        return false;
    }
    if (FT_Set_Pixel_Sizes(face.face, 0, request.pixelSize)) {
        error = path + ": no " + std::to_string(request.pixelSize) + "-pixel size in this font";
        return false;
    }
    return true;
}

// Monochrome strikes of bitmap fonts give 0 or 255.
bool CopyCoverage(const FT_Bitmap& bitmap, Glyph& glyph) {
    const bool gray = bitmap.pixel_mode == FT_PIXEL_MODE_GRAY && bitmap.num_grays > 1;
    if (!gray && bitmap.pixel_mode != FT_PIXEL_MODE_MONO) return false;
    glyph.rows = bitmap.rows;
    glyph.columns = bitmap.width;
    glyph.coverage.resize(size_t(glyph.rows) * glyph.columns);
    const unsigned pitch = unsigned(std::abs(bitmap.pitch));
    uint8_t* out = glyph.coverage.data();
    for (unsigned r = 0; r < glyph.rows; r++) {
        // A negative pitch stores the bottom row first.
        const uint8_t* row = bitmap.buffer + size_t(bitmap.pitch < 0 ? glyph.rows - 1 - r : r) * pitch;
        for (unsigned c = 0; c < glyph.columns; c++)
            *out++ = gray ? uint8_t(row[c] * 255u / (bitmap.num_grays - 1u))
                          : ((row[c >> 3] >> (7 - (c & 7))) & 1) * 255;
    }
    return true;
}

// FreeType's hinted advance in whole pixels.
unsigned AdvanceOf(const FT_GlyphSlot slot) { return unsigned(std::max(0L, (slot->advance.x + 32) >> 6)); }

bool RenderGlyph(FT_Face face, unsigned code, Glyph& glyph, std::string& error) {
    glyph.code = code;
    const FT_UInt index = FT_Get_Char_Index(face, code);
    // A character that the font lacks has no glyph and advances by the spacing alone.
    if (index == 0) return true;
    if (FT_Load_Glyph(face, index, FT_LOAD_RENDER) || !CopyCoverage(face->glyph->bitmap, glyph)) {
        error = CodeName(code) + ": FreeType cannot render it";
        return false;
    }
    glyph.advance = AdvanceOf(face->glyph);
    glyph.left = face->glyph->bitmap_left;
    glyph.top = face->glyph->bitmap_top;
    if (glyph.advance > kMaxCell || glyph.rows > kMaxCell) {
        error = CodeName(code) + " is " + std::to_string(glyph.advance) + " x " +
                std::to_string(glyph.rows) + " pixels, the font format allows 255 x 255: " +
                "choose a smaller size";
        return false;
    }
    // Keeps ascent, descent and every glyph's rows below the baseline within 16 bits.
    if (std::abs(glyph.top) > INT16_MAX - int(kMaxCell)) {
        error = CodeName(code) + " lies too far from the baseline for the font format";
        return false;
    }
    return true;
}

bool SpaceAdvance(FT_Face face, unsigned& white, std::string& error) {
    if (FT_Load_Char(face, kSpace, FT_LOAD_DEFAULT)) {
        error = "FreeType cannot load the space";
        return false;
    }
    white = AdvanceOf(face->glyph);
    if (white <= kMaxCell) return true;
    error = "the space is " + std::to_string(white) + " pixels wide, the font format allows 255";
    return false;
}

// Shelves in code order, about as wide as the sheet is tall, a blank pixel between cells.
// At most 255 cells of at most 255 x 255 pixels keep every position within 16 bits.
void PlaceGlyphs(std::vector<Glyph>& glyphs, unsigned& width, unsigned& height) {
    uint64_t area = 0;
    unsigned shelfWidth = 1;
    for (const Glyph& g : glyphs) {
        if (!g.HasInk()) continue;
        area += uint64_t(g.advance + 1) * (g.rows + 1);
        shelfWidth = std::max(shelfWidth, g.advance);
    }
    shelfWidth = std::max(shelfWidth, unsigned(std::ceil(std::sqrt(double(area)))));
    unsigned x = 0, y = 0, shelfHeight = 0;
    width = height = 1;
    for (Glyph& g : glyphs) {
        if (!g.HasInk()) continue;
        if (x + g.advance > shelfWidth) {
            x = 0;
            y += shelfHeight + 1;
            shelfHeight = 0;
        }
        g.x = x;
        g.y = y;
        x += g.advance + 1;
        shelfHeight = std::max(shelfHeight, g.rows);
        width = std::max(width, g.x + g.advance);
        height = std::max(height, g.y + g.rows);
    }
}

// Coverage 0-255 to the nearest of the depth's levels 0 .. 2^depth - 1.
uint8_t Level(uint8_t coverage, unsigned depth) {
    const unsigned top = (1u << depth) - 1;
    return uint8_t((coverage * top + 127) / 255);
}

// The font format has no bearings: ink left of the pen or past the advance is cut.
std::unique_ptr<QZMImage> DrawSheet(const std::vector<Glyph>& glyphs, unsigned width,
                                    unsigned height, unsigned depth) {
    std::unique_ptr<QZMImage> sheet(new (std::nothrow) QZMImage(width, height, 8));
    if (!sheet || !sheet->pixels) return nullptr;
    memset(sheet->pixels, 0, size_t(sheet->pitch) * sheet->height);
    for (const Glyph& g : glyphs) {
        if (!g.HasInk()) continue;
        const int from = std::max(0, -g.left);
        const int to = std::min(int(g.columns), int(g.advance) - g.left);
        for (unsigned r = 0; r < g.rows; r++) {
            uint8_t* cell = sheet->pixels + size_t(g.y + r) * sheet->pitch + g.x;
            const uint8_t* in = g.coverage.data() + size_t(r) * g.columns;
            for (int c = from; c < to; c++) cell[g.left + c] = Level(in[c], depth);
        }
    }
    return sheet;
}

std::string FaceName(FT_Face face) {
    std::string name = face->family_name ? face->family_name : "font";
    if (face->style_name) name += std::string(" ") + face->style_name;
    return name;
}

int16_t ToInt16(long value) { return int16_t(std::min<long>(value, INT16_MAX)); }

void SetMetrics(QZMFont& font, FT_Face face, const std::vector<Glyph>& glyphs) {
    // FreeType's line metrics, raised where a glyph reaches further, so that text aligned at
    // its top or bottom shows whole.
    long ascent = (face->size->metrics.ascender + 63) >> 6;
    long descent = (63 - face->size->metrics.descender) >> 6;
    for (const Glyph& g : glyphs) {
        // Blank glyphs (a no-break space) still advance.
        if (g.advance == 0) continue;
        const int16_t below = g.rows ? int16_t(int(g.rows) - g.top) : 0;
        QZMChar record{uint16_t(g.x), uint16_t(g.y), uint8_t(g.advance), uint8_t(g.rows), below};
        font.SetChar(uint8_t(g.code), &record);
        if (!g.rows) continue;
        ascent = std::max<long>(ascent, g.top);
        descent = std::max<long>(descent, below);
    }
    font.ascent = ToInt16(ascent);
    font.descent = ToInt16(descent);
}

} // namespace

std::unique_ptr<QZMFont> BuildFont(const FontRequest& request, std::string& error) {
    Face face;
    if (!OpenFace(request, face, error)) return nullptr;
    std::vector<Glyph> glyphs;
    for (unsigned code = request.first; code <= request.last; code++) {
        // The font draws these two from its space width alone.
        if (code == kSpace || code == kTab) continue;
        glyphs.emplace_back();
        if (!RenderGlyph(face.face, code, glyphs.back(), error)) return nullptr;
    }
    unsigned white = 0;
    if (!SpaceAdvance(face.face, white, error)) return nullptr;
    unsigned width = 0, height = 0;
    PlaceGlyphs(glyphs, width, height);
    std::unique_ptr<QZMImage> sheet = DrawSheet(glyphs, width, height, request.depth);
    std::unique_ptr<QZMFont> font(new (std::nothrow) QZMFont(
        FaceName(face.face).c_str(), request.first, request.last, sheet.get(),
        uint8_t(request.depth)));
    if (!sheet || !font || !font->chars || !font->pixels) {
        error = "out of memory";
        return nullptr;
    }
    SetMetrics(*font, face.face, glyphs);
    font->spacing = uint8_t(request.spacing);
    font->white = uint8_t(white);
    return font;
}

std::unique_ptr<QZMImage> SheetPreview(const QZMFont& font) {
    std::unique_ptr<QZMImage> image(new (std::nothrow) QZMImage(font.width, font.height, 8));
    QZMPal* palette = new (std::nothrow) QZMPal(256u);
    if (!image || !image->pixels || !font.pixels || !palette || !palette->entries) {
        delete palette;
        return nullptr;
    }
    memcpy(image->pixels, font.pixels, size_t(image->pitch) * image->height);
    // The sheet's levels are the palette indices.
    const unsigned top = font.bpp >= 8 ? 255 : (1u << font.bpp) - 1;
    for (unsigned i = 0; i < 256; i++) {
        const uint8_t grey = uint8_t(255 - std::min(i, top) * 255 / top);
        palette->entries[i] = QZMRGBA{grey, grey, grey, 0};
    }
    image->ReplacePalette(palette);
    return image;
}
