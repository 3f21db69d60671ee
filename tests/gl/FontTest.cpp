// The OpenGL font: its file reader, and text drawn with an all-white glyph texture into a
// 64 x 32 window whose rows are read back as strings of lit ('#') and dark ('.') pixels.
#include <qzm/gfx/Image.h>
#include <qzm/gl/Font.h>
#include <qzm/gl/TexMgr.h>
#include <qzm/io/MemFile.h>
#include <qzm/resource/ResFinder.h>
#include <qzm/resource/ResMgr.h>

#include <gtest/gtest.h>

#include <vector>

#include "tests/gl/GLWindow.h"
#include "tests/support/TestSupport.h"

using qzmtest::Le;

namespace {

std::string Glyph(unsigned x, unsigned y, unsigned w, unsigned h, int below) {
    return Le(x, 2) + Le(y, 2) + char(w) + char(h) + Le(uint32_t(below), 2);
}

// Glyphs a, b, c of 4 x 6 pixels, 2 below the baseline; space 3, spacing 2, ascent 5, descent 3.
std::string FontFile(char version = 2, uint32_t first = 'a', uint32_t last = 'c',
                     uint32_t sheetWidth = 300, uint32_t sheetHeight = 20) {
    const std::string info =
        std::string("\5font\0", 6) + Le(first) + Le(last) + "\3\2" + Le(5, 2) + Le(3, 2);
    const std::string table = Glyph(0, 0, 4, 6, 2) + Glyph(4, 0, 4, 6, 2) + Glyph(8, 14, 4, 6, 2);
    const uint32_t tableAt = 17 + uint32_t(info.size());
    return "QZMF" + std::string(1, version) + Le(17) + Le(tableAt) +
           Le(tableAt + uint32_t(table.size())) + info + table + Le(sheetWidth) + Le(sheetHeight) +
           "\10";
}

bool LoadBytes(Q3DFont& font, std::string bytes) {
    std::vector<unsigned char> block(bytes.begin(), bytes.end());
    QZMMemFile mem(unsigned(block.size()), QZMResFile::READ, block.data());
    return font.Load(mem, 0);
}

std::string Row(int y) {
    std::string row;
    for (int x = 0; x < 40; x++) row += qzmtest::PixelAt(x, y) == 0xFFFFFF ? '#' : '.';
    return row;
}

class Q3DFontDrawTest : public ::testing::Test {
protected:
    void SetUp() override {
        screen = qzmtest::OpenGLWindow(64, 32);
        QZMImage white(4, 4, 32);
        for (unsigned i = 0; i < white.pitch * white.height; i++)
            white.pixels[i] = i % 4 == 3 ? 0 : 255;
        ASSERT_TRUE(LoadBytes(font, FontFile()));
        font.texture = textures.LoadFromImage("white", &white, GL_NEAREST, false);
        ASSERT_NE(font.texture, nullptr);
    }
    void TearDown() override { delete screen; }

    void Clear() { glClear(GL_COLOR_BUFFER_BIT); }

    Q3DScreen* screen = nullptr;
    QZMResFinder finder;
    Q3DTexMgr textures{finder, 4};
    Q3DFont font;
};

const std::string kAbSpaceC = "..........####..####.......####.........";
const std::string kDark(40, '.');

} // namespace

TEST(Q3DFontTest, LoadsMetricsAndTextureCoordinates) {
    Q3DFont font;
    qzmtest::LogCapture log(100);
    ASSERT_TRUE(LoadBytes(font, FontFile(3)));
    EXPECT_EQ(log.text(), "3DFont: unknown format version 3\n");
    const Q3DGlyph& c = font.glyphs[2];
    EXPECT_FLOAT_EQ(c.s0, 8.0f / 512);
    EXPECT_FLOAT_EQ(c.s1, 12.0f / 512);
    EXPECT_FLOAT_EQ(c.t0, 14.0f / 32);
    EXPECT_FLOAT_EQ(c.t1, 20.0f / 32);
    EXPECT_EQ(c.above, 4);
    EXPECT_EQ(font.TextWidth("ab"), 10u);
    EXPECT_EQ(font.TextWidth("a b", 2), 9u);
    EXPECT_EQ(font.TextWidth("a?"), 6u);
    unsigned w = 0, h = 0;
    font.TextSize("a c", w, h);
    EXPECT_EQ(w * 100 + h, 1506u);
    EXPECT_EQ(font.MemoryUsed(), 5 + 2 * sizeof(Q3DGlyph) + sizeof(Q3DFont));
    EXPECT_FALSE(font.SaveName("/dev/null", 0));

    ASSERT_TRUE(LoadBytes(font, FontFile(2, 'a', 'c', 1, 1)));
    font.PrintInfo(true);
    const std::string info = log.text();
    EXPECT_NE(info.find("First char      : 97 [a]\n"), std::string::npos);
    EXPECT_NE(info.find("Char 99 [c] :   4   7   6  10   2\n"), std::string::npos);
}

