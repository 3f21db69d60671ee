#include <gtest/gtest.h>

#include <ft2build.h>
#include FT_FREETYPE_H

#include <sys/wait.h>

#include <cstdlib>
#include <cstring>
#include <vector>

#include <qzm/gfx/Font.h>
#include <qzm/gfx/Image.h>

#include "tests/support/TestSupport.h"

using namespace qzmtest;

namespace {

const char kDejaVu[] = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";
const unsigned kSize = 20;
const unsigned kSpacing = 2;
// At 20 pixels none of these glyphs has ink left of its pen or past its advance, which the
// font format cannot hold (J K L T Y _ f j r have): the drawing must match FreeType's pixel for
// pixel.
const char* const kTexts[] = {"Hello, Sun 0123!", "quiz box @ 4567", "#&% MIXED case"};

// qzmfont's exit status; its standard error goes to err.
int RunTool(const TempDir& dir, const std::string& args, std::string& err) {
    const std::string command = std::string(QZMFONT) + " " + args + " 2>" + dir.file("err");
    const int status = std::system(command.c_str());
    err = ReadFile(dir.file("err"));
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// The same face at the same size, hinted and rendered as FreeType does by default.
class Reference {
public:
    Reference() {
        ok = !FT_Init_FreeType(&library) && !FT_New_Face(library, kDejaVu, 0, &face) &&
             !FT_Set_Pixel_Sizes(face, 0, kSize);
    }
    ~Reference() {
        if (face) FT_Done_Face(face);
        if (library) FT_Done_FreeType(library);
    }

    /// Sum of the advances plus the spacing between characters.
    unsigned Width(const char* text) {
        unsigned sum = 0;
        for (const char* c = text; *c; c++) sum += Load(*c)->advance.x >> 6;
        return sum + kSpacing * unsigned(strlen(text) - 1);
    }

    /// FreeType's coverage of text at the pen positions, the pen starting at (x, baseline).
    std::vector<uint8_t> Compose(const char* text, int x, int baseline, unsigned w, unsigned h) {
        std::vector<uint8_t> coverage(size_t(w) * h);
        for (const char* c = text; *c; c++) {
            FT_GlyphSlot slot = Load(*c);
            const FT_Bitmap& bm = slot->bitmap;
            for (unsigned r = 0; r < bm.rows; r++)
                for (unsigned col = 0; col < bm.width; col++) {
                    const int px = x + slot->bitmap_left + int(col);
                    const int py = baseline - slot->bitmap_top + 1 + int(r);
                    if (px >= 0 && py >= 0 && unsigned(px) < w && unsigned(py) < h)
                        coverage[size_t(py) * w + px] = bm.buffer[r * bm.pitch + col];
                }
            x += int(slot->advance.x >> 6) + kSpacing;
        }
        return coverage;
    }

    bool ok = false;

private:
    FT_GlyphSlot Load(char c) {
        EXPECT_EQ(FT_Load_Char(face, static_cast<unsigned char>(c), FT_LOAD_RENDER), 0);
        return face->glyph;
    }

    FT_Library library = nullptr;
    FT_Face face = nullptr;
};

// What a glyph pixel of FreeType coverage c draws as with colours {0, 1, 2, top level}: every
// non-zero byte of an 8-bit font draws, depths 1 and 2 take the nearest level.
uint8_t Expected(uint8_t c, unsigned depth) {
    if (depth == 8) return c ? 255 : 0;
    return uint8_t((c * ((1u << depth) - 1) + 127) / 255);
}

unsigned CountMismatches(const QZMImage& drawn, const std::vector<uint8_t>& coverage,
                         unsigned depth) {
    unsigned mismatches = 0;
    for (size_t i = 0; i < coverage.size(); i++)
        mismatches += drawn.pixels[i] != Expected(coverage[i], depth);
    return mismatches;
}

} // namespace

TEST(Qzmfont, FontsMeasureAndDrawAsFreeType) {
    Reference reference;
    ASSERT_TRUE(reference.ok) << kDejaVu << " (Debian: fonts-dejavu-core)";
    TempDir dir;
    for (unsigned depth : {1u, 2u, 8u}) {
        SCOPED_TRACE("depth " + std::to_string(depth));
        std::string err;
        const std::string args = "--size " + std::to_string(kSize) + " --spacing " +
                                 std::to_string(kSpacing) + " -d " + std::to_string(depth) +
                                 " " + kDejaVu + " " + dir.file("f.qzf") + " -p " +
                                 dir.file("sheet.bmp");
        ASSERT_EQ(RunTool(dir, args, err), 0) << err;
        QZMFont font(dir.file("f.qzf").c_str());
        ASSERT_NE(font.name, nullptr);
        EXPECT_STREQ(font.name, "DejaVu Sans Book");
        EXPECT_EQ(font.bpp, depth);
        EXPECT_EQ(font.first, 32u);
        EXPECT_EQ(font.last, 126u);

        QZMImage preview(0u, 0u, 8u);
        ASSERT_TRUE(preview.LoadName(dir.file("sheet.bmp").c_str(), 0));
        ASSERT_EQ(preview.width, font.width);
        ASSERT_EQ(preview.height, font.height);
        EXPECT_EQ(memcmp(preview.pixels, font.pixels, font.width * font.height), 0);

        FontParams params{&font, ALIGN_TOP, {0, 1, 2, depth == 8 ? 255u : (1u << depth) - 1}};
        for (const char* text : kTexts) {
            SCOPED_TRACE(text);
            const unsigned width = reference.Width(text);
            EXPECT_EQ(font.TextWidth(text), width);
            QZMImage drawn(width + 8, unsigned(font.ascent + font.descent) + 8, 8);
            memset(drawn.pixels, 0, drawn.pitch * drawn.height);
            drawn.DrawTextEx(4, 4, text, params, -1);
            const std::vector<uint8_t> coverage =
                reference.Compose(text, 4, 4 + font.ascent - 1, drawn.width, drawn.height);
            EXPECT_EQ(CountMismatches(drawn, coverage, depth), 0u);
        }
    }
}

TEST(Qzmfont, BadInputFailsWithAReason) {
    TempDir dir;
    const std::string out = " " + dir.file("out.qzf");
    const std::string notFont = dir.write("notes.ttf", "just some text\n");
    const struct {
        std::string args;
        int status;
        const char* reason;
    } cases[] = {
        {dir.file("missing.ttf") + out, 1, "missing.ttf: cannot open"},
        {notFont + out, 1, "notes.ttf: not a font"},
        {std::string("--first 100 --last 50 ") + kDejaVu + out, 1, "empty range"},
        {std::string("--size 0 ") + kDejaVu + out, 1, "size 0"},
        {std::string("--size=twelve ") + kDejaVu + out, 2, "--size needs a number"},
        {std::string("--bold ") + kDejaVu + out, 2, "unknown option --bold"},
        {kDejaVu, 2, "missing OUT.qzf"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.args);
        std::string err;
        EXPECT_EQ(RunTool(dir, c.args, err), c.status);
        EXPECT_EQ(err.rfind("qzmfont: ", 0), 0u) << err;
        EXPECT_NE(err.find(c.reason), std::string::npos) << err;
        EXPECT_FALSE(FileExists(dir.file("out.qzf")));
    }
    std::string err;
    EXPECT_EQ(RunTool(dir, "--version >" + dir.file("version"), err), 0);
    EXPECT_EQ(ReadFile(dir.file("version")).rfind("qzmfont (qzm) 0.", 0), 0u);
}
