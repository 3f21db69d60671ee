#include <gtest/gtest.h>

#include "tests/gfx/codec/CodecFixture.h"

using namespace qzmtest;

namespace {

// Made by tests/data/gfx/make_fixtures.py; sums from Pillow's decoding of the same files.
const FixtureRow kBmpFixtures[] = {
    {"bmp1_v3.bmp", 13, 7, 8, 0x31ACCCC0u, 2, 0x9335261Cu},
    {"bmp1_v2.bmp", 13, 7, 8, 0x31ACCCC0u, 2, 0x9335261Cu},
    {"bmp4_v3.bmp", 13, 7, 8, 0x4A02C522u, 16, 0xDF5582DEu},
    {"bmp4_v2.bmp", 13, 7, 8, 0x4A02C522u, 16, 0xDF5582DEu},
    {"bmp8_v3.bmp", 13, 7, 8, 0x2D78C5F8u, 256, 0x9BA57BE8u},
    {"bmp8_v2.bmp", 13, 7, 8, 0x15EDF7FEu, 256, 0xB1603784u},
    {"bmp8_rle.bmp", 40, 12, 8, 0x3262BA8Fu, 256, 0xE4298EDEu},
    {"bmp16_v3.bmp", 13, 7, 16, 0x9AE2671Cu, 0, 0},
    {"bmp16_v2.bmp", 13, 7, 16, 0x33F90C8Cu, 0, 0},
    {"bmp24_v3.bmp", 13, 7, 24, 0xF2D51B52u, 0, 0},
    {"bmp24_v2.bmp", 13, 7, 24, 0xF2D51B52u, 0, 0},
    {"bmp32_v3.bmp", 13, 7, 32, 0xE33F34F2u, 0, 0},
};

// A 40-byte-header file; data follows the colour table directly.
Bytes BmpFile(int32_t width, int32_t height, unsigned bits, unsigned compression,
              unsigned colours) {
    Bytes b;
    b.str("BM").u32(0).u32(0).u32(54 + 4 * colours).u32(40).u32(uint32_t(width));
    b.u32(uint32_t(height)).u16(1).u16(bits).u32(compression).fill(20);
    for (unsigned i = 0; i < colours; i++) b.u8(i).u8(i + 1).u8(i + 2).u8(0);
    return b;
}

} // namespace

TEST(BmpTest, FixturesLoadAsTheirMakersDecodeThem) { ExpectFixtures(Load_BMP, kBmpFixtures); }

TEST(BmpTest, RunLengthQuirksAreKept) {
    // Bottom row first: a run, an odd literal that overruns the buffer (dropped), end of line,
    // a delta of (1, 1) that moves back down a row, a run, two ends of line: the counter reaches
    // row 0, whose run is never read.
    Bytes b = BmpFile(4, 3, 8, 1, 0);
    for (unsigned v : {2, 7, 0, 3, 1, 2, 3, 0, 0, 0, 0, 2, 1, 1, 1, 9, 0, 0, 0, 0, 4, 5, 0, 1})
        b.u8(v);
    EXPECT_EQ(std::string("\0\0\0\0\0\0\0\0\7\11\1\2", 12), PixelsOf(Load_BMP, b.s));
}