TEST(Q3DFontTest, BadFilesFailOrLoadSafely) {
    Q3DFont font;
    EXPECT_FALSE(LoadBytes(font, FontFile(2, 'c', 'a')));
    EXPECT_FALSE(LoadBytes(font, FontFile(2, 'a', 300)));
    EXPECT_EQ(font.name, nullptr);
    EXPECT_FALSE(LoadBytes(font, "QZMX" + FontFile().substr(4)));
    std::string past = FontFile();
    past.replace(9, 4, Le(1u << 30));
    ASSERT_TRUE(LoadBytes(font, past));
    EXPECT_EQ(font.CharWidth('a'), 0u);
    const std::string whole = FontFile();
    for (size_t n = 0; n < whole.size(); n++) LoadBytes(font, whole.substr(0, n));

    qzmtest::LogCapture log(200);
    Q3DFont missing("/nonexistent/font.qzmf");
    EXPECT_NE(log.text().find("Bad font file /nonexistent/font.qzmf\n"), std::string::npos);
}

TEST(Q3DFontTest, ResourceManagerLoadsOpenGLFonts) {
    qzmtest::TempDir dir;
    qzmtest::WriteFile(dir.file("f.qzmf"), FontFile());
    QZMResFinder finder;
    ASSERT_TRUE(finder.AddSource(dir.path().c_str(), false));
    QZMResMgr mgr(finder);
    QZMResource* font = mgr.Load(QZMResMgr::TYPE_3DFONT, "f.qzmf", 0, true);
    ASSERT_NE(dynamic_cast<Q3DFont*>(font), nullptr);
    EXPECT_TRUE(mgr.Release(font));
}

TEST_F(Q3DFontDrawTest, PenAdvancesAndBaselines) {
    font.DrawString(10, 20, "ab c");
    EXPECT_EQ(Row(15) + Row(16) + Row(21) + Row(22), kDark + kAbSpaceC + kAbSpaceC + kDark);
    EXPECT_TRUE(glIsEnabled(GL_BLEND));
    EXPECT_FALSE(glIsEnabled(GL_TEXTURE_2D));
    Clear();
    font.DrawString(10, 0, "ab c", 0xFFFFFFFF, 1, Q3DFont::ALIGN_TOP);
    EXPECT_EQ(Row(0) + Row(1) + Row(6) + Row(7), kDark + kAbSpaceC + kAbSpaceC + kDark);
    Clear();
    font.DrawString(10, 31, "ab c", 0xFFFFFFFF, 1, Q3DFont::ALIGN_BOTTOM);
    EXPECT_EQ(Row(23) + Row(24) + Row(29) + Row(30), kDark + kAbSpaceC + kAbSpaceC + kDark);

    Clear();
    font.DrawString(10, 20, "a\0b", 3);
    EXPECT_EQ(Row(18), "..........####..####....................");
    Clear();
    font.DrawString(10, 20, "ab", 0xFFFFFFFF, 2);
    EXPECT_EQ(Row(12), "..........########....########..........");
    EXPECT_EQ(Row(24), kDark);
    // At the origin the glyphs' advance is scaled, the space's is not.
    Clear();
    glTranslatef(10, 20, 0);
    font.DrawString("a b", 0xFFFFFFFF, 2);
    glLoadIdentity();
    EXPECT_EQ(Row(18), "..........########.........########.....");
    Clear();
    glTranslatef(10, 20, 0);
    font.DrawChar('b', 2);
    font.DrawChar(1, 1, 'b', 2);
    glLoadIdentity();
    EXPECT_EQ(Row(18), "..........##########....................");
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
}

TEST_F(Q3DFontDrawTest, ClippingAndNothingWithoutTexture) {
    font.DrawClipString(10, 20, 12, 24, "abc");
    EXPECT_EQ(Row(18), "................####....................");
    Clear();
    font.DrawClipString(10, 20, 0, 24, "abc");
    EXPECT_EQ(Row(18), "..........####..####....................");
    Clear();
    font.DrawClipString(10, 20, 0, 9, "abc");
    EXPECT_EQ(Row(18), kDark);

    glDisable(GL_BLEND);
    GLint bound = 0;
    glGetIntegerv(GL_TEXTURE_BINDING_2D, &bound);
    font.texture = nullptr;
    font.DrawString(10, 20, "abc");
    font.DrawString("abc");
    font.DrawClipString(10, 20, 0, 60, "abc");
    GLint after = -1;
    glGetIntegerv(GL_TEXTURE_BINDING_2D, &after);
    EXPECT_EQ(after, bound);
    EXPECT_FALSE(glIsEnabled(GL_BLEND));
    EXPECT_FALSE(glIsEnabled(GL_TEXTURE_2D));
    EXPECT_EQ(Row(18), kDark);
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
}
