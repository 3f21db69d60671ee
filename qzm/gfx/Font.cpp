#include <qzm/gfx/Font.h>

#include <cstring>
#include <new>
#include <qzm/core/Log.h>
#include <qzm/core/String.h>
#include <qzm/gfx/Image.h>
#include <qzm/gfx/internal/ByteOrder.h>
#include <qzm/gfx/internal/FontText.h>
#include <qzm/gfx/internal/GlyphSheet.h>
#include <qzm/io/File.h>
#include <qzm/io/internal/Bounds.h>

namespace {

const char kMagic[4] = {'Q', 'Z', 'M', 'F'};
const uint8_t kVersion = 2;
const uint32_t kInfoOffset = 17;
const uint32_t kOffsetsPos = 9;
const unsigned kRecordBytes = 8;
const unsigned char kSpace = 32;
const unsigned char kTab = 9;
// The name's length byte counts the terminator.
const size_t kMaxNameChars = 254;

using QZM::internal::LoadLE16;
using QZM::internal::StoreLE16;
using QZM::internal::IsPrintable;

void DecodeRecord(const uint8_t* p, QZMChar& ch) {
    ch.x = LoadLE16(p);
    ch.y = LoadLE16(p + 2);
    ch.width = p[4];
    ch.height = p[5];
    ch.below = int16_t(LoadLE16(p + 6));
}

void EncodeRecord(const QZMChar& ch, uint8_t* p) {
    StoreLE16(p, ch.x);
    StoreLE16(p + 2, ch.y);
    p[4] = ch.width;
    p[5] = ch.height;
    StoreLE16(p + 6, uint16_t(ch.below));
}

} // namespace

QZMFont::QZMFont(const char* filename)
    : name(nullptr), pixels(nullptr), width(0), height(0), first(0), last(0), chars(nullptr),
      ascent(0), descent(0), spacing(0), white(0), bpp(0) {
    if (!filename) return;
    QZMFile file(filename, QZMResFile::READ);
    if (file.state != QZMResFile::ST_OK || !Load(file, 0))
        QZM::LOG("Font: bad file %s\n", filename);
}

QZMFont::QZMFont(QZMResFile& f, int format) : QZMFont() {
    if (f.state != QZMResFile::ST_OK || !Load(f, format)) QZM::LOG("Font: bad resource file\n");
}

QZMFont::QZMFont(const char* fontName, unsigned firstChar, unsigned lastChar, QZMImage* sheet,
                 unsigned char sheetBpp)
    : QZMFont() {
    name = QZMString::StringCopy(fontName);
    if (firstChar > lastChar) {
        unsigned swapped = firstChar;
        firstChar = lastChar;
        lastChar = swapped;
    }
    first = firstChar > 255 ? 255 : firstChar;
    last = lastChar < first ? first : (lastChar > 255 ? 255 : lastChar);
    chars = new (std::nothrow) QZMChar[last - first + 1]();
    SetImage(sheet, sheetBpp);
}

QZMFont::~QZMFont() { Free(); }

void QZMFont::Free() {
    delete[] name;
    delete[] chars;
    delete[] pixels;
    name = nullptr;
    chars = nullptr;
    pixels = nullptr;
    width = height = first = last = 0;
    ascent = descent = 0;
    spacing = white = 0;
}

uint32_t QZMFont::MemoryUsed() const {
    return width * height + (name ? uint32_t(strlen(name)) : 0) + (last - first) * kRecordBytes +
           uint32_t(sizeof *this);
}

bool QZMFont::Load(QZMResFile& f, int format) {
    if (!PrivateReadMagic(f, format)) return false;
    const unsigned version = f.Read8();
    if (version != kVersion) QZM::LOG("Font: unknown format version %d\n", version);
    uint32_t offsets[3];
    for (uint32_t& offset : offsets) offset = f.Read32();
    Free();
    return PrivateReadBlocks(f, offsets);
}

bool QZMFont::LoadV1(QZMResFile& f, int format) {
    if (!PrivateReadMagic(f, format)) return false;
    Free();
    return PrivateReadBlocks(f, nullptr);
}

