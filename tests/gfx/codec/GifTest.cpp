#include <gtest/gtest.h>

#include <vector>

#include "tests/gfx/codec/CodecFixture.h"

using namespace qzmtest;

namespace {

// Made by tests/data/gfx/make_gif_tga.py; sums from Pillow's decoding of the same files.
const FixtureRow kGifFixtures[] = {
    {"gif_87a.gif", 23, 11, 8, 0x14401D94u, 16, 0xA90346B5u},
    {"gif_89a_interlaced.gif", 31, 13, 8, 0xAA8E25CDu, 32, 0x206A6C25u},
    {"gif_local_frames.gif", 30, 20, 8, 0x2B072C6Du, 8, 0xF410CDEDu},
    {"gif_lzw_full.gif", 72, 64, 8, 0xE2B3EF4Cu, 256, 0x7EB7F1C5u},
    {"gif_netpbm_interlaced.gif", 19, 9, 8, 0x9A25C31Du, 8, 0xDB707C35u},
    {"gif_offset_frame.gif", 15, 7, 8, 0x4F8B5218u, 32, 0xD67967CDu},
    {"gif_transparent.gif", 21, 10, 8, 0x043A8B37u, 64, 0x4A1AAE45u},
};

// LZW codes packed least significant bit first, each as wide as the decoder expects it.
struct Codes {
    int minSize, clear, width, maxCode, maxCodeSize;
    bool first = true;
    std::string bytes;
    uint64_t acc = 0;
    int bits = 0;

    explicit Codes(int minSize) : minSize(minSize), clear(1 << minSize) { Reset(); }
    void Reset() {
        width = minSize + 1;
        maxCode = clear + 2;
        maxCodeSize = 2 * clear;
        first = true;
    }
    Codes& Put(int code) {
        acc |= uint64_t(code) << bits;
        for (bits += width; bits >= 8; bits -= 8, acc >>= 8) bytes += char(acc & 0xFF);
        if (code == clear) Reset();
        else if (first) first = false;
        else if (maxCode < 4096 && ++maxCode >= maxCodeSize && maxCodeSize < 4096) {
            maxCodeSize *= 2;
            width++;
        }
        return *this;
    }
    /// The codes in data blocks of up to blockSize bytes, closed by a zero block.
    std::string Blocks(size_t blockSize = 255) {
        std::string data = bytes + (bits ? std::string(1, char(acc)) : "");
        std::string out;
        for (size_t i = 0; i < data.size(); i += blockSize) {
            std::string block = data.substr(i, blockSize);
            out += char(block.size()) + block;
        }
        return out + '\0';
    }
};

// A file with a 4-entry global map and one image of the given descriptor flags.
Bytes GifFile(unsigned width, unsigned height, unsigned flags, int minSize,
              const std::string& data) {
    Bytes b;
    b.str("GIF89a").u16(width).u16(height).u8(0x81).u8(0).u8(0);
    for (unsigned i = 0; i < 4; i++) b.u8(i).u8(i * 2).u8(i * 3);
    b.u8(',').u16(0).u16(0).u16(width).u16(height).u8(flags);
    if (flags & 0x80) b.fill(3u << ((flags & 7) + 1), 9);
    return b.u8(minSize).str(data).u8(';');
}

std::string Decoded(const std::vector<int>& codes, unsigned width, unsigned height) {
    Codes c(2);
    for (int code : codes) c.Put(code);
    return PixelsOf(Load_GIF, GifFile(width, height, 0, 2, c.Blocks()).s);
}

} // namespace

TEST(GifTest, FixturesLoadAsTheirMakersDecodeThem) { ExpectFixtures(Load_GIF, kGifFixtures); }

TEST(GifTest, CodesDecodeAsTheTableSays) {
    // Clear 4, end 5: code 6 names the entry being defined (1 then 1), then "1 1" again.
    EXPECT_EQ(std::string("\1\1\1\1\1", 5), Decoded({4, 1, 6, 6, 5}, 5, 1));
    EXPECT_EQ(std::string("\0\1\0\1\3", 5), Decoded({4, 0, 1, 6, 3, 5}, 5, 1));
    // 4200 literals: the codes widen from 3 to 12 bits and stop at 4096 entries.
    std::vector<int> codes{4};
    std::string expected;
    for (int i = 0; i < 4200; i++) {
        codes.push_back(i * 7 / 3 % 4);
        expected += char(codes.back());
    }
    codes.push_back(5);
    EXPECT_EQ(expected, Decoded(codes, 70, 60));
}

