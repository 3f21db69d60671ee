#!/usr/bin/env python3
"""Writes graphics seeds that end early into the corpus directory given as the argument: headers
of plausible pictures whose data stops short, a palette whose body is cut, and fonts whose glyphs
reach past their sheet. The readers allocate them and then give their short-read results."""
import os
import struct
import sys

corpus = sys.argv[1]


def put(target, name, data):
    os.makedirs(os.path.join(corpus, target), exist_ok=True)
    with open(os.path.join(corpus, target, name), "wb") as f:
        f.write(data)


def font(width, height, depth, rows, records):
    # Version 2, codes 65-66, then the sheet header and whatever rows are given.
    info = bytes([3]) + b"ab\0" + struct.pack("<IIBBhh", 65, 66, 4, 1, 5, 2)
    table_at = 17 + len(info)
    image_at = table_at + len(records)
    head = b"QZMF" + struct.pack("<BIII", 2, 17, table_at, image_at)
    return head + info + records + struct.pack("<IIB", width, height, depth) + rows


def glyph(x, y, width, height, below):
    return struct.pack("<HHBBh", x, y, width, height, below)


# 64x64 at 8 bits with one row of data.
bmp = b"BM" + struct.pack("<IIII", 0, 0, 54 + 1024, 40)
bmp += struct.pack("<iiHHI", 64, 64, 1, 8, 0) + bytes(20) + bytes(1024) + bytes(range(64))
put("image_bmp", "short-rows.bmp", bmp)

# 200x100, one plane: a run and a literal, then nothing.
pcx = bytes([10, 5, 1, 8]) + struct.pack("<hhhhHH", 0, 0, 199, 99, 72, 72) + bytes(49)
pcx += bytes([1]) + struct.pack("<HH", 200, 1) + bytes(58) + bytes([0xC3, 7, 8])
put("image_pcx", "short-data.pcx", pcx)

# 16x16 run-length grey: one run across the first row, then a raw packet cut short.
tga = struct.pack("<BBBHHBHHHHBB", 0, 0, 11, 0, 0, 0, 0, 0, 16, 16, 8, 0)
put("image_tga", "short-rle.tga", tga + bytes([0x8F, 1, 0x02, 5]))

# 100x100 with codes 1, 2, 3 in an unterminated block and no trailer.
gif = b"GIF89a" + struct.pack("<HHBBB", 100, 100, 0x81, 0, 0) + bytes(range(12))
gif += b"," + struct.pack("<HHHHB", 0, 0, 100, 100, 0) + bytes([2, 2, 0x8C, 0x06])
put("image_gif", "short-data.gif", gif)

# Native palette of 5000 colours (clamped to 4096) with two of them present.
put("palette", "short-native.pal", b"QZMP" + struct.pack("<I", 5000) + bytes(range(1, 9)))

# 100x100 one-bit sheet with three of its rows.
sparse = font(100, 100, 1, b"\xff" * 39, glyph(0, 0, 8, 8, 0) + glyph(90, 95, 20, 9, 2))
put("image_font", "short-sheet.qzmf", sparse)
put("font", "short-sheet.qzmf", sparse)

# A 3x2 two-bit sheet; 'A' is 5 rows tall from column 1, 'B' lies wholly outside.
outside = font(3, 2, 2, b"\x18\xe4", glyph(1, 0, 3, 5, 3) + glyph(7, 9, 2, 2, 0))
put("font", "glyph-outside.qzmf", outside)
