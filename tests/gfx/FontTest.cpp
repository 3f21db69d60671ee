#include <gtest/gtest.h>

#include <qzm/gfx/Font.h>

#include "tests/gfx/codec/CodecFixture.h"

using namespace qzmtest;

namespace {

// One 8-byte glyph record.
std::string Glyph(unsigned x, unsigned y, unsigned width, unsigned height, int below) {
    return Bytes().u16(x).u16(y).u8(width).u8(height).u16(uint16_t(below)).s;
}

// Version-2 file: name "ab", codes 65-66 ('A' 2x2 at 0,0, 'B' 1x2 at 2,0 reaching 1 below,
// unless other records are given).
Bytes FontFile(unsigned version, uint32_t first, uint32_t last, uint32_t width, uint32_t height,
               unsigned depth, const std::string& rows,
               const std::string& records = Glyph(0, 0, 2, 2, 0) + Glyph(2, 0, 1, 2, 1)) {
    Bytes b;
    b.str("QZMF").u8(version).u32(17).u32(35).u32(35 + 8 * (last - first + 1));
    b.u8(3).str(std::string("ab", 3)).u32(first).u32(last).u8(4).u8(1).u16(5).u16(2);
    b.str(records);
    return b.u32(width).u32(height).u8(depth).str(rows);
}

bool LoadInto(QZMFont& font, const std::string& bytes) {
    QZMMemFile f = Reader(bytes);
    return font.Load(f, 0);
}

std::unique_ptr<QZMFont> FontFrom(const std::string& bytes) {
    auto font = std::make_unique<QZMFont>();
    EXPECT_TRUE(LoadInto(*font, bytes));
    return font;
}

} // namespace

TEST(FontTest, SheetsLoadAsImagesAtEveryDepthShortOnesAsFarAsTheyGo) {
    // Rows missing at the end of the file read as zeros, in the image and in the font alike.
    LogCapture log;
    struct Row {
        unsigned width, height, depth; std::string rows, pixels; unsigned bpp, colours, grey1;
    };
    const Row rows[] = {
        {3, 2, 1, std::string("\xA0\x40", 2), std::string("\1\0\1\0\1\0", 6), 8, 2, 255},
        {100, 100, 1, std::string(13 * 3, '\xFF'), std::string(300, '\1') + std::string(9700, 0),
         8, 2, 255},
        {5, 3, 2, std::string("\x1B\xC0", 2), std::string("\0\1\2\3\3", 5) + std::string(10, 0),
         8, 4, 0x55},
        {4, 4, 8, std::string("\1\2\3", 3), std::string("\1\2\3", 3) + std::string(13, 0), 8, 256,
         1},
        {2, 2, 24, std::string(4, '\7'), std::string(4, '\7') + std::string(8, 0), 24, 0, 0},
        {2, 2, 32, "", std::string(16, 0), 32, 0, 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.depth);
        const std::string bytes = FontFile(2, 65, 66, row.width, row.height, row.depth, row.rows).s;
        Loaded img(Load_FONT, bytes);
        ASSERT_TRUE(img.ok);
        EXPECT_EQ(row.width, img.width);
        EXPECT_EQ(row.height, img.height);
        EXPECT_EQ(row.bpp, img.bpp);
        EXPECT_EQ(row.pixels, img.Pixels());
        EXPECT_EQ(row.colours, img.palette ? img.palette->size : 0u);
        if (img.palette) EXPECT_EQ(row.grey1, img.palette->entries[1].r);
        if (row.depth > 8) continue; // fonts take depths 1, 2 and 8 only
        QZMFont font;
        ASSERT_TRUE(LoadInto(font, bytes));
        ASSERT_EQ(row.width * row.height, font.width * font.height);
        EXPECT_EQ(row.pixels, std::string((char*)font.pixels, row.pixels.size()));
    }
    EXPECT_EQ("", log.text());
    ExpectRefusals(Load_FONT, {
        {FontFile(1, 65, 66, 3, 2, 8, std::string(6, '\0')).s, "Font: unknown format version 1\n"},
        {FontFile(2, 65, 66, 3, 2, 4, std::string(6, '\0')).s, ""},
    });
    // Over 64 MiB and more than the file could fill: refused, the image left as it was.
    ExpectAbsurdRefused(Load_FONT, {
        FontFile(2, 65, 66, 1u << 30, 1u << 30, 8, "").s,
        FontFile(2, 65, 66, 0xFFFFFFFF, 0xFFFFFFFF, 1, std::string(64, '\0')).s,
        FontFile(2, 65, 66, 0xFFFFFFFF, 0xFFFFFFFF, 32, std::string(64, '\0')).s,
        FontFile(2, 65, 66, 10000, 10000, 24, std::string(1000, '\0')).s,
    }, "");
}

TEST(FontTest, LoadReadsEveryBlockAndSaveWritesThemBack) {
    const std::string file = FontFile(2, 65, 66, 3, 2, 1, std::string("\xC0\xA0", 2)).s;
    auto font = FontFrom(file);
    EXPECT_STREQ("ab", font->name);
    EXPECT_EQ(1, font->chars[1].below);
    EXPECT_EQ(std::string("\1\1\0\1\0\1", 6), std::string((char*)font->pixels, 6));
    TempDir dir;
    ASSERT_TRUE(font->SaveName(dir.file("f").c_str(), 0));
    EXPECT_EQ(file, ReadFile(dir.file("f")));

    LogCapture log;
    FontFrom(FontFile(3, 65, 66, 3, 2, 1, std::string(2, '\0')).s);
    EXPECT_EQ("Font: unknown format version 3\n", log.text());
}