TEST(GifTest, TheImageDescriptorGivesSizeAndMap) {
    Bytes b = GifFile(3, 2, 0x83, 2, Codes(2).Put(4).Put(1).Put(2).Put(5).Blocks());
    b.s[6] = 40; // a wider logical screen
    Loaded img(Load_GIF, b.s);
    ASSERT_TRUE(img.ok);
    EXPECT_EQ(3u, img.width);
    ASSERT_EQ(16u, img.palette->size); // the local map, filled with 9
    EXPECT_EQ(9, img.palette->entries[15].b);
}

TEST(GifTest, MalformedFilesFailCleanly) {
    const std::string screen = Bytes().str("GIF87a").u16(4).u16(4).u8(0).u8(0).u8(0).s;
    const std::string image = Bytes().u8(',').u16(0).u16(0).u16(4).u16(4).u8(0).s;
    ExpectRefusals(Load_GIF, {
        {"GIF88a" + screen.substr(6), "GIF: error reading magic number\n"},
        {"GIF89b" + screen.substr(6), "GIF: error reading magic number\n"},
        {screen.substr(0, 10), "GIF: failed to read screen descriptor\n"},
        {screen.substr(0, 10) + "\x80xy\1\2", "GIF: bad colormap\nGIF: error reading global colormap\n"},
        {screen + ";", "GIF: only 0/1 images found in file\n"},
        {screen + "!", "GIF: EOF / read error on extension function code\n"},
        {screen + "!\xFE\x0A" "abc", "GIF: EOF / read error on image data\n"},
        {screen + image.substr(0, 6), "GIF: couldn't read left/top/width/height\n"},
        {screen + image.substr(0, 9) + "\x82\1\2",
         "GIF: bad colormap\nGIF: error reading local colormap\n"},
        // A code size above 12; the next image is then only skipped.
        {screen + image + Bytes().u8(13).u8(1).u16(0).str(image).u8(2).u8(1).u16(0).s + ";",
         "GIF: error reading image\nGIF: EOF / read error on image data\n"},
    });
    // Entry 7 gets itself as prefix, its string never ends; no data at all: both still load.
    Codes cycle(2);
    for (int code : {4, 0, 7, 6, 7}) cycle.Put(code);
    EXPECT_TRUE(Loaded(Load_GIF, GifFile(100, 100, 0x40, 2, cycle.Blocks()).s).ok);
    EXPECT_TRUE(Loaded(Load_GIF, GifFile(10, 10, 0, 2, std::string("\0", 1)).s).ok);
}

TEST(GifTest, ShortDataGivesAPartlyFilledPicture) {
    // A picture of plausible size is allocated whatever the file holds; the codes then end with
    // the data, and what they did not reach is zero. No block ends the data, no trailer follows.
    LogCapture log;
    Codes codes(2);
    codes.Put(4).Put(1).Put(2).Put(3);
    std::string data = codes.Blocks();
    data.pop_back();
    for (unsigned size : {100u, 5000u}) {
        SCOPED_TRACE(size);
        std::string bytes = GifFile(size, size, 0, 2, data).s;
        bytes.pop_back();
        Loaded img(Load_GIF, bytes);
        ASSERT_TRUE(img.ok);
        EXPECT_EQ(size, img.width);
        EXPECT_EQ(size, img.height);
        EXPECT_EQ(4u, img.palette->size);
        const std::string pixels = img.Pixels();
        EXPECT_EQ(std::string("\1\2\3", 3), pixels.substr(0, 3));
        EXPECT_EQ(std::string(pixels.size() - 16, '\0'), pixels.substr(16));
    }
    EXPECT_EQ("", log.text());
}

TEST(GifTest, AbsurdHeadersAreRefusedBeforeAllocating) {
    // Over 64 MiB and more than the file could fill at 4096 pixels a byte; an empty picture.
    ExpectAbsurdRefused(Load_GIF, {GifFile(65535, 65535, 0, 2, "\1x").s,
                                   GifFile(9000, 9000, 0, 2, std::string(200, '\xFF')).s,
                                   GifFile(0, 3, 0, 2, "\1x").s},
                        "GIF: error reading image\nGIF: EOF / read error on image data\n");
}