TEST(BmpTest, MalformedAndShortFilesGiveTheirMessages) {
    // Pictures of plausible size are allocated whatever the file holds; the rows it lacks then
    // give the read error of the steps: a short row read, or the end of the data after a row.
    ExpectRefusals(Load_BMP, {
        {"BM\1", "BMP: bad file header\n"},
        {"XM" + std::string(60, '\0'), "BMP: bad file header\n"},
        {BmpFile(4, 4, 4, 2, 0).s, "BMP: compressed data not supported.\n"},
        {BmpFile(4, 4, 24, 1, 0).s, "BMP: compressed data not supported.\n"},
        {BmpFile(4, 4, 7, 0, 0).fill(64).s, "BMP: bad file header\n"},
        {BmpFile(4, 3, 1, 0, 2).fill(5).s, "BMP: unexpected EOF\n"},
        {BmpFile(64, 64, 8, 0, 256).fill(64, 1).s, "BMP: unexpected EOF\n"},
        {BmpFile(64, 64, 8, 0, 256).fill(100, 1).s, "BMP: error reading data\n"},
        {BmpFile(4, 3, 24, 0, 0).fill(20, 1).s, "BMP: error reading data\n"},
        {BmpFile(4, 3, 24, 0, 0).s, "BMP: error reading data\n"},
        {BmpFile(3000, 2000, 32, 0, 0).fill(12000, 1).s, "BMP: unexpected EOF\n"},
        {BmpFile(100, 100, 1, 0, 2).fill(3 * 16, 1).s, "BMP: unexpected EOF\n"},
        {BmpFile(100, 100, 4, 0, 16).fill(2 * 52 + 7, 1).s, "BMP: unexpected EOF\n"},
    });
    // Runs past the buffer or above the top row are dropped; run-length data that ends early
    // leaves the rest of the cleared picture, silently.
    Bytes rleOverrun = BmpFile(4, 2, 8, 1, 0);
    rleOverrun.u8(255).u8(1).u8(0).u8(2).u8(255).u8(200).u8(0).u8(255).fill(255, 3);
    Bytes rleAbove = BmpFile(4, 1, 8, 1, 0);
    for (unsigned v : {0, 0, 3, 9, 0, 0, 0, 2, 0, 255, 250, 8}) rleAbove.u8(v);
    LogCapture log;
    EXPECT_EQ(std::string("\0\0\0\0\1\1\1\1", 8), PixelsOf(Load_BMP, rleOverrun.s));
    EXPECT_EQ(std::string(4, '\0'), PixelsOf(Load_BMP, rleAbove.s));
    EXPECT_EQ(std::string(199 * 300, '\0') + std::string(3, '\11') + std::string(297, '\0'),
              PixelsOf(Load_BMP, BmpFile(300, 200, 8, 1, 0).u8(3).u8(9).s));
    EXPECT_EQ("", log.text());
}

TEST(BmpTest, AbsurdHeadersAreRefusedBeforeAllocating) {
    // Over 64 MiB and more than the few bytes of the file could fill at the densest encoding;
    // sizes that are negative or zero.
    ExpectAbsurdRefused(Load_BMP, {
        BmpFile(0x7FFFFFFF, 0x7FFFFFFF, 32, 0, 0).fill(64).s,
        BmpFile(0x7FFFFFFF, 0x7FFFFFFF, 24, 0, 0).fill(64).s,
        BmpFile(100000, 1000, 1, 0, 2).fill(64).s,
        BmpFile(70000, 70000, 8, 1, 256).fill(64).s,
        BmpFile(60000, 60000, 8, 1, 256).fill(64).s,
        BmpFile(-1, -1, 24, 0, 0).fill(4).s,
        BmpFile(4, -4, 8, 0, 256).fill(64).s,
        BmpFile(0, 4, 8, 0, 256).fill(64).s,
    }, "BMP: can not allocate image\n");
}

TEST(BmpTest, SaveWritesTheLayoutAndLoadsBack) {
    QZMImage image(3, 2, 8);
    memcpy(image.pixels, "\1\2\3\4\5\6", 6);
    image.ReplacePalette(new QZMPal(16u));
    for (unsigned i = 0; i < 16; i++) image.palette->entries[i] = QZMRGBA{uint8_t(i), 2, 3, 4};
    Bytes b;
    b.str("BM").u32(54 + 1024 + 8).u32(0).u32(54 + 64).u32(40).u32(3).u32(2).u16(1).u16(8);
    b.u32(0).u32(6).u32(0).u32(0).u32(16).u32(16);
    for (unsigned i = 0; i < 16; i++) b.u8(3).u8(2).u8(i).u8(4);
    b.fill(240 * 4).str(std::string("\4\5\6\0\1\2\3\0", 8));
    EXPECT_EQ(b.s, Saved(Save_BMP, image));
    // The other depths load back as they were; 15 bits are written as 16.
    for (unsigned bpp : {15u, 24u, 32u}) {
        QZMImage deep(5, 3, bpp);
        for (unsigned i = 0; i < deep.pitch * deep.height; i++) deep.pixels[i] = uint8_t(i * 7);
        std::string file = Saved(Save_BMP, deep);
        EXPECT_EQ(bpp == 15 ? 16u : bpp, unsigned(uint8_t(file[28])));
        Loaded back(Load_BMP, file);
        ASSERT_TRUE(back.ok);
        EXPECT_EQ(Fnv1a(deep.pixels, deep.pitch * deep.height), back.PixelSum());
    }
}
