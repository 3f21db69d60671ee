// Loading and saving 1024x768 BMP and PCX files from memory, each load next to SDL_image's
// IMG_Load_RW on the same bytes.
#include <qzm/gfx/Image.h>
#include <qzm/gfx/codec/Codecs.h>
#include <qzm/io/MemFile.h>

#include "LoadBench.h"

#include <cstring>
#include <string>

using namespace qzmbench;

namespace {

constexpr unsigned kWidth = 1024;
constexpr unsigned kHeight = 768;

// Bands 16 pixels wide with a slow vertical drift: runs for the coders, varied rows.
uint8_t Shade(unsigned x, unsigned y, unsigned channel) {
    return uint8_t((x / 16) * 7 + (y / 8) * 3 + channel * 50);
}


// Runs of up to 255 equal bytes per row, each row closed by an end of line; the library has no
// RLE writer.
std::string Bmp8Rle() {
    std::string data;
    for (unsigned y = kHeight; y-- > 0;) {
        for (unsigned x = 0; x < kWidth;) {
            unsigned n = 1;
            while (x + n < kWidth && n < 255 && Shade(x + n, y, 0) == Shade(x, y, 0)) n++;
            data += char(n);
            data += char(Shade(x, y, 0));
            x += n;
        }
        data += std::string("\0\0", 2);
    }
    data += std::string("\0\1", 2);
    std::string file = "BM";
    Put(file, 54 + 1024 + uint32_t(data.size()), 4);
    Put(file, 0, 4);
    Put(file, 54 + 1024, 4);
    Put(file, 40, 4);
    Put(file, kWidth, 4);
    Put(file, kHeight, 4);
    Put(file, 1, 2);
    Put(file, 8, 2);
    Put(file, 1, 4);
    Put(file, uint32_t(data.size()), 4);
    Put(file, 0, 16);
    for (unsigned i = 0; i < 256; i++) Put(file, i * 0x010101u, 4);
    return file + data;
}

// A standard PCX with one plane line of width bytes per plane (the library's writer gives the
// whole pitch as line length, which other readers take differently).
std::string Pcx(unsigned planes) {
    std::string file(128, '\0');
    file[0] = 10, file[1] = 5, file[2] = 1, file[3] = 8;
    file[8] = char((kWidth - 1) & 0xFF), file[9] = char((kWidth - 1) >> 8);
    file[10] = char((kHeight - 1) & 0xFF), file[11] = char((kHeight - 1) >> 8);
    file[65] = char(planes), file[66] = char(kWidth & 0xFF), file[67] = char(kWidth >> 8);
    file[68] = 1;
    for (unsigned y = 0; y < kHeight; y++)
        for (unsigned p = 0; p < planes; p++)
            for (unsigned x = 0; x < kWidth;) {
                unsigned n = 1;
                while (x + n < kWidth && n < 63 && Shade(x + n, y, p) == Shade(x, y, p)) n++;
                file += char(0xC0 | n);
                file += char(Shade(x, y, p));
                x += n;
            }
    if (planes == 1) {
        file += char(12);
        for (unsigned i = 0; i < 256; i++) Put(file, i * 0x010101u, 3);
    }
    return file;
}

QZMImage* MakeImage(unsigned bpp) {
    QZMImage* image = new QZMImage(kWidth, kHeight, bpp);
    const unsigned bytes = image->BytesPerPixel();
    for (unsigned y = 0; y < kHeight; y++)
        for (unsigned x = 0; x < kWidth; x++)
            for (unsigned c = 0; c < bytes; c++)
                image->pixels[y * image->pitch + x * bytes + c] = Shade(x, y, c);
    if (bpp == 8) {
        image->ReplacePalette(new QZMPal(256u));
        image->palette->GenerateGreyScale(256);
    }
    return image;
}

std::string Saved(bool (*save)(QZMResFile&, QZMImage&), unsigned bpp) {
    QZMImage* image = MakeImage(bpp);
    QZMMemFile f(kWidth * kHeight * 8, QZMResFile::READWRITE);
    save(f, *image);
    // The BMP writer ends at its size field: the file's length is stored there.
    uint32_t size = f.data[2] | f.data[3] << 8 | f.data[4] << 16 | uint32_t(f.data[5]) << 24;
    std::string bytes(reinterpret_cast<char*>(f.data), size);
    delete image;
    return bytes;
}

const std::string& File(int which) {
    static const std::string files[] = {Saved(Save_BMP, 24), Bmp8Rle(), Pcx(1), Pcx(3)};
    return files[which];
}

enum FileKind { BMP24, BMP8_RLE, PCX8, PCX24 };

void QzmLoad(benchmark::State& state, LoadFn load, int which) {
    QzmLoadBytes(state, load, File(which));
}

void SdlLoad(benchmark::State& state, int which) {
    SdlLoadBytes(state, File(which), nullptr);
}

void QzmSave(benchmark::State& state, bool (*save)(QZMResFile&, QZMImage&), unsigned bpp) {
    QZMImage* image = MakeImage(bpp);
    QZMMemFile f(kWidth * kHeight * 8, QZMResFile::READWRITE);
    for (auto _ : state) {
        f.SeekStart();
        if (!save(f, *image)) state.SkipWithError("save failed");
    }
    delete image;
}

} // namespace

BENCHMARK_CAPTURE(QzmLoad, Bmp24, Load_BMP, BMP24)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(SdlLoad, Bmp24, BMP24)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(QzmLoad, Bmp8Rle, Load_BMP, BMP8_RLE)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(SdlLoad, Bmp8Rle, BMP8_RLE)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(QzmLoad, Pcx8, Load_PCX, PCX8)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(SdlLoad, Pcx8, PCX8)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(QzmLoad, Pcx24, Load_PCX, PCX24)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(SdlLoad, Pcx24, PCX24)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(QzmSave, Bmp24, Save_BMP, 24)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(QzmSave, Pcx8, Save_PCX, 8)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(QzmSave, Pcx24, Save_PCX, 24)->Unit(benchmark::kMicrosecond);