bool QZMFont::PrivateReadMagic(QZMResFile& f, int format) {
    if (format > 1 || f.state != QZMResFile::ST_OK) return false;
    char magic[4];
    return f.Read(magic, 4) == 4 && memcmp(magic, kMagic, 4) == 0;
}

// offsets: where the information, table and image blocks start, or null when they follow each
// other. Reads are not checked: a file cut short gives a partly filled font whose missing bytes
// are zero, and glyph records that reach past the sheet are clipped where they are drawn.
bool QZMFont::PrivateReadBlocks(QZMResFile& f, const uint32_t* offsets) {
    auto seek = [&](int block) {
        if (offsets) f.Seek(int(offsets[block]), 0);
    };
    seek(0);
    bool ok = PrivateReadInfo(f);
    if (ok) {
        seek(1);
        ok = PrivateReadTable(f);
    }
    if (ok) {
        seek(2);
        const uint32_t w = f.Read32();
        const uint32_t h = f.Read32();
        bpp = f.Read8();
        // Another depth is refused but keeps what was read so far, without a sheet.
        if (bpp != 1 && bpp != 2 && bpp != 8) return false;
        ok = PrivateReadSheet(f, w, h);
    }
    if (!ok) Free();
    return ok;
}

// A font whose information block is refused is left undefined.
bool QZMFont::PrivateReadInfo(QZMResFile& f) { return QZM::internal::ReadFontInfo(f, *this); }

bool QZMFont::PrivateReadTable(QZMResFile& f) {
    const unsigned count = last - first + 1;
    // Records missing at the end of the file are zero: characters without a glyph.
    uint8_t records[256 * kRecordBytes] = {};
    chars = new (std::nothrow) QZMChar[count]();
    if (!chars) return false;
    f.Read(records, count * kRecordBytes);
    for (unsigned i = 0; i < count; i++) DecodeRecord(records + i * kRecordBytes, chars[i]);
    return true;
}

// Only an absurd sheet is refused: over 64 MiB and more than the rest of the file could fill.
// Rows missing at the end of the file are zero.
bool QZMFont::PrivateReadSheet(QZMResFile& f, uint32_t w, uint32_t h) {
    const uint64_t size = uint64_t(w) * h;
    if (size > SIZE_MAX ||
        !QZM::internal::PlausibleAllocation(f, size, QZM::internal::SheetExpansion(bpp)))
        return false;
    if (size > 0) {
        pixels = new (std::nothrow) uint8_t[size_t(size)];
        if (!pixels) return false;
    }
    width = w;
    height = h;
    return QZM::internal::ReadSheet(f, pixels, w, h, bpp);
}

bool QZMFont::Save(QZMResFile& f, int format) {
    if (format > 1 || f.state != QZMResFile::ST_OK || !name) return false;
    f.Write(kMagic, 4);
    f.Write8(kVersion);
    f.Write32(kInfoOffset);
    f.Write32(0);
    f.Write32(0);
    PrivateWriteInfo(f);
    const int32_t tableOffset = f.GetPos();
    PrivateWriteTable(f);
    const int32_t imageOffset = f.GetPos();
    f.Write32(width);
    f.Write32(height);
    f.Write8(bpp);
    if (!pixels || !QZM::internal::WriteSheet(f, pixels, width, height, bpp) ||
        f.state != QZMResFile::ST_OK)
        return false;
    return f.Seek(int(kOffsetsPos), 0) && f.Write32(uint32_t(tableOffset)) &&
           f.Write32(uint32_t(imageOffset));
}

void QZMFont::PrivateWriteInfo(QZMResFile& f) const {
    // A longer name would not fit its length byte: it is cut so that the file stays readable.
    const size_t length = strnlen(name, kMaxNameChars);
    f.Write8(uint8_t(length + 1));
    f.Write(name, unsigned(length));
    f.Write8(0);
    f.Write32(first);
    f.Write32(last);
    f.Write8(white);
    f.Write8(spacing);
    f.Write16(uint16_t(ascent));
    f.Write16(uint16_t(descent));
}

