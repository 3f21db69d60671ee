#include <gtest/gtest.h>

#include <qzm/gfx/Font.h>

#include "tests/gfx/codec/CodecFixture.h"

using namespace qzmtest;

namespace {

// Version-2 file: name "ab", codes 65-66 ('A' 2x2 at 0,0, 'B' 1x2 at 2,0 reaching 1 below).
Bytes FontFile(unsigned version, uint32_t first, uint32_t last, uint32_t width, uint32_t height,
               unsigned depth, const std::string& rows) {
    Bytes b;
    b.str("QZMF").u8(version).u32(17).u32(35).u32(35 + 8 * (last - first + 1));
    b.u8(3).str(std::string("ab", 3)).u32(first).u32(last).u8(4).u8(1).u16(5).u16(2);
    b.u16(0).u16(0).u8(2).u8(2).u16(0).u16(2).u16(0).u8(1).u8(2).u16(1);
    return b.u32(width).u32(height).u8(depth).str(rows);
}

std::unique_ptr<QZMFont> FontFrom(const std::string& bytes) {
    QZMMemFile f(unsigned(bytes.size()), QZMResFile::READ, (unsigned char*)bytes.data());
    std::unique_ptr<QZMFont> font(new QZMFont);
    EXPECT_TRUE(font->Load(f, 0));
    return font;
}

} // namespace

TEST(FontTest, SheetsLoadAsImagesAtEveryDepth) {
    struct Row {
        unsigned depth; std::string rows; unsigned bpp; std::string pixels; unsigned colours;
    };
    const Row rows[] = {
        {1, std::string("\xA0\x40", 2), 8, std::string("\1\0\1\0\1\0", 6), 2},
        {2, std::string("\x1B\xC0", 2), 8, std::string("\0\1\2\3\0\0", 6), 4},
        {8, std::string("\1\2\3\4\5\6", 6), 8, std::string("\1\2\3\4\5\6", 6), 256},
        {24, std::string(18, '\7'), 24, std::string(18, '\7'), 0},
        {32, std::string(24, '\7'), 32, std::string(24, '\7'), 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.depth);
        Loaded img(Load_FONT, FontFile(2, 65, 66, 3, 2, row.depth, row.rows).s);
        ASSERT_TRUE(img.ok);
        EXPECT_EQ(row.bpp, img.bpp);
        EXPECT_EQ(row.pixels, img.Pixels());
        EXPECT_EQ(row.colours, img.palette ? img.palette->size : 0u);
    }
    Loaded twoBit(Load_FONT, FontFile(2, 65, 66, 3, 2, 2, std::string(2, '\0')).s);
    EXPECT_EQ(0x55, twoBit.palette->entries[1].r);
}

TEST(FontTest, SheetLoaderRefusesOtherVersionsAndDepths) {
    LogCapture log;
    EXPECT_FALSE(Loaded(Load_FONT, FontFile(1, 65, 66, 3, 2, 8, std::string(6, '\0')).s).ok);
    EXPECT_EQ("Font: unknown format version 1\n", log.text());
    Loaded odd(Load_FONT, FontFile(2, 65, 66, 3, 2, 4, std::string(6, '\0')).s);
    EXPECT_FALSE(odd.ok);
    EXPECT_EQ(nullptr, odd.pixels);
    EXPECT_FALSE(Loaded(Load_FONT, FontFile(2, 65, 66, 1u << 30, 1u << 30, 8, "").s).ok);
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
    LogCapture log;
    const std::string bad[] = {
        FontFile(2, 66, 65, 3, 2, 8, std::string(6, '\0')).s,
        FontFile(2, 65, 300, 3, 2, 8, std::string(6, '\0')).s,
        FontFile(2, 65, 66, 2, 2, 8, std::string(4, '\0')).s,
        FontFile(2, 65, 66, 60000, 60000, 8, std::string(6, '\0')).s,
    };
    for (const std::string& bytes : bad) {
        QZMMemFile f(unsigned(bytes.size()), QZMResFile::READ, (unsigned char*)bytes.data());
        QZMFont font;
        EXPECT_FALSE(font.Load(f, 0));
        EXPECT_EQ(nullptr, font.name);
    }
    const std::string good = FontFile(2, 65, 66, 3, 2, 8, std::string(6, '\1')).s;
    for (size_t n = 1; n < good.size(); n++) {
        QZMMemFile f(unsigned(n), QZMResFile::READ, (unsigned char*)good.data());
        QZMFont font;
        EXPECT_FALSE(font.Load(f, 0));
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
