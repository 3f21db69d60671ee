#include <qzm/gfx/Font.h>

#include <cstring>
#include <functional>
#include <random>
#include <tuple>
#include <vector>

#include "tests/gfx/codec/CodecFixture.h"

using namespace qzmtest;

namespace {

using Mode = QZMImage::DrawMode;

// put and xr: GetPixel after a put of color, and after a xor of color on zero.
struct Depth { unsigned bpp, color; uint32_t put, xr; };

const Depth kDepths[] = {
    {8, 0x5A, 0x5A, 0x5A},
    {16, 0xBEEF, 0xBEEF, 0xFFFF},
    {24, 0x112233, 0x332211, 0xFFFFFF},
    {32, 0xDEADBEEF, 0xDEADBEEF, 0xFFFFFFFF},
};

void ExpectPicture(const QZMImage& img, const std::string& art, uint32_t value) {
    ASSERT_EQ(Art(img), art);
    for (unsigned y = 0; y < img.height; ++y)
        for (unsigned x = 0; x < img.width; ++x)
            if (img.GetPixel(int(x), int(y)))
                ASSERT_EQ(img.GetPixel(int(x), int(y)), value) << x << "," << y;
}

using Draw = std::function<void(QZMImage&, unsigned, Mode)>;
struct Figure { const char* name; Draw draw; const char* art; };

const Figure kFigures[] = {
    {"Frame", [](QZMImage& i, unsigned c, Mode m) { i.Frame(1, 1, 5, 4, c, m); },
     "............\n.#####......\n.#...#......\n.#...#......\n"
     ".#####......\n............\n............\n............\n"},
    {"Circle", [](QZMImage& i, unsigned c, Mode m) { i.Circle(5, 4, 3, c, m); },
     "............\n....###.....\n...#...#....\n..#.....#...\n"
     "..#.....#...\n..#.....#...\n...#...#....\n....###.....\n"},
    {"Disk", [](QZMImage& i, unsigned c, Mode m) { i.Disk(5, 4, 3, c, m); },
     "............\n....##......\n...####.....\n..######....\n"
     "..######....\n..######....\n...####.....\n....##......\n"},
    // Lines, spans, circles and disks meet the clipping in the reference comparisons below.
    {"ClippedColumns",
     [](QZMImage& i, unsigned c, Mode m) {
         i.SetClipping(1, 1, 10, 6);
         for (auto [x, y, n] : {std::tuple{0, -5, 100}, {4, -5, 100}, {7, 5, 100}, {9, -5, 7}})
             i.VLine(x, y, n, c, m);
     },
     "............\n....#....#..\n....#.......\n....#.......\n"
     "....#.......\n....#..#....\n....#..#....\n............\n"},
};


// The keyed copy pixel by pixel in reading order on the live buffers, so that it also models a
// copy within one image. Clipping per pixel gives the same block as clipping per axis.
void ReferenceTCopy(QZMImage& dst, int x, int y, uint32_t key, const QZMImage& src, int sx,
                    int sy, int w, int h) {
    if (sx < 0 || sy < 0) return;
    unsigned n = dst.BytesPerPixel();
    uint32_t compared = n >= 3 ? key : key & ((1u << 8 * n) - 1);
    const uint8_t* end = src.pixels + src.pitch * src.height;
    for (int j = 0; j < h; ++j)
        for (int i = 0; i < w; ++i) {
            int tx = x + i, ty = y + j, fx = sx + i, fy = sy + j;
            if (tx < dst.clipX1 || tx > dst.clipX2 || ty < dst.clipY1 || ty > dst.clipY2 ||
                fx >= int(src.width) || fy >= int(src.height))
                continue;
            const uint8_t* p = src.pixels + fy * src.pitch + fx * n;
            uint32_t value = 0;
            if (n == 3)
                value = p[1] | p[2] << 8 | uint32_t(p + 3 < end ? p[3] : 0) << 16;
            else
                for (unsigned k = 0; k < n; ++k) value |= uint32_t(p[k]) << 8 * k;
            if (value != compared) std::memmove(dst.pixels + ty * dst.pitch + tx * n, p, n);
        }
}
} // namespace

TEST(ImageTest, FiguresArePixelExactAtEveryDepthAndMode) {
    for (const Depth& d : kDepths) {
        for (const Figure& f : kFigures) {
            for (Mode mode : {QZMImage::DRAW_PUT, QZMImage::DRAW_XOR}) {
                SCOPED_TRACE(std::string(f.name) + " bpp " + std::to_string(d.bpp) +
                             (mode ? " xor" : " put"));
                QZMImage img(12, 8, d.bpp);
                img.Rectangle(0, 0, 12, 8, 0);
                f.draw(img, d.color, mode);
                ExpectPicture(img, f.art, mode ? d.xr : d.put);
            }
        }
    }
}

