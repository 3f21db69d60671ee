#pragma once
// What the bitmap font and the OpenGL font share in measuring and describing text.
#include <cstdint>
#include <new>
#include <qzm/core/Log.h>
#include <qzm/io/ResFile.h>

namespace QZM::internal {

inline bool IsPrintable(unsigned c) { return c >= 32 && c <= 127; }

/// The end of PrintInfo's first and last character lines: " [c]" for a printable code.
inline void LogCharEnding(unsigned c) {
    if (IsPrintable(c))
        QZM::LOG(" [%c]\n", int(c));
    else
        QZM::LOG("\n");
}

/// Reads the information block of the font file into the font's name (new[]), first, last,
/// white, spacing, ascent and descent. False when the name cannot be allocated, and for codes
/// out of order or past 255, which would overrun the glyph tables and make the loops over the
/// codes endless.
template <typename Font> bool ReadFontInfo(QZMResFile& f, Font& font) {
    const unsigned length = f.Read8();
    // One byte more than the file gives, and zeros where it gives less: the name always ends.
    font.name = new (std::nothrow) char[length + 1]();
    if (!font.name) return false;
    f.Read(font.name, length);
    font.first = f.Read32();
    font.last = f.Read32();
    font.white = f.Read8();
    font.spacing = f.Read8();
    font.ascent = int16_t(f.Read16());
    font.descent = int16_t(f.Read16());
    return font.first <= font.last && font.last <= 255;
}

/// font.CharWidth of each of the first len characters (up to the terminator) plus spacing,
/// without the spacing after the last one. Summed in 64 bits and saturated: a long text must
/// not wrap to a small width.
template <typename Font>
unsigned TextAdvance(const Font& font, const char* text, unsigned len, unsigned spacing) {
    uint64_t sum = 0;
    for (unsigned i = 0; i < len && text[i]; i++)
        sum += font.CharWidth(static_cast<unsigned char>(text[i])) + spacing;
    if (sum > 0) sum -= spacing;
    return sum > UINT32_MAX ? UINT32_MAX : unsigned(sum);
}

/// The rows from the highest glyph top to the deepest glyph bottom over the first len
/// characters (up to the terminator); extent(c, above, below) gives a drawn glyph's rows above
/// and below the baseline and is false for a code without one.
template <typename Extent> unsigned TextHeight(const char* text, unsigned len, Extent extent) {
    int up = 0;
    int down = 0;
    for (unsigned i = 0; i < len && text[i]; i++) {
        int above = 0;
        int below = 0;
        if (!extent(static_cast<unsigned char>(text[i]), above, below)) continue;
        if (above > up) up = above;
        if (below > down) down = below;
    }
    return unsigned(up + down);
}

/// PrintInfo's lines from the name to the descent.
inline void LogFontSummary(const char* name, unsigned first, unsigned last, unsigned spacing,
                           unsigned white, int ascent, int descent) {
    QZM::LOG("Font name       : %s\nFirst char      : %d", name, int(first));
    LogCharEnding(first);
    QZM::LOG("Last char       : %d", int(last));
    LogCharEnding(last);
    QZM::LOG("  Total         : %d\nChar spacing    : %d\nWhite char size : %d\n",
             int(last - first + 1), int(spacing), int(white));
    QZM::LOG("Ascent          : %d\nDescent         : %d\n", ascent, descent);
}

} // namespace QZM::internal
