#pragma once
#include <algorithm>
#include <cstdint>
#include <string>
#include <gtest/gtest.h>
#include <qzm/gfx/Pal.h>
#include <qzm/gfx/codec/Codecs.h>
#include <qzm/gfx/Image.h>
#include <qzm/io/File.h>
#include <qzm/io/MemFile.h>
#include "tests/support/TestSupport.h"

namespace qzmtest {

using Loader = bool (*)(QZMResFile&, unsigned char**, unsigned&, unsigned&, QZMPal**,
                        unsigned short&);

/// One row per fixture file: the pixels and palette as the loader must give them (the palette
/// sum runs over the red, green and blue of each entry).
struct FixtureRow {
    const char* file;
    unsigned width, height, bpp, pixelSum, paletteSize, paletteSum;
};

inline uint32_t Fnv1a(const uint8_t* p, size_t n, uint32_t h = 0x811C9DC5u) {
    for (size_t i = 0; i < n; i++) h = (h ^ p[i]) * 0x01000193u;
    return h;
}

/// A read-only stream over the bytes, which must outlive it.
inline QZMMemFile Reader(const std::string& bytes) {
    return QZMMemFile(unsigned(bytes.size()), QZMResFile::READ,
                      reinterpret_cast<unsigned char*>(const_cast<char*>(bytes.data())));
}

/// The outputs of one loader call, freed with the object.
struct Loaded {
    unsigned char* pixels = nullptr;
    unsigned width = 0, height = 0;
    QZMPal* palette = nullptr;
    unsigned short bpp = 0;
    bool ok = false;

    Loaded() = default;
    Loaded(Loader load, QZMResFile& f) { ok = load(f, &pixels, width, height, &palette, bpp); }
    Loaded(Loader load, const std::string& bytes) {
        QZMMemFile f = Reader(bytes);
        ok = load(f, &pixels, width, height, &palette, bpp);
    }
    ~Loaded() {
        delete[] pixels;
        delete palette;
    }
    size_t Size() const { return size_t(width) * height * ((bpp + 7) / 8); }
    std::string Pixels() const { return pixels ? std::string((char*)pixels, Size()) : ""; }
    uint32_t PixelSum() const { return Fnv1a(pixels, Size()); }
    uint32_t PaletteSum() const {
        uint32_t h = 0x811C9DC5u;
        for (unsigned i = 0; palette && i < palette->size; i++)
            h = Fnv1a(&palette->entries[i].r, 3, h);
        return h;
    }
};

/// The pixels the loader gives for bytes it must accept.
inline std::string PixelsOf(Loader load, const std::string& bytes) {
    Loaded img(load, bytes);
    EXPECT_TRUE(img.ok);
    return img.Pixels();
}

/// A file the loader must refuse, and all it logs on the way.
struct Refusal {
    std::string bytes;
    const char* log;
};

template <size_t N> void ExpectRefusals(Loader load, const Refusal (&cases)[N]) {
    LogCapture log;
    for (const Refusal& c : cases) {
        EXPECT_FALSE(Loaded(load, c.bytes).ok) << c.log;
        EXPECT_EQ(c.log, log.text());
    }
}

/// Headers promising absurd sizes: refused before any pixels are allocated, logging message.
template <size_t N>
void ExpectAbsurdRefused(Loader load, const std::string (&files)[N], const char* message) {
    LogCapture log;
    for (size_t i = 0; i < N; i++) {
        SCOPED_TRACE("absurd file " + std::to_string(i));
        Loaded img(load, files[i]);
        EXPECT_FALSE(img.ok);
        EXPECT_EQ(nullptr, img.pixels);
        EXPECT_EQ(message, log.text());
    }
}

/// Little-endian byte builder for hand-made files.
struct Bytes {
    std::string s;
    Bytes& u8(unsigned v) { s += char(v); return *this; }
    Bytes& u16(unsigned v) { return u8(v & 0xFF).u8(v >> 8 & 0xFF); }
    Bytes& u32(uint32_t v) { return u16(v & 0xFFFF).u16(v >> 16); }
    Bytes& str(const std::string& t) { s += t; return *this; }
    Bytes& fill(size_t n, unsigned v = 0) { s.append(n, char(v)); return *this; }
};

/// The file that save(stream, image) writes to disk; "" when it returns false.
template <class Save> std::string Saved(Save save, QZMImage& image) {
    TempDir dir;
    bool ok;
    {
        QZMFile f(dir.file("out").c_str(), QZMResFile::READWRITE | QZMResFile::TRUNC);
        ok = save(f, image);
    }
    return ok ? ReadFile(dir.file("out")) : std::string();
}

/// One character per pixel, a row per line: ink[value], or its last character for the values
/// beyond it.
inline std::string Art(const QZMImage& img, const std::string& ink = ".#") {
    std::string art;
    for (unsigned y = 0; y < img.height; ++y) {
        for (unsigned x = 0; x < img.width; ++x)
            art += ink[std::min<size_t>(img.GetPixel(int(x), int(y)), ink.size() - 1)];
        art += '\n';
    }
    return art;
}

inline std::string Fixture(const char* name) {
    return ReadFile(std::string(QZM_TEST_DATA "/gfx/") + name);
}

/// Loads every fixture file of the table and compares it with its row.
template <size_t N>
void ExpectFixtures(Loader load, const FixtureRow (&rows)[N]) {
    for (const FixtureRow& row : rows) {
        SCOPED_TRACE(row.file);
        Loaded img(load, Fixture(row.file));
        ASSERT_TRUE(img.ok);
        EXPECT_EQ(row.width, img.width);
        EXPECT_EQ(row.height, img.height);
        EXPECT_EQ(row.bpp, img.bpp);
        EXPECT_EQ(row.pixelSum, img.PixelSum());
        EXPECT_EQ(row.paletteSize, img.palette ? img.palette->size : 0u);
        if (row.paletteSize) EXPECT_EQ(row.paletteSum, img.PaletteSum());
        // A disk stream meets the end of the data differently from a memory one.
        QZMFile disk((std::string(QZM_TEST_DATA "/gfx/") + row.file).c_str(), QZMResFile::READ);
        Loaded fromDisk(load, disk);
        EXPECT_TRUE(fromDisk.ok);
        EXPECT_EQ(row.pixelSum, fromDisk.PixelSum());
    }
}

} // namespace qzmtest
