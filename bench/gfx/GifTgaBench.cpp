// Decoding 1024x768 GIF (interlaced and not) and TGA (raw and run-length, 24 and 32 bits) files
// from memory, each next to SDL_image on the same bytes, and run-length coding a 32-bit image.
// SDL_image only detects GIF by content; TGA has no signature, so it is asked for by type.
#include <qzm/gfx/Image.h>
#include <qzm/gfx/codec/Codecs.h>
#include <qzm/io/MemFile.h>

#include "LoadBench.h"

#include <string>
#include <vector>

using namespace qzmbench;

namespace {

constexpr unsigned kWidth = 1024;
constexpr unsigned kHeight = 768;

// Bands with a little noise: runs for the coders, a realistic LZW ratio for GIF.
uint8_t Shade(unsigned x, unsigned y, unsigned channel) {
    const unsigned noise = (x * 2654435761u ^ y * 40503u) >> 29;
    return uint8_t((x / 16) * 7 + (y / 8) * 3 + channel * 50 + (noise == 0 ? 5 : 0));
}

// Codes least significant bit first, grouped in 255-byte data blocks.
struct BitWriter {
    std::string bytes;
    uint32_t acc = 0;
    int bits = 0;
    void Put(int code, int width) {
        acc |= uint32_t(code) << bits;
        for (bits += width; bits >= 8; bits -= 8, acc >>= 8) bytes += char(acc & 0xFF);
    }
    std::string Blocks() {
        if (bits) bytes += char(acc);
        std::string out;
        for (size_t i = 0; i < bytes.size(); i += 255)
            out += char(bytes.size() - i < 255 ? bytes.size() - i : 255) + bytes.substr(i, 255);
        return out + '\0';
    }
};

// A plain LZW coder with 8-bit codes at the start that clears its table when full.
std::string Lzw(const std::vector<uint8_t>& px) {
    const int clear = 256;
    std::vector<uint16_t> next(4096 * 256);
    BitWriter out;
    int width = 9, free = clear + 2;
    out.Put(clear, width);
    int w = px[0];
    for (size_t i = 1; i < px.size(); i++) {
        uint16_t& entry = next[size_t(w) * 256 + px[i]];
        if (entry) {
            w = entry;
            continue;
        }
        out.Put(w, width);
        if (free < 4096) {
            entry = uint16_t(free++);
            if (free > (1 << width) && width < 12) width++;
        } else {
            out.Put(clear, width);
            std::fill(next.begin(), next.end(), 0);
            width = 9;
            free = clear + 2;
        }
        w = px[i];
    }
    out.Put(w, width);
    out.Put(clear + 1, width);
    return out.Blocks();
}


std::string Gif(bool interlaced) {
    std::vector<uint8_t> px(kWidth * kHeight);
    for (unsigned y = 0; y < kHeight; y++)
        for (unsigned x = 0; x < kWidth; x++) px[y * kWidth + x] = Shade(x, y, 0);
    std::string file = "GIF89a";
    Put(file, kWidth, 2);
    Put(file, kHeight, 2);
    Put(file, 0xF7, 3);
    for (unsigned i = 0; i < 256; i++) Put(file, i * 0x010101u, 3);
    file += ',';
    Put(file, 0, 4);
    Put(file, kWidth, 2);
    Put(file, kHeight, 2);
    file += char(interlaced ? 0x40 : 0);
    file += char(8);
    return file + Lzw(px) + ';';
}

std::string Tga(bool (*save)(QZMResFile&, QZMImage&), unsigned bpp) {
    QZMImage image(kWidth, kHeight, bpp);
    for (unsigned y = 0; y < kHeight; y++)
        for (unsigned x = 0; x < image.pitch; x++)
            image.pixels[y * image.pitch + x] = Shade(x / (bpp / 8), y, x % (bpp / 8));
    QZMMemFile f(kWidth * kHeight * 8, QZMResFile::READWRITE);
    save(f, image);
    return std::string(reinterpret_cast<char*>(f.data), size_t(f.GetPos()));
}

enum FileKind { GIF, GIF_INTERLACED, TGA24, TGA32, TGA24_RLE, TGA32_RLE };

const std::string& File(int which) {
    static const std::string files[] = {Gif(false),          Gif(true),
                                        Tga(Save_TGA, 24),   Tga(Save_TGA, 32),
                                        Tga(Save_TGA_RLE, 24), Tga(Save_TGA_RLE, 32)};
    return files[which];
}

void QzmLoad(benchmark::State& state, LoadFn load, int which) {
    QzmLoadBytes(state, load, File(which));
}

void SdlLoad(benchmark::State& state, int which) {
    SdlLoadBytes(state, File(which), which <= GIF_INTERLACED ? nullptr : "TGA");
}

void QzmSaveRle(benchmark::State& state) {
    QZMImage image(kWidth, kHeight, 32);
    for (unsigned i = 0; i < image.pitch * kHeight; i++)
        image.pixels[i] = Shade(i / 4 % kWidth, i / image.pitch, i % 4);
    QZMMemFile f(kWidth * kHeight * 8, QZMResFile::READWRITE);
    for (auto _ : state) {
        f.SeekStart();
        if (!Save_TGA_RLE(f, image)) state.SkipWithError("save failed");
    }
}

} // namespace

BENCHMARK_CAPTURE(QzmLoad, Gif, Load_GIF, GIF)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(SdlLoad, Gif, GIF)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(QzmLoad, GifInterlaced, Load_GIF, GIF_INTERLACED)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(SdlLoad, GifInterlaced, GIF_INTERLACED)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(QzmLoad, Tga24, Load_TGA, TGA24)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(SdlLoad, Tga24, TGA24)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(QzmLoad, Tga32, Load_TGA, TGA32)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(SdlLoad, Tga32, TGA32)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(QzmLoad, Tga24Rle, Load_TGA, TGA24_RLE)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(SdlLoad, Tga24Rle, TGA24_RLE)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(QzmLoad, Tga32Rle, Load_TGA, TGA32_RLE)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(SdlLoad, Tga32Rle, TGA32_RLE)->Unit(benchmark::kMicrosecond);
BENCHMARK(QzmSaveRle)->Unit(benchmark::kMicrosecond);