TEST(FontTest, MalformedFilesLeaveNoFont) {
    // Codes out of order or past 255, and sheets over 64 MiB that the file could not fill.
    LogCapture log;
    const std::string bad[] = {
        FontFile(2, 66, 65, 3, 2, 8, std::string(6, '\0')).s,
        FontFile(2, 65, 300, 3, 2, 8, std::string(6, '\0')).s,
        FontFile(2, 65, 66, 60000, 60000, 8, std::string(6, '\0')).s,
        FontFile(2, 65, 66, 0xFFFFFFFF, 0xFFFFFFFF, 1, std::string(6, '\0')).s,
        FontFile(2, 65, 66, 100000, 1000, 2, std::string(1000, '\0')).s,
    };
    for (const std::string& bytes : bad) {
        QZMFont font;
        EXPECT_FALSE(LoadInto(font, bytes));
        EXPECT_EQ(nullptr, font.name);
        EXPECT_EQ(nullptr, font.pixels);
    }
    EXPECT_EQ("", log.text());
}

TEST(FontTest, ShortFilesGiveAPartlyFilledFont) {
    // Reads are not checked: once the depth is read the font loads, and what the file lacks is
    // zero. Before it, the depth reads as 0 and the load fails, keeping what was read.
    const std::string good = FontFile(2, 65, 66, 3, 2, 8, std::string("\1\2\3\4\5\6", 6)).s;
    const size_t sheetAt = good.size() - 6;
    for (size_t n = 1; n < good.size(); n++) {
        SCOPED_TRACE(n);
        QZMFont font;
        EXPECT_EQ(n >= sheetAt, LoadInto(font, good.substr(0, n)));
        if (n < sheetAt) continue;
        EXPECT_STREQ("ab", font.name);
        ASSERT_EQ(3u, font.width);
        ASSERT_EQ(2u, font.height);
        EXPECT_EQ(2, font.chars[1].height);
        std::string expected = good.substr(sheetAt, n - sheetAt);
        expected.resize(6, '\0');
        EXPECT_EQ(expected, std::string((char*)font.pixels, 6));
    }
    // The name is cut short too, and still ends.
    QZMFont font;
    EXPECT_FALSE(LoadInto(font, good.substr(0, 19)));
    EXPECT_STREQ("a", font.name);
}

TEST(FontTest, GlyphsOutsideTheSheetLoadAndDrawOnlyTheirInside) {
    // A 3x2 sheet; 'A' is 3 wide from column 1 and 5 rows tall, 'B' lies wholly outside it.
    const std::string file = FontFile(2, 65, 66, 3, 2, 2, std::string("\x18\xE4", 2),
                                      Glyph(1, 0, 3, 5, 3) + Glyph(7, 9, 2, 2, 0)).s;
    auto font = FontFrom(file);
    ASSERT_EQ(5, font->chars[0].height);
    ASSERT_EQ(2u, font->height);
    // Sheet rows: 0 1 2 / 3 2 1.
    const struct { bool ex; const char* art; } draws[] = {
        {false, "##..##\n##..##\n......\n......\n......\n......\n"},
        {true, "12..##\n21..##\n......\n......\n......\n......\n"},
    };
    for (const auto& d : draws) {
        QZMImage img(6, 6, 8);
        img.Rectangle(0, 0, 6, 6, 0);
        FontParams params{font.get(), ALIGN_BASELINE, {0, 1, 2, 3}};
        // Glyph 'A' covers rows 0 to 4 from baseline 1; the gap before 'A' is 'B' plus spacing.
        if (d.ex)
            img.DrawTextEx(0, 1, "AB", params, -1);
        else
            img.DrawText(0, 1, "AB", 9, font.get(), ALIGN_BASELINE, -1);
        img.DrawText(4, 1, "A", 9, font.get(), ALIGN_BASELINE, -1);
        EXPECT_EQ(d.art, Art(img, ".123#")); // 9 shows as '#'
    }
}

TEST(FontTest, MetricsAndInfoFollowTheTable) {
    auto font = FontFrom(FontFile(2, 65, 66, 3, 2, 8, std::string(6, '\1')).s);
    LogCapture log;
    font->PrintInfo(true);
    EXPECT_EQ("Font name       : ab\nFirst char      : 65 [A]\nLast char       : 66 [B]\n"
              "  Total         : 2\nChar spacing    : 1\nWhite char size : 4\n"
              "Ascent          : 5\nDescent         : 2\nFormat (bpp)    : 8\n"
              "------------------- Characters :\n"
              "Char 65 [A] :   0   0   2   2 0\nChar 66 [B] :   2   0   1   2 1\n",
              log.text());
    EXPECT_EQ(2u + 1 + 1, font->TextWidth("AB"));
    EXPECT_EQ(8u * 4 + 4 + 2 + 3 * 1, font->TextWidth("\t A!z", 4));
    EXPECT_EQ(0u, font->TextWidth(""));
    unsigned w, h;
    font->TextSize("AB", w, h);
    EXPECT_EQ(2u + 1, h);
    font->SetFirstChar(60);
    EXPECT_EQ(2, font->chars[65 - 60].width);
    font->SetLastChar(65);
    EXPECT_EQ(6u, font->last - font->first + 1);
    EXPECT_EQ(0u, font->CharWidth('B'));

    QZMFont swapped("s", 200, 100, nullptr, 8);
    EXPECT_EQ(100u, swapped.first);
    EXPECT_EQ(200u, swapped.last);
}
