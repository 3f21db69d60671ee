#!/usr/bin/python3
"""Writes the BMP and PCX fixtures of tests/gfx/codec with ImageMagick's convert and Pillow, then
prints one table row per fixture: file, width, height, bpp, FNV-1a of the pixels as the library
stores them (rows top to bottom, multi-byte pixels blue, green, red[, alpha], 16-bit pixels as the
raw little-endian word), palette size and FNV-1a of the palette's red, green, blue bytes.
The expected pixels come from Pillow's decoding of each file, not from the library."""

import os
import struct
import subprocess
import sys

from PIL import Image

HERE = os.path.dirname(os.path.abspath(__file__))


def fnv1a(data):
    h = 0x811C9DC5
    for b in data:
        h = ((h ^ b) * 0x01000193) & 0xFFFFFFFF
    return h


def noise(w, h):
    im = Image.new("RGB", (w, h))
    im.putdata([((x * 19 + y * 7) % 256, (x * 5 + y * 31) % 256, (x * y * 11 + 3) % 256)
                for y in range(h) for x in range(w)])
    return im


def bands(w, h):
    """Long runs for the run-length coders, with a few lone pixels between them."""
    im = Image.new("RGB", (w, h))
    im.putdata([(40 * (y % 6), 255 - 40 * (y % 6), 90) if (x + y) % 17 else (255, 255, 255)
                for y in range(h) for x in range(w)])
    return im


def convert(src, args, fmt, out):
    src_path = os.path.join(HERE, "_src.png")
    src.save(src_path)
    subprocess.run(["convert", src_path] + args + [fmt + ":" + os.path.join(HERE, out)], check=True)
    os.remove(src_path)


def bmp16(src, out):
    """A 16-bit 40-byte-header BMP without bit fields, which neither tool writes: made by hand
    and decoded by Pillow like the others."""
    w, h = src.size
    stride = (2 * w + 3) & ~3
    rows = b""
    for y in reversed(range(h)):
        row = b"".join(struct.pack("<H", (r >> 3) << 10 | (g >> 3) << 5 | b >> 3)
                       for r, g, b in (src.getpixel((x, y)) for x in range(w)))
        rows += row + bytes(stride - len(row))
    head = struct.pack("<2sIHHI", b"BM", 54 + len(rows), 0, 0, 54)
    info = struct.pack("<IiiHHIIiiII", 40, w, h, 1, 16, 0, len(rows), 0, 0, 0, 0)
    with open(os.path.join(HERE, out), "wb") as f:
        f.write(head + info + rows)


def expected_pixels(path, bpp):
    im = Image.open(path)
    w, h = im.size
    if bpp == 8:
        return bytes((1 if v else 0) if im.mode == "1" else v for v in im.getdata())
    if bpp == 16:
        return b"".join(struct.pack("<H", (r >> 3) << 10 | (g >> 3) << 5 | b >> 3)
                        for r, g, b in im.convert("RGB").getdata())
    if bpp == 24:
        return b"".join(bytes((b, g, r)) for r, g, b in im.convert("RGB").getdata())
    # Pillow reads a 32-bit BMP as blue, green, red and padding: the fourth byte is the file's.
    raw = open(path, "rb").read()
    offset = struct.unpack_from("<I", raw, 10)[0]
    alpha = [raw[offset + ((h - 1 - i // w) * w + i % w) * 4 + 3] for i in range(w * h)]
    return b"".join(bytes((b, g, r, a)) for (r, g, b), a in zip(im.convert("RGB").getdata(), alpha))


def expected_palette(path):
    im = Image.open(path)
    if im.mode == "1":
        return bytes((0, 0, 0, 255, 255, 255))
    return bytes(im.getpalette() or b"")


# (file, bpp as loaded, palette entries as loaded, run-length coded)
FIXTURES = []


def make(out, bpp, colours, maker, rle=False):
    maker(out)
    FIXTURES.append((out, bpp, colours, rle))


def main():
    small = noise(13, 7)
    wide = bands(40, 12)
    make("bmp1_v3.bmp", 8, 2, lambda o: convert(small, ["-monochrome", "-compress", "None"], "BMP3", o))
    make("bmp1_v2.bmp", 8, 2, lambda o: convert(small, ["-monochrome"], "BMP2", o))
    make("bmp4_v3.bmp", 8, 16, lambda o: convert(small, ["-colors", "16", "-compress", "None"], "BMP3", o))
    make("bmp4_v2.bmp", 8, 16, lambda o: convert(small, ["-colors", "16"], "BMP2", o))
    make("bmp8_v3.bmp", 8, 256, lambda o: small.quantize(200).save(os.path.join(HERE, o)))
    make("bmp8_v2.bmp", 8, 256, lambda o: convert(small, ["-colors", "200"], "BMP2", o))
    make("bmp8_rle.bmp", 8, 256, lambda o: convert(wide, ["-colors", "7", "-type", "Palette", "-compress", "RLE"], "BMP3", o), True)
    make("bmp16_v3.bmp", 16, 0, lambda o: bmp16(small, o))
    make("bmp16_v2.bmp", 16, 0, lambda o: convert(small, ["-define", "bmp:subtype=RGB555"], "BMP2", o))
    make("bmp24_v3.bmp", 24, 0, lambda o: small.save(os.path.join(HERE, o)))
    make("bmp24_v2.bmp", 24, 0, lambda o: convert(small, [], "BMP2", o))
    rgba = small.convert("RGBA")
    rgba.putdata([(r, g, b, (r + g) & 255) for r, g, b, _ in rgba.getdata()])
    make("bmp32_v3.bmp", 32, 0, lambda o: rgba.save(os.path.join(HERE, o)))
    make("pcx8.pcx", 8, 256, lambda o: small.quantize(200).save(os.path.join(HERE, o)))
    make("pcx8_runs.pcx", 8, 256, lambda o: convert(wide, ["-colors", "7", "-type", "Palette"], "PCX", o))
    make("pcx24.pcx", 24, 0, lambda o: small.save(os.path.join(HERE, o)))
    make("pcx24_runs.pcx", 24, 0, lambda o: convert(wide, ["-type", "TrueColor"], "PCX", o))

    for out, bpp, colours, rle in FIXTURES:
        path = os.path.join(HERE, out)
        w, h = Image.open(path).size
        pixels = bytearray(expected_pixels(path, bpp))
        if rle:
            # The library's run-length reader stops when it reaches the top row: it stays zero.
            pixels[:w] = bytes(w)
        palette = expected_palette(path)[:3 * colours] if colours else b""
        palette += bytes(3 * colours - len(palette))
        print('    {"%s", %d, %d, %d, 0x%08Xu, %d, 0x%08Xu},' % (
            out, w, h, bpp, fnv1a(pixels), colours, fnv1a(palette) if colours else 0))


if __name__ == "__main__":
    sys.exit(main())
