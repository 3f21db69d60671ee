#include <gtest/gtest.h>

#include <qzm/gfx/codec/internal/TgaRle.h>

#include "tests/gfx/codec/CodecFixture.h"

using namespace qzmtest;
using QZM::internal::RLE_Encode_Line;

namespace {

// Made by tests/data/gfx/make_gif_tga.py; sums from Pillow's decoding of the same files.
const FixtureRow kTgaFixtures[] = {
    {"tga_grey_bu.tga", 17, 9, 8, 0x8707BF12u, 0, 0},
    {"tga_grey_netpbm.tga", 17, 9, 8, 0x8707BF12u, 0, 0},
    {"tga_grey_rle_td.tga", 17, 9, 8, 0x8707BF12u, 0, 0},
    {"tga_map_bu.tga", 13, 7, 8, 0x25E659F1u, 24, 0xDB34887Du},
    {"tga_map_rle.tga", 13, 7, 8, 0x25E659F1u, 24, 0xDB34887Du},
    {"tga_map_td.tga", 13, 7, 8, 0xA49664B9u, 24, 0xDB34887Du},
    {"tga_rgb24_bu.tga", 29, 11, 24, 0xD21F5248u, 0, 0},
    {"tga_rgb24_netpbm_rle.tga", 29, 11, 24, 0xD21F5248u, 0, 0},
    {"tga_rgb24_rle.tga", 29, 11, 24, 0xCC636BB4u, 0, 0},
    {"tga_rgb24_td.tga", 29, 11, 24, 0xD21F5248u, 0, 0},
    {"tga_rgba32_bu.tga", 29, 11, 32, 0xFCAF203Eu, 0, 0},
    {"tga_rgba32_rle_td.tga", 29, 11, 32, 0x10DB6186u, 0, 0},
};

Bytes TgaHeader(unsigned cmType, unsigned type, unsigned cmStart, unsigned cmLen, unsigned cmBits,
                unsigned width, unsigned height, unsigned depth, unsigned descriptor) {
    Bytes b;
    b.u8(0).u8(cmType).u8(type).u16(cmStart).u16(cmLen).u8(cmBits).u32(0);
    return b.u16(width).u16(height).u8(depth).u8(descriptor);
}

} // namespace

TEST(TgaTest, FixturesLoadAsTheirMakersDecodeThem) { ExpectFixtures(Load_TGA, kTgaFixtures); }

TEST(TgaTest, PacketsRunAcrossRowsAndAlphaIsInverted) {
    // Bottom-up 3x2 at 32 bits: a run of 4 fills the last row and spills into the first.
    Bytes b = TgaHeader(0, 10, 0, 0, 0, 3, 2, 32, 8);
    b.u8(0x83).u32(0x00332211).u8(0x01).u32(0xFF010203).u32(0x10445566);
    EXPECT_EQ(Bytes().u32(0xFF332211).u32(0x00010203).u32(0xEF445566)
                  .u32(0xFF332211).u32(0xFF332211).u32(0xFF332211).s, PixelsOf(Load_TGA, b.s));
}

TEST(TgaTest, RowCoderPicksRawAndRunPackets) {
    uint8_t out[1024];
    const uint8_t abbbc[] = {1, 3, 3, 3, 4};
    ASSERT_EQ(6, RLE_Encode_Line(abbbc, 5, out, 1));
    EXPECT_EQ(std::string("\0\1\x82\3\0\4", 6), std::string((char*)out, 6));
    std::string same(200 * 3, '\x07');
    ASSERT_EQ(8, RLE_Encode_Line((const uint8_t*)same.data(), 200, out, 3));
    EXPECT_EQ(std::string("\xFF\7\7\7\xC7\7\7\7"), std::string((char*)out, 8));
    // Worst case, no two neighbours equal: raw packets of 128, 128 and 44 pixels.
    uint8_t row[300 * 3];
    for (unsigned i = 0; i < sizeof row; i++) row[i] = uint8_t(i / 3 % 2);
    ASSERT_EQ(300 * 3 + 3, RLE_Encode_Line(row, 300, out, 3));
    EXPECT_EQ(127, out[0]);
    EXPECT_EQ(43, out[2 + 256 * 3]);
    EXPECT_EQ(0, RLE_Encode_Line(row, 0, out, 3));
}

TEST(TgaTest, WritersProduceTheLayoutByteForByte) {
    QZMImage mapped(2, 2, 8);
    memcpy(mapped.pixels, "\1\2\3\4", 4);
    mapped.ReplacePalette(new QZMPal(16u));
    for (unsigned i = 0; i < 16; i++) mapped.palette->entries[i] = QZMRGBA{uint8_t(i), 2, 3, 4};
    Bytes raw = TgaHeader(1, 1, 0, 16, 24, 2, 2, 8, 0);
    for (unsigned i = 0; i < 16; i++) raw.u8(3).u8(2).u8(i);
    EXPECT_EQ(raw.str("\3\4\1\2").s, Saved(Save_TGA, mapped));

    QZMImage rgba(3, 1, 32);
    memcpy(rgba.pixels, "\1\2\3\0\1\2\3\0\5\6\7\x80", 12);
    Bytes rle = TgaHeader(0, 10, 0, 0, 0, 3, 1, 32, 8).u8(0x81).u32(0x00030201);
    EXPECT_EQ(rle.u8(0).u32(0x80070605).s, Saved(Save_TGA_RLE, rgba));
    QZMImage grey(1, 1, 8);
    grey.pixels[0] = 9;
    EXPECT_EQ(TgaHeader(0, 2, 0, 0, 0, 1, 1, 8, 0).u8(9).s, Saved(Save_TGA, grey));

    LogCapture log;
    QZMImage deep(2, 2, 16);
    EXPECT_EQ("", Saved(Save_TGA, deep));
    EXPECT_EQ("", Saved(Save_TGA_RLE, deep));
    EXPECT_EQ("TGA: can not handle 16 bits image.\nTGA: can not handle 16 bits image.\n",
              log.text());
}

