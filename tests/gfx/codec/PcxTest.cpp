#include <gtest/gtest.h>

#include "tests/gfx/codec/CodecFixture.h"

using namespace qzmtest;

namespace {

// Made by tests/data/gfx/make_fixtures.py; sums from Pillow's decoding of the same files.
const FixtureRow kPcxFixtures[] = {
    {"pcx8.pcx", 13, 7, 8, 0x2D78C5F8u, 256, 0x9BA57BE8u},
    {"pcx8_runs.pcx", 40, 12, 8, 0x60301802u, 256, 0xE4298EDEu},
    {"pcx24.pcx", 13, 7, 24, 0xF2D51B52u, 0, 0},
    {"pcx24_runs.pcx", 40, 12, 24, 0x4F99D4C3u, 0, 0},
};

Bytes PcxHeader(unsigned version, unsigned bits, int width, int height, unsigned planes,
                unsigned lineBytes) {
    Bytes b;
    b.u8(10).u8(version).u8(1).u8(bits).u32(0).u16(width - 1).u16(height - 1).u16(72).u16(72);
    return b.fill(49).u8(planes).u16(lineBytes).u16(1).fill(58);
}

} // namespace

TEST(PcxTest, FixturesLoadAsTheirMakersDecodeThem) { ExpectFixtures(Load_PCX, kPcxFixtures); }

TEST(PcxTest, RunsStopAtTheEndOfEachPlaneLine) {
    // Two planes of 3 bytes: a run of 5 is cut at the plane's end, and the second plane starts
    // afresh; planes are stored last to first. Version 5 without the byte 12: no palette.
    Bytes b = PcxHeader(5, 8, 3, 1, 2, 3);
    b.u8(0xC5).u8(7).u8(0xC2).u8(8).u8(9).u8(1).u8(2);
    Loaded img(Load_PCX, b.s);
    EXPECT_EQ(16, img.bpp);
    EXPECT_EQ(nullptr, img.palette);
    EXPECT_EQ(std::string("\10\7\10\7\11\7", 6), img.Pixels());
}

TEST(PcxTest, MalformedFilesFailCleanly) {
    ExpectRefusals(Load_PCX, {
        {std::string("\12\5\1\10", 4), ""},
        {PcxHeader(5, 8, 0, 4, 1, 2).s, ""},
        {PcxHeader(5, 8, 4, 4, 0, 4).fill(16).s, ""},
        {PcxHeader(5, 8, 4, 4, 1, 4).s.replace(2, 1, "\2"), ""},
    });
    testing::internal::CaptureStderr();
    EXPECT_FALSE(Loaded(Load_PCX, PcxHeader(5, 1, 8, 8, 1, 2).fill(16).s).ok);
    EXPECT_EQ("PCX: format not supported, 1 bits per pixel.\n",
              testing::internal::GetCapturedStderr());

    // Lines shorter than the width and data that ends early decode as zeros.
    Bytes narrow = PcxHeader(0, 8, 4, 2, 1, 2);
    narrow.u8(0xC2).u8(5).u8(6);
    EXPECT_EQ(std::string("\5\5\0\0\6\0\0\0", 8), PixelsOf(Load_PCX, narrow.s));
}

TEST(PcxTest, ShortFilesDecodeWhatTheyHold) {
    // No short read is checked: a picture of plausible size is allocated whatever the file holds,
    // and what the data does not reach decodes as zeros (the stream reads zeros past its end).
    struct Case { std::string bytes; unsigned width, height; std::string start; size_t zeros; };
    const Case cases[] = {
        {PcxHeader(5, 8, 200, 100, 1, 200).u8(0xC3).u8(7).u8(8).s, 200, 100,
         std::string("\7\7\7\10", 4), 200 * 100 - 4},
        {PcxHeader(5, 8, 3000, 2000, 3, 3000).u8(0xC2).u8(7).s, 3000, 2000,
         std::string("\0\0\7\0\0\7", 6), 3000 * 2000 * 3 - 6},
        // A header cut after its plane fields: the rest of it reads as zeros.
        {PcxHeader(0, 8, 5, 4, 1, 6).s.substr(0, 70), 5, 4, "", 5 * 4},
    };
    LogCapture log;
    for (const Case& c : cases) {
        Loaded img(Load_PCX, c.bytes);
        ASSERT_TRUE(img.ok);
        EXPECT_EQ(c.width, img.width);
        EXPECT_EQ(c.height, img.height);
        EXPECT_EQ(nullptr, img.palette);
        const std::string pixels = img.Pixels();
        EXPECT_EQ(c.start, pixels.substr(0, c.start.size()));
        EXPECT_EQ(std::string(c.zeros, '\0'), pixels.substr(c.start.size()));
    }
    EXPECT_EQ("", log.text());
}

TEST(PcxTest, AbsurdHeadersAreRefusedBeforeAllocating) {
    // Over 64 MiB and more than the file could fill at 63 bytes for every 2.
    ExpectAbsurdRefused(Load_PCX, {
        PcxHeader(5, 8, 30000, 30000, 3, 60000).fill(64).s,
        PcxHeader(5, 8, 65535, 65535, 255, 65535).fill(4000).s,
        PcxHeader(5, 8, 10000, 7000, 1, 10000).fill(1000, 0xFF).s,
    }, "");
}

TEST(PcxTest, SaveWritesTheLayoutByteForByte) {
    QZMImage image(131, 1, 8);
    memset(image.pixels, 4, 130);
    image.pixels[130] = 0xC5;
    image.ReplacePalette(new QZMPal(2u));
    image.palette->entries[0] = QZMRGBA{1, 2, 3, 0};
    image.palette->entries[1] = QZMRGBA{4, 5, 6, 0};
    Bytes b = PcxHeader(5, 8, 131, 1, 1, 132);
    b.u8(0xFF).u8(4).u8(0xFF).u8(4).u8(0xC4).u8(4).u8(0xC1).u8(0xC5).u8(0);
    b.u8(12).u8(1).u8(2).u8(3).u8(4).u8(5).u8(6).fill(254 * 3);
    EXPECT_EQ(b.s, Saved(Save_PCX, image));

    // True colour: planes red, green, blue (last pixel byte first), each odd line with a zero
    // after it; the line length field is the pitch, so the reader cannot take such a file back.
    QZMImage rgb(1, 1, 24);
    memcpy(rgb.pixels, "\1\2\3", 3);
    EXPECT_EQ(PcxHeader(5, 8, 1, 1, 3, 4).str(std::string("\3\0\2\0\1\0", 6)).s,
              Saved(Save_PCX, rgb));
    QZMImage wide(1, 1, 16);
    EXPECT_EQ("", Saved(Save_PCX, wide));
}