TEST(ImageTest, PixelRules) {
    const struct {
        unsigned bpp, before, xorColor, after;
    } xors[] = {{8, 0x0F, 0x3C, 0x33}, {16, 0x1234, 0, 0xEDCB}, {32, 0x01234567, 5, 0xFEDCBA98}};
    for (const auto& c : xors) {
        QZMImage img(3, 3, c.bpp);
        img.Rectangle(0, 0, 3, 3, c.before);
        img.VLine(1, 0, 3, c.xorColor, QZMImage::DRAW_XOR);
        EXPECT_EQ(img.GetPixel(1, 2), c.after) << c.bpp;
        EXPECT_EQ(img.GetPixel(0, 2), c.before) << c.bpp;
        EXPECT_EQ(img.GetPixel(3, 0), 0u);
        EXPECT_EQ(img.GetPixel(-1, 0), 0u);
    }

    QZMImage empty(0, 5, 8);
    empty.Rectangle(0, 0, 5, 5, 1);
    EXPECT_EQ(empty.pixels, nullptr);
}

TEST(ImageTest, Clipping) {
    QZMImage img(100, 100, 8);
    auto clip = [&img] { return std::vector<int>{img.clipX1, img.clipY1, img.clipX2, img.clipY2}; };
    img.SetClipping(50, 50, 10, 10);
    EXPECT_EQ(clip(), (std::vector<int>{10, 10, 50, 50}));
    img.SetClipping(-5, 0, 500, 20);
    img.SetClipping(100, 0, 120, 5); // ignored: starts past the image
    EXPECT_EQ(clip(), (std::vector<int>{0, 0, 99, 20}));
    EXPECT_TRUE(img.IsClipping());
    img.StopClipping();
    EXPECT_FALSE(img.IsClipping());
}

TEST(ImageTest, Gradients) {
    QZMImage grey(2, 5, 8);
    grey.Gradient(0, 0, 2, 5, 10, 50, 0);
    for (int y = 0; y < 5; ++y) EXPECT_EQ(grey.GetPixel(1, y), 10u * (y + 1));
    grey.SetClipping(0, 1, 1, 2);
    grey.Gradient(0, 0, 2, 5, 0, 100, 0); // compressed into the two visible rows
    EXPECT_EQ(grey.GetPixel(0, 1), 0u);
    EXPECT_EQ(grey.GetPixel(0, 2), 100u);
    grey.Gradient(0, 0, 2, 5, 1, 9, 2);
    grey.Gradient(0, 0, 2, 5, 1, 9, 1, QZMImage::DRAW_XOR);
    EXPECT_EQ(grey.GetPixel(0, 2), 100u);

    QZMImage wide(4, 2, 32);
    wide.Gradient(0, 0, 4, 2, 0x000000, 0x0000FF, 1);
    for (int x = 0; x < 4; ++x) EXPECT_EQ(wide.GetPixel(x, 1), 0xFF000000u | (85u * x));
    QZMImage rgb(3, 1, 24);
    rgb.Gradient(0, 0, 3, 1, 0xFF0000, 0x000000, 1);
    EXPECT_EQ(std::memcmp(rgb.pixels, "\0\0\xFF\0\0\x80\0\0\0", 9), 0);
    QZMImage hi(2, 1, 16);
    hi.Gradient(0, 0, 2, 1, 0x0000, 0x00FF, 1);
    EXPECT_EQ(hi.GetPixel(1, 0), 0xFFu);
}

