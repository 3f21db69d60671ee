#!/usr/bin/env python3
"""make_pak.py OUT NAME=TEXT ... writes a Quake PAK independently of the library: "PACK",
directory offset, directory length, the data, then per member a 64-byte record of the
name zero-padded to 56 bytes, the data offset and the data length."""
import struct
import sys

out, members = sys.argv[1], [arg.split("=", 1) for arg in sys.argv[2:]]
data, directory = b"", b""
for name, text in members:
    body = text.encode()
    directory += struct.pack("<56sII", name.encode(), 12 + len(data), len(body))
    data += body
with open(out, "wb") as f:
    f.write(b"PACK" + struct.pack("<II", 12 + len(data), len(directory)) + data + directory)
