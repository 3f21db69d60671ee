#include "Png.h"

#include <qzm/gfx/Pal.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string>

namespace {

uint32_t Crc32(const std::string& bytes) {
    uint32_t crc = 0xFFFFFFFFu;
    for (unsigned char byte : bytes) {
        crc ^= byte;
        for (int bit = 0; bit < 8; bit++) crc = crc >> 1 ^ (0xEDB88320u & (0u - (crc & 1)));
    }
    return ~crc;
}

void Put32(std::string& out, uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8) out += char(value >> shift);
}

void Chunk(std::string& out, const char* type, const std::string& data) {
    Put32(out, uint32_t(data.size()));
    const std::string typed = type + data;
    out += typed;
    Put32(out, Crc32(typed));
}

// A zlib stream of stored blocks: no compression, so no dependency.
std::string StoredZlib(const std::string& raw) {
    std::string out("\x78\x01", 2);
    uint32_t a = 1, b = 0;
    for (unsigned char byte : raw) {
        a = (a + byte) % 65521;
        b = (b + a) % 65521;
    }
    for (size_t at = 0; at == 0 || at < raw.size(); at += 65535) {
        const size_t n = std::min<size_t>(65535, raw.size() - at);
        out += char(at + n == raw.size());
        const uint16_t length = uint16_t(n), complement = uint16_t(~n);
        out += char(length & 0xFF), out += char(length >> 8);
        out += char(complement & 0xFF), out += char(complement >> 8);
        out.append(raw, at, n);
    }
    Put32(out, b << 16 | a);
    return out;
}

} // namespace

bool SavePng(const QZMImage& image, const char* path) {
    if (image.bpp != 8 || !image.palette || !image.pixels) return false;
    std::string header;
    Put32(header, image.width);
    Put32(header, image.height);
    header += std::string("\x08\x03\x00\x00\x00", 5); // 8 bits, indexed, no interlace
    std::string palette;
    for (unsigned i = 0; i < 256 && i < image.palette->size; i++) {
        const QZMRGBA& c = image.palette->entries[i];
        palette += char(c.r), palette += char(c.g), palette += char(c.b);
    }
    std::string rows;
    for (unsigned y = 0; y < image.height; y++) {
        rows += '\0'; // filter: none
        rows.append(reinterpret_cast<const char*>(image.pixels) + size_t(y) * image.pitch,
                    image.width);
    }
    std::string png("\x89PNG\r\n\x1a\n", 8);
    Chunk(png, "IHDR", header);
    Chunk(png, "PLTE", palette);
    Chunk(png, "IDAT", StoredZlib(rows));
    Chunk(png, "IEND", "");
    FILE* file = fopen(path, "wb");
    if (!file) return false;
    const bool written = fwrite(png.data(), 1, png.size(), file) == png.size();
    return fclose(file) == 0 && written;
}
