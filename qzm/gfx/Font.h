#pragma once
#include <cstdint>
#include <qzm/resource/Resource.h>

class QZMImage;

/// Where one glyph lies in the font's sheet; 8 bytes in memory and on disk.
struct QZMChar {
    uint16_t x;     ///< left column in the sheet
    uint16_t y;     ///< top row in the sheet
    uint8_t width;  ///< 0: the character has no glyph
    uint8_t height;
    int16_t below;  ///< rows of the glyph below the baseline
};

/// Proportional bitmap font: a glyph sheet of one byte per pixel and a table for the codes
/// first .. last. File format "QZMF" version 2 (LoadV1 reads version 1); format code 0 or 1.
class QZMFont : public QZMResource {
public:
    char* name;       ///< owned; null means that no font is defined
    uint8_t* pixels;  ///< owned sheet, width x height bytes
    uint32_t width;
    uint32_t height;
    uint32_t first;   ///< first character code of the table
    uint32_t last;    ///< last character code, first <= last <= 255
    QZMChar* chars;   ///< owned, last - first + 1 records
    int16_t ascent;   ///< rows above the baseline
    int16_t descent;  ///< rows below the baseline
    uint8_t spacing;  ///< extra pixels after every character
    uint8_t white;    ///< advance of a space; a tab advances 8 x white
    uint8_t bpp;      ///< glyph depth: 1, 2 or 8

    /// Loads the named disk file when filename is non-null; logs "Font: bad file" on failure.
    explicit QZMFont(const char* filename = nullptr);
    /// Logs "Font: bad resource file" when the stream is not ready or the load fails.
    QZMFont(QZMResFile& f, int format);
    /// Zeroed table for the ordered, clamped range, then SetImage(sheet, bpp).
    QZMFont(const char* name, unsigned first, unsigned last, QZMImage* sheet, unsigned char bpp);
    QZMFont(const QZMFont&) = delete;
    QZMFont& operator=(const QZMFont&) = delete;
    ~QZMFont() override;

    /// Releases name, table and sheet and zeroes the metrics; bpp is kept.
    void Free();

    /// Counts the table one record short and the name without its terminator.
    uint32_t MemoryUsed() const override;
    /// Version 2 files; other versions are read with a warning. False for format > 1.
    bool Load(QZMResFile& f, int format) override;
    /// Reads the version 1 layout (no version byte, no offsets).
    bool LoadV1(QZMResFile& f, int format);
    /// Version 2; false without a name or a sheet.
    bool Save(QZMResFile& f, int format) override;

    /// Drops records below c or puts zeroed ones in front; nothing when c > last.
    void SetFirstChar(unsigned char c);
    /// Truncates or extends the table with zeroed records; nothing when c < first.
    void SetLastChar(unsigned char c);
    /// Copies ch (null: zeroes) into c's record; the space never gets a glyph.
    void SetChar(unsigned char c, QZMChar* ch);
    /// Copies the sheet's pixels; false when its bytes per pixel do not suit bpp.
    bool SetImage(QZMImage* sheet, unsigned char bpp);

    /// Advance in pixels without spacing; 0 for codes outside the table.
    unsigned CharWidth(unsigned char c) const;
    unsigned CharHeight(unsigned char c) const;
    /// len characters at most (0xFFFFFFFF: up to the terminator), spacing between them.
    unsigned TextWidth(const char* text, unsigned len = 0xFFFFFFFF) const;
    /// h spans the highest glyph top to the deepest glyph bottom.
    void TextSize(const char* text, unsigned& w, unsigned& h, unsigned len = 0xFFFFFFFF) const;

    void PrintInfo(bool listChars = false) const;

private:
    bool PrivateReadMagic(QZMResFile& f, int format);
    bool PrivateReadBlocks(QZMResFile& f, const uint32_t* offsets);
    bool PrivateReadInfo(QZMResFile& f);
    bool PrivateReadTable(QZMResFile& f);
    bool PrivateReadSheet(QZMResFile& f, uint32_t w, uint32_t h);
    void PrivateWriteInfo(QZMResFile& f) const;
    void PrivateWriteTable(QZMResFile& f) const;
    bool PrivateInTable(unsigned char c) const;
};