TEST(TgaTest, SavedImagesLoadBack) {
    for (unsigned bpp : {8u, 24u, 32u}) {
        QZMImage image(131, 3, bpp);
        for (unsigned i = 0; i < image.pitch * image.height; i++)
            image.pixels[i] = uint8_t(i % 7 < 4 ? 50 : i * 13);
        for (auto save : {Save_TGA, Save_TGA_RLE}) {
            Loaded back(Load_TGA, Saved(save, image));
            ASSERT_TRUE(back.ok);
            std::string expected((char*)image.pixels, image.pitch * image.height);
            for (size_t i = 3; bpp == 32 && i < expected.size(); i += 4)
                expected[i] = char(255 - uint8_t(expected[i]));
            EXPECT_EQ(expected, back.Pixels());
        }
    }
}

TEST(TgaTest, MalformedFilesFailCleanly) {
    ExpectRefusals(Load_TGA, {
        {TgaHeader(2, 1, 0, 0, 0, 2, 2, 8, 0).fill(4).s, "TGA:: bad format\n"},
        {TgaHeader(0, 4, 0, 0, 0, 2, 2, 8, 0).fill(4).s, "TGA:: Unsupported type 4\n"},
        {std::string(2, '\0'), "TGA:: Unsupported type 0\n"},
        {TgaHeader(0, 2, 0, 0, 0, 2, 2, 12, 0).fill(8).s, "TGA:: bad format\n"},
        {TgaHeader(1, 2, 0, 2, 24, 2, 2, 24, 0).fill(18).s, "TGA: Error colormap in 24 bits mode\n"},
        {TgaHeader(1, 1, 0, 2, 16, 2, 2, 8, 0).fill(8).s,
         "TGA: error in colormap depth = 2 bytes.\n"},
        {TgaHeader(1, 1, 0, 300, 24, 2, 2, 8, 0).fill(10).s, "TGA: Error reading palette\n"},
        {TgaHeader(1, 1, 5, 2, 32, 2, 2, 8, 0).fill(24).s,
         "TGA: Error, cmstart > cmlen !\nTGA: Error reading palette\n"},
        {TgaHeader(0, 10, 0, 0, 0, 3, 2, 24, 0).u8(0x82).fill(3).s,
         "TGA: Error reading data, line 0, x= 0"},
        {TgaHeader(0, 10, 0, 0, 0, 4, 2, 24, 0x20).u8(0x83).fill(3).u8(2).fill(6).s,
         "TGA: Error reading data, line 1, x= 2"},
    });
    // A packet past the last pixel is cut; a colour map of length 0 drops the palette.
    EXPECT_EQ("\5\5", PixelsOf(Load_TGA, TgaHeader(0, 10, 0, 0, 0, 2, 1, 8, 0).u8(0xFF).u8(5).s));
    Loaded none;
    std::string noMap = TgaHeader(1, 1, 0, 0, 24, 1, 1, 8, 0).u8(3).s;
    QZMMemFile f = Reader(noMap);
    none.palette = new QZMPal(4u);
    EXPECT_TRUE(Load_TGA(f, &none.pixels, none.width, none.height, &none.palette, none.bpp));
    EXPECT_EQ(nullptr, none.palette);
}

TEST(TgaTest, ShortFilesGiveTheirReadError) {
    // Pictures of plausible size are allocated whatever the file holds; the first pixel the
    // data lacks is reported, by its image row and column.
    ExpectRefusals(Load_TGA, {
        {TgaHeader(0, 2, 0, 0, 0, 8, 4, 24, 0).fill(30).s, "TGA: Error reading data, line 2, x= 2"},
        {TgaHeader(0, 2, 0, 0, 0, 8, 4, 24, 0x20).fill(30).s,
         "TGA: Error reading data, line 1, x= 2"},
        {TgaHeader(0, 3, 0, 0, 0, 5, 5, 8, 0).s, "TGA: Error reading data, line 4, x= 0"},
        {TgaHeader(0, 11, 0, 0, 0, 16, 16, 8, 0).u8(0x8F).u8(1).u8(0x02).u8(5).s,
         "TGA: Error reading data, line 14, x= 1"},
        {TgaHeader(0, 10, 0, 0, 0, 6, 6, 32, 0x20).u8(0x80).u32(1).u8(3).u32(2).u32(3).s,
         "TGA: Error reading data, line 0, x= 3"},
        {TgaHeader(1, 9, 0, 2, 24, 7, 3, 8, 0).fill(6).u8(0x85).u8(1).s,
         "TGA: Error reading data, line 2, x= 6"},
        {TgaHeader(0, 2, 0, 0, 0, 2000, 2000, 32, 0).fill(16).s,
         "TGA: Error reading data, line 1999, x= 4"},
    });
}

TEST(TgaTest, AbsurdHeadersAreRefusedBeforeAllocating) {
    // Over 64 MiB and more than the file could fill at 128 pixels a packet.
    ExpectAbsurdRefused(Load_TGA, {
        TgaHeader(0, 2, 0, 0, 0, 65535, 65535, 32, 0).fill(64).s,
        TgaHeader(0, 10, 0, 0, 0, 65535, 65535, 8, 0).fill(64, 0xFF).s,
        TgaHeader(0, 10, 0, 0, 0, 65535, 65535, 32, 0).fill(100000, 0xFF).s,
        TgaHeader(0, 3, 0, 0, 0, 9000, 9000, 8, 0).fill(1000).s,
    }, "TGA: not enough memory\n");
}
