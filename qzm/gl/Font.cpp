#include <qzm/gl/Font.h>

#include <GL/gl.h>
#include <cmath>
#include <cstring>
#include <new>
#include <qzm/core/Log.h>
#include <qzm/gfx/internal/FontText.h>
#include <qzm/gl/TexMgr.h>
#include <qzm/io/File.h>

namespace {

const char kMagic[4] = {'Q', 'Z', 'M', 'F'};
const unsigned kVersion = 2;
const unsigned kRecordBytes = 8;
const unsigned char kSpace = 32;
const unsigned kWholeString = 0xFFFFFFFF;

using QZM::internal::IsPrintable;

// The smallest power of two that is at least 2 and not below n.
float PaddedSize(uint32_t n) {
    double size = 2;
    while (size < n) size *= 2;
    return float(size);
}

Q3DGlyph DecodeGlyph(const uint8_t* p) {
    Q3DGlyph g;
    const unsigned x = unsigned(p[0] | p[1] << 8);
    const unsigned y = unsigned(p[2] | p[3] << 8);
    g.width = p[4];
    g.height = p[5];
    // Only the low byte of the 16-bit field.
    g.below = int8_t(p[6]);
    g.above = int8_t(g.height - g.below);
    g.s0 = float(x);
    g.t0 = float(y);
    g.s1 = float(x + g.width);
    g.t1 = float(y + g.height);
    return g;
}

// The glyph's four corners, inside glBegin(GL_QUADS); left and baseline already scaled.
void Quad(const Q3DGlyph& g, float left, float baseline, float scale) {
    const float top = baseline - g.above * scale;
    const float bottom = baseline + g.below * scale;
    const float right = left + g.width * scale;
    glTexCoord2f(g.s0, g.t0);
    glVertex2f(left, top);
    glTexCoord2f(g.s0, g.t1);
    glVertex2f(left, bottom);
    glTexCoord2f(g.s1, g.t1);
    glVertex2f(right, bottom);
    glTexCoord2f(g.s1, g.t0);
    glVertex2f(right, top);
}

} // namespace

Q3DFont::Q3DFont(const char* filename)
    : name(nullptr), texture(nullptr), first(0), last(0), glyphs(nullptr), ascent(0), descent(0),
      spacing(0), white(0) {
    if (!filename) return;
    QZMFile file(filename, QZMResFile::READ);
    if (!Load(file, 0)) {
        QZM::DBG("Bad font file %s\n", filename);
        Free();
    }
}

Q3DFont::~Q3DFont() { Free(); }

void Q3DFont::Free() {
    delete[] name;
    delete[] glyphs;
    name = nullptr;
    glyphs = nullptr;
    first = last = 0;
    ascent = descent = 0;
    spacing = white = 0;
}

uint32_t Q3DFont::MemoryUsed() const {
    const uint32_t nameBytes = name ? uint32_t(strlen(name)) + 1 : 0;
    return nameBytes + (last - first) * uint32_t(sizeof(Q3DGlyph)) + uint32_t(sizeof *this);
}

bool Q3DFont::Save(QZMResFile&, int) { return false; }

// Reads are not checked: a file cut short, or blocks placed past its end, read as zeros and
// give glyphs of no size.
bool Q3DFont::Load(QZMResFile& f, int format) {
    if (format != 0 || f.state != QZMResFile::ST_OK) return false;
    char magic[4];
    if (f.Read(magic, 4) != 4 || memcmp(magic, kMagic, 4) != 0) return false;
    const unsigned version = f.Read8();
    if (version != kVersion) QZM::LOG("3DFont: unknown format version %d\n", version);
    uint32_t offsets[3];
    for (uint32_t& offset : offsets) offset = f.Read32();
    Free();
    f.Seek(int(offsets[0]), 0);
    // Codes out of order or past 255 can never be drawn and would size the table absurdly.
    const bool info = QZM::internal::ReadFontInfo(f, *this);
    f.Seek(int(offsets[1]), 0);
    if (!info || !PrivateReadGlyphs(f)) {
        Free();
        return false;
    }
    f.Seek(int(offsets[2]), 0);
    PrivateScaleToSheet(f);
    return true;
}

bool Q3DFont::PrivateReadGlyphs(QZMResFile& f) {
    const unsigned count = last - first + 1;
    glyphs = new (std::nothrow) Q3DGlyph[count];
    if (!glyphs) return false;
    uint8_t records[256 * kRecordBytes] = {};
    f.Read(records, count * kRecordBytes);
    for (unsigned i = 0; i < count; i++) glyphs[i] = DecodeGlyph(records + i * kRecordBytes);
    return true;
}

// The sheet's pixels stay in the file: only its size matters, as the texture's is padded.
void Q3DFont::PrivateScaleToSheet(QZMResFile& f) {
    const float sheetWidth = PaddedSize(f.Read32());
    const float sheetHeight = PaddedSize(f.Read32());
    for (unsigned i = 0; i <= last - first; i++) {
        glyphs[i].s0 /= sheetWidth;
        glyphs[i].s1 /= sheetWidth;
        glyphs[i].t0 /= sheetHeight;
        glyphs[i].t1 /= sheetHeight;
    }
}

const Q3DGlyph* Q3DFont::PrivateGlyph(unsigned char c) const {
    return glyphs && c >= first && c <= last ? &glyphs[c - first] : nullptr;
}