void QZMFont::PrivateWriteTable(QZMResFile& f) const {
    const unsigned count = last - first + 1;
    uint8_t records[256 * kRecordBytes] = {};
    for (unsigned i = 0; chars && i < count; i++)
        EncodeRecord(chars[i], records + i * kRecordBytes);
    f.Write(records, count * kRecordBytes);
}

void QZMFont::SetFirstChar(unsigned char c) {
    if (c > last || c == first) return;
    const unsigned count = last - c + 1;
    QZMChar* table = new (std::nothrow) QZMChar[count]();
    if (!table) return;
    if (chars && c > first)
        memcpy(table, chars + (c - first), count * sizeof(QZMChar));
    else if (chars)
        memcpy(table + (first - c), chars, (last - first + 1) * sizeof(QZMChar));
    delete[] chars;
    chars = table;
    first = c;
}

void QZMFont::SetLastChar(unsigned char c) {
    if (c < first) return;
    const unsigned count = c - first + 1;
    const unsigned kept = c < last ? count : last - first + 1;
    QZMChar* table = new (std::nothrow) QZMChar[count]();
    if (!table) return;
    if (chars) memcpy(table, chars, kept * sizeof(QZMChar));
    delete[] chars;
    chars = table;
    last = c;
}

void QZMFont::SetChar(unsigned char c, QZMChar* ch) {
    if (!chars || c < first || c > last || c == kSpace) return;
    chars[c - first] = ch ? *ch : QZMChar{};
}

bool QZMFont::SetImage(QZMImage* sheet, unsigned char sheetBpp) {
    if (!sheet || (sheetBpp + 7u) / 8 != sheet->BytesPerPixel()) return false;
    bpp = sheetBpp;
    delete[] pixels;
    pixels = nullptr;
    width = height = 0;
    const uint64_t size = uint64_t(sheet->pitch) * sheet->height;
    if (!sheet->pixels || size == 0 || size > SIZE_MAX) return true;
    pixels = new (std::nothrow) uint8_t[size_t(size)];
    if (!pixels) return true;
    memcpy(pixels, sheet->pixels, size_t(size));
    width = sheet->width;
    height = sheet->height;
    return true;
}

bool QZMFont::PrivateInTable(unsigned char c) const { return chars && c >= first && c <= last; }

unsigned QZMFont::CharWidth(unsigned char c) const {
    if (c == kSpace) return white;
    if (c == kTab) return 8u * white;
    return PrivateInTable(c) ? chars[c - first].width : 0;
}

unsigned QZMFont::CharHeight(unsigned char c) const {
    return c != kSpace && PrivateInTable(c) ? chars[c - first].height : 0;
}

unsigned QZMFont::TextWidth(const char* text, unsigned len) const {
    if (!name || !text || len == 0) return 0;
    return QZM::internal::TextAdvance(*this, text, len, spacing);
}

void QZMFont::TextSize(const char* text, unsigned& w, unsigned& h, unsigned len) const {
    w = h = 0;
    if (!name || !text || len == 0) return;
    w = TextWidth(text, len);
    h = QZM::internal::TextHeight(text, len, [this](unsigned char c, int& above, int& below) {
        if (c == kSpace || c == kTab || !PrivateInTable(c)) return false;
        const QZMChar& ch = chars[c - first];
        above = ch.height - ch.below;
        below = ch.below;
        return true;
    });
}

void QZMFont::PrintInfo(bool listChars) const {
    if (!name) {
        QZM::LOG("Font not defined\n");
        return;
    }
    QZM::internal::LogFontSummary(name, first, last, spacing, white, ascent, descent);
    QZM::LOG("Format (bpp)    : %d\n", bpp);
    if (!listChars || !chars) return;
    QZM::LOG("------------------- Characters :\n");
    for (uint32_t c = first; c <= last; c++) {
        const QZMChar& ch = chars[c - first];
        QZM::LOG("Char %d [%c] : %3d %3d %3d %3d %d\n", int(c), IsPrintable(c) ? int(c) : ' ',
                 ch.x, ch.y, ch.width, ch.height, ch.below);
    }
}