// Sprites of every width up to 40 (every vector tail) whose bytes take two values, so that keys
// match often (at 24 bits also at the buffer's last pixel, whose missing next byte counts as
// zero); copies unclipped, clipped on any side, from outside either image, and keyed copies
// within one image onto the same rows.
TEST(ImageTest, BlockAndKeyedCopiesMatchThePerPixelRule) {
    std::mt19937 rng(11);
    auto pick = [&rng](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
    auto fill = [&rng](QZMImage& img, const std::vector<uint8_t>& values) {
        for (uint32_t i = 0; i < img.pitch * img.height; ++i)
            img.pixels[i] = values[rng() % values.size()];
    };
    for (unsigned bpp : {8u, 15u, 16u, 24u, 32u})
        for (int width = 1; width <= 40; ++width)
            for (int trial = 0; trial < 6; ++trial) {
                bool within = trial == 5; // a copy within dst, which then holds keyed pixels too
                QZMImage src(width, pick(1, 4), bpp), dst(48, 7, bpp);
                fill(src, {0x00, 0xA5});
                fill(dst, within ? std::vector<uint8_t>{0x00, 0xA5} : std::vector<uint8_t>{0x11});
                uint32_t key = 0;
                for (int k = 0; k < 4; ++k) key = key << 8 | (pick(0, 1) ? 0xA5 : 0x00);
                if (bpp == 24 && trial != 3) key >>= 8; // otherwise a top byte may rule out all
                int x = pick(-width, 48), y = pick(-4, 7), sx = pick(-1, width), sy = pick(-1, 4);
                int w = pick(0, width + 1), h = pick(0, 5);
                if (trial == 0) x = pick(0, 48 - width), y = sx = sy = 0, w = width, h = 4;
                if (trial >= 4) dst.SetClipping(pick(0, 47), pick(0, 6), pick(0, 47), pick(0, 6));
                if (within) sx = pick(0, 8), x = sx + pick(-3, 3), y = sy = pick(0, 6), w = width;
                if (!within) { // a key that no pixel holds: the plain copy
                    QZMImage plain(&dst), copied(&dst);
                    ReferenceTCopy(plain, x, y, 0x11111111, src, sx, sy, w, h);
                    copied.CopyImage(x, y, &src, sx, sy, unsigned(w), unsigned(h));
                    ASSERT_EQ(0, std::memcmp(copied.pixels, plain.pixels, dst.pitch * dst.height))
                        << "plain copy, " << bpp << " bpp, width " << width << ", trial " << trial;
                }
                QZMImage expected(&dst);
                ReferenceTCopy(expected, x, y, key, within ? expected : src, sx, sy, w, h);
                dst.TCopyImage(x, y, key, within ? &dst : &src, sx, sy, unsigned(w), unsigned(h));
                ASSERT_EQ(0, std::memcmp(dst.pixels, expected.pixels, dst.pitch * dst.height))
                    << bpp << " bpp, width " << width << ", trial " << trial;
            }
}

TEST(ImageTest, MovesFlipsAndResizes) {
    QZMImage img(2, 4, 8);
    for (int y = 0; y < 4; ++y) img.HLine(0, y, 2, y + 1);
    img.MoveInside(0, 0, 2, 3, 0, 1);
    EXPECT_EQ(std::memcmp(img.pixels, "\1\1\1\1\2\2\3\3", 8), 0);
    img.MoveInside(0, 1, 2, 9, 1, 0);
    EXPECT_EQ(std::memcmp(img.pixels, "\1\1\1\2\2\3\3\3", 8), 0);
    img.VFlip();
    EXPECT_EQ(std::memcmp(img.pixels, "\3\3\2\3\1\2\1\1", 8), 0);

    QZMImage small(2, 2, 8);
    std::memcpy(small.pixels, "\1\2\3\4", 4);
    small.SetClipping(1, 1, 1, 1);
    ASSERT_TRUE(small.Resize(3, 3));
    EXPECT_EQ(small.pitch, 3u);
    EXPECT_FALSE(small.IsClipping());
    EXPECT_EQ(std::memcmp(small.pixels, "\0\0\0\3\4\0", 6), 0); // row 0 blanked: kept quirk
    EXPECT_FALSE(small.Resize(0, 3));

    EXPECT_FALSE(small.NewFormat(3, 3, 12));
    uint8_t* kept = small.pixels;
    EXPECT_TRUE(small.NewFormat(3, 3, 8));
    EXPECT_EQ(small.pixels, kept);
    EXPECT_TRUE(small.NewFormat(5, 2, 24));
    EXPECT_EQ(small.pitch, 15u);
    EXPECT_TRUE(small.NewFormat(0, 2, 24));
    EXPECT_EQ(small.pixels, nullptr);
    EXPECT_EQ(small.bpp, 0);
}

TEST(ImageTest, Palettes) {
    QZMImage img(2, 2, 8);
    QZMPal four(4u);
    for (unsigned i = 0; i < 4; ++i) four.entries[i] = QZMRGBA{uint8_t(i + 1), 0, 0, 7};
    img.SetPalette(&four, 2, 4);
    ASSERT_EQ(img.palette->size, 6u);
    EXPECT_EQ(img.palette->entries[3].r, 4);
    EXPECT_EQ(img.palette->entries[5].a, 0);
    QZMImage copy(&img);
    ASSERT_NE(copy.palette, nullptr);
    EXPECT_EQ(copy.palette->size, 0u);

    QZMImage high(1, 1, 16);
    QZMPal* pal = new QZMPal(1u);
    high.ReplacePalette(pal);
    EXPECT_EQ(high.palette, nullptr);
    delete pal;
}

TEST(ImageTest, FormatCodesReachTheirCodecs) {
    const std::pair<const char*, int> heads[] = {{"BMxx", 1}, {"GIF8", 3}, {"QZMF", 6},
        {"\x0A\x05\x01\x08", 2}, {"\x0A\x03\x01\x08", 4}, {"abcd", 4}};
    for (const auto& h : heads) {
        QZMMemFile f(4, QZMResFile::READ, (unsigned char*)h.first);
        EXPECT_EQ(QZMImage::FindFormat(f), h.second);
        EXPECT_EQ(f.GetPos(), 0);
    }
    LogCapture log(100);
    QZMImage img(1, 1, 32);
    unsigned char two[2] = {10, 5};
    QZMMemFile shortFile(2, QZMResFile::READ, two);
    EXPECT_FALSE(img.Load(shortFile, 0));
    EXPECT_EQ(log.text(), "Can not read file header\n");
    shortFile.SeekStart();
    EXPECT_FALSE(img.Load(shortFile, 5)); // TGA RLE is write only

    // Detected loads replace the buffer and reset pitch and clipping.
    const std::pair<const char*, Loader> files[] = {{"bmp8_v3.bmp", Load_BMP},
        {"pcx24.pcx", Load_PCX}, {"gif_87a.gif", Load_GIF}, {"tga_rgb24_bu.tga", Load_TGA}};
    for (const auto& file : files) {
        SCOPED_TRACE(file.first);
        img.SetClipping(0, 0, 0, 0);
        ASSERT_TRUE(img.LoadName((std::string(QZM_TEST_DATA "/gfx/") + file.first).c_str(), 0));
        Loaded direct(file.second, Fixture(file.first));
        EXPECT_EQ(img.bpp, direct.bpp);
        EXPECT_EQ(img.pitch * img.height, direct.Size());
        EXPECT_EQ(img.clipX2, int(direct.width) - 1);
        EXPECT_EQ(std::string((char*)img.pixels, direct.Size()), direct.Pixels());
    }

    QZMImage grey(3, 2, 8), deep(5, 3, 32);
    std::memcpy(grey.pixels, "\1\2\3\4\5\6", 6);
    deep.Rectangle(0, 0, 5, 3, 0x01020304);
    grey.ReplacePalette(new QZMPal(256u));
    grey.palette->GenerateGreyScale(256);
    using Writer = bool (*)(QZMResFile&, QZMImage&);
    const struct { QZMImage* image; int format; Writer save; } saves[] = {
        {&grey, 0, Save_PCX}, {&grey, 1, Save_BMP}, {&grey, 2, Save_PCX}, {&grey, 3, nullptr},
        {&grey, 4, Save_TGA}, {&grey, 5, Save_TGA_RLE}, {&grey, 6, nullptr},
        {&deep, 0, Save_TGA_RLE}};
    for (const auto& c : saves) {
        auto save = [&c](QZMResFile& f, QZMImage& i) { return i.Save(f, c.format); };
        EXPECT_EQ(Saved(save, *c.image), c.save ? Saved(c.save, *c.image) : "") << c.format;
    }
}

TEST(ImageTest, Text) {
    QZMImage sheet(5, 3, 8);
    std::memcpy(sheet.pixels, "\1\1\1\2\3\1\0\3\2\1\1\1\0\0\0", 15);
    QZMFont font("f", 'A', 'B', &sheet, 2);
    font.chars[0] = {0, 0, 2, 3, 0};
    font.chars[1] = {2, 0, 3, 2, 0};
    font.ascent = 3;
    font.descent = font.spacing = 1;
    font.white = 2;
    const char* art = ".##.........\n.#.....###..\n.##....###..\n............\n";
    const std::pair<int, FontAlign> aligns[] = {
        {0, ALIGN_TOP}, {3, ALIGN_BOTTOM}, {2, ALIGN_BASELINE}, {2, FontAlign(9)}};
    for (const auto& a : aligns) {
        QZMImage img(12, 4, 8);
        img.Rectangle(0, 0, 12, 4, 0);
        img.DrawText(1, a.first, "A BCA", 7, &font, a.second, -1);
        ExpectPicture(img, art, 7);
    }
    QZMImage img(12, 4, 32);
    img.Rectangle(0, 0, 12, 4, 0);
    img.SetClipping(0, 0, 8, 1);
    FontParams params{&font, ALIGN_TOP, {0, 10, 20, 30}};
    img.DrawTextEx(1, 0, "A B", params, 2);
    img.DrawTextEx(1, 0, "  B", params);
    EXPECT_EQ(Art(img), ".##.........\n.#.....##...\n............\n............\n");
    EXPECT_EQ(img.GetPixel(1, 1) + img.GetPixel(7, 1) + img.GetPixel(8, 1), 10u + 10u + 20u);
}