unsigned int Q3DFont::CharWidth(unsigned char c) const {
    if (c == kSpace) return white;
    const Q3DGlyph* g = PrivateGlyph(c);
    return g ? g->width : 0;
}

unsigned int Q3DFont::CharHeight(unsigned char c) const {
    const Q3DGlyph* g = c == kSpace ? nullptr : PrivateGlyph(c);
    return g ? g->height : 0;
}

unsigned int Q3DFont::TextWidth(const char* s, unsigned int n) const {
    if (!name || !s || n == 0) return 0;
    return QZM::internal::TextAdvance(*this, s, n, spacing);
}

void Q3DFont::TextSize(const char* s, unsigned int& width, unsigned int& height,
                       unsigned int n) const {
    width = height = 0;
    if (!name || !s || n == 0) return;
    width = TextWidth(s, n);
    height = QZM::internal::TextHeight(s, n, [this](unsigned char c, int& above, int& below) {
        const Q3DGlyph* g = c == kSpace ? nullptr : PrivateGlyph(c);
        if (!g) return false;
        above = g->above;
        below = g->below;
        return true;
    });
}

void Q3DFont::DrawChar(int x, int y, unsigned char c, float scale) {
    const Q3DGlyph* g = c == kSpace ? nullptr : PrivateGlyph(c);
    if (!g) return;
    glBegin(GL_QUADS);
    Quad(*g, x * scale, y * scale, scale);
    glEnd();
}

void Q3DFont::DrawChar(unsigned char c, float scale) { DrawChar(0, 0, c, scale); }

// Checks that there is something to draw and sets texturing up; n becomes the count.
bool Q3DFont::PrivateBegin(const char* s, unsigned int& n) {
    if (!s || !*s || !texture) return false;
    if (n == kWholeString) n = unsigned(strlen(s));
    glEnable(GL_TEXTURE_2D);
    glEnable(GL_BLEND);
    glBindTexture(GL_TEXTURE_2D, texture->id);
    if (n > 0) return true;
    glDisable(GL_TEXTURE_2D);
    return false;
}

float Q3DFont::PrivateBaseline(int y, float scale, FontAlign align) const {
    if (align == ALIGN_TOP) return y + ascent * scale;
    if (align == ALIGN_BOTTOM) return y - descent * scale;
    return float(y);
}

void Q3DFont::DrawString(int x, int y, const char* s, unsigned int n, float scale,
                         FontAlign align) {
    DrawClipString(x, y, INT32_MIN, INT32_MAX, s, n, scale, align);
}

void Q3DFont::DrawString(const char* s, unsigned int n, float scale, FontAlign align) {
    if (!PrivateBegin(s, n)) return;
    glMatrixMode(GL_MODELVIEW);
    glPushMatrix();
    // The alignment and the advance of a space are not scaled here, unlike the glyphs'.
    if (align == ALIGN_TOP)
        glTranslatef(0, ascent, 0);
    else if (align == ALIGN_BOTTOM)
        glTranslatef(0, -descent, 0);
    for (unsigned i = 0; i < n; i++) {
        const unsigned char c = static_cast<unsigned char>(s[i]);
        const Q3DGlyph* g = PrivateGlyph(c);
        if (c == kSpace) {
            glTranslatef(float(white + spacing), 0, 0);
        } else if (g && g->width) {
            glBegin(GL_QUADS);
            Quad(*g, 0, 0, scale);
            glEnd();
            glTranslatef((g->width + spacing) * scale, 0, 0);
        }
    }
    glPopMatrix();
    glDisable(GL_TEXTURE_2D);
}

void Q3DFont::DrawClipString(int x, int y, int xmin, int xmax, const char* s, unsigned int n,
                             float scale, FontAlign align) {
    if (x > xmax || !PrivateBegin(s, n)) return;
    const float baseline = PrivateBaseline(y, scale, align);
    float pen = float(x);
    glBegin(GL_QUADS);
    for (unsigned i = 0; i < n; i++) {
        const unsigned char c = static_cast<unsigned char>(s[i]);
        const Q3DGlyph* g = PrivateGlyph(c);
        if (c == kSpace) {
            pen += (white + spacing) * scale;
        } else if (g && g->width) {
            if (pen + g->width * scale > float(xmax)) break;
            if (pen >= float(xmin)) Quad(*g, pen, baseline, scale);
            pen += (g->width + spacing) * scale;
        }
    }
    glEnd();
    glDisable(GL_TEXTURE_2D);
}

void Q3DFont::PrintInfo(bool chars) const {
    if (!name) {
        QZM::LOG("Font not defined\n");
        return;
    }
    QZM::internal::LogFontSummary(name, first, last, spacing, white, ascent, descent);
    if (!chars || !glyphs) return;
    QZM::LOG("------------------- Characters :\n");
    for (uint32_t c = first; c <= last; c++) {
        const Q3DGlyph& g = glyphs[c - first];
        QZM::LOG("Char %d [%c] : %3d %3d %3d %3d %3d\n", int(c), IsPrintable(c) ? int(c) : ' ',
                 int(std::lround(g.s0)), int(std::lround(g.t0)), int(std::lround(g.s1)),
                 int(std::lround(g.t1)), g.below);
    }
}

