#!/usr/bin/python3
"""Writes the GIF and TGA fixtures of tests/gfx/codec with ImageMagick's convert, netpbm and
Pillow, then prints one table row per fixture: file, width, height, bpp, FNV-1a of the pixels as
the library stores them (rows top to bottom; GIF and mapped TGA as palette indices; TGA colour as
blue, green, red and, at 32 bits, 255 - alpha), palette size and FNV-1a of the palette's red,
green, blue bytes. The expected pixels come from Pillow's decoding of each file, not from the
library; a GIF's size is that of its first image, whose box Pillow reports. ImageMagick 6.9
writes its TGA rows top first while marking them bottom-up; Pillow, like the library, follows the
descriptor, so those files decode upside down here, as Pillow shows them."""

import os
import subprocess

from PIL import Image

HERE = os.path.dirname(os.path.abspath(__file__))


def fnv1a(data, h=0x811C9DC5):
    for b in data:
        h = ((h ^ b) * 0x01000193) & 0xFFFFFFFF
    return h


def pattern(w, h, colours, seed=0):
    """A paletted picture of runs and noise with the given number of colours."""
    im = Image.new("P", (w, h))
    im.putdata([((x // 3) * 5 + y * 7 + seed) % colours if (x + y) % 5 else (x * y + seed) % colours
                for y in range(h) for x in range(w)])
    im.putpalette([(i * 37 + seed) % 256 for i in range(3 * colours)])
    return im


def colour(w, h, alpha=False):
    mode = "RGBA" if alpha else "RGB"
    im = Image.new(mode, (w, h))
    px = []
    for y in range(h):
        for x in range(w):
            run = (x // 4 + y) % 3 == 0
            p = (200, 40 + y * 9, 90) if run else ((x * 19 + y * 7) % 256, (x * 5 + y * 31) % 256,
                                                   (x * y * 11 + 3) % 256)
            px.append(p + ((x * 23 + y * 5) % 256,) if alpha else p)
    im.putdata(px)
    return im


def path(name):
    return os.path.join(HERE, name)


def magick(src, args, out):
    tmp = path("_src.png")
    src.save(tmp)
    subprocess.run(["convert", tmp] + args + [out], check=True)
    os.remove(tmp)


def netpbm(src, tool, args, out):
    tmp = path("_src.ppm")
    src.convert("RGB").save(tmp)
    with open(path(out), "wb") as f:
        subprocess.run([tool] + args + [tmp], stdout=f, stderr=subprocess.DEVNULL, check=True)
    os.remove(tmp)


def make_gifs():
    magick(pattern(23, 11, 16), [], "GIF87:" + path("gif_87a.gif"))
    magick(pattern(31, 13, 32, 5), ["-interlace", "GIF"], "GIF:" + path("gif_89a_interlaced.gif"))
    netpbm(pattern(19, 9, 8, 3), "pamtogif", ["-interlace"], "gif_netpbm_interlaced.gif")
    # 256 colours of noise: the code table fills up and the encoder sends clear codes.
    noise = Image.new("P", (72, 64))
    noise.putdata([(x * 151 + y * 89 + (x * y) % 7) % 256 for y in range(64) for x in range(72)])
    noise.putpalette([(i * 3 + 1) % 256 for i in range(768)])
    noise.save(path("gif_lzw_full.gif"))
    # Two frames, each with its own local map, after comment and looping extensions.
    frames = [pattern(30, 20, 8, 1), pattern(17, 9, 16, 9)]
    frames[0].save(path("gif_local_frames.gif"), save_all=True, append_images=frames[1:],
                   include_color_table=True, comment=b"fixture", loop=0)
    magick_frames()
    # Transparency in a graphic control extension.
    rgba = colour(21, 10, alpha=True)
    rgba.putdata([(p[0] & 0xC0, p[1] & 0xC0, p[2] & 0xC0, 0 if p[3] < 60 else 255)
                  for p in rgba.getdata()])
    magick(rgba, [], "GIF:" + path("gif_transparent.gif"))


def magick_frames():
    """A first frame of 15x7 at (6, 4) on a 30x20 screen, then a second."""
    a, b = path("_a.gif"), path("_b.gif")
    pattern(15, 7, 16, 2).save(a)
    pattern(30, 20, 4, 7).save(b)
    subprocess.run(["convert", "-page", "30x20+6+4", a, "-page", "+0+0", b, "+map",
                    "GIF:" + path("gif_offset_frame.gif")], check=True)
    os.remove(a)
    os.remove(b)


def make_tgas():
    pal = pattern(13, 7, 24, 4)
    magick(pal, ["-type", "Palette", "-compress", "None"], "TGA:" + path("tga_map_bu.tga"))
    magick(pal, ["-type", "Palette", "-compress", "RLE"], "TGA:" + path("tga_map_rle.tga"))
    pal.save(path("tga_map_td.tga"), orientation=1)
    rgb = colour(29, 11)
    rgb.save(path("tga_rgb24_bu.tga"))
    rgb.save(path("tga_rgb24_td.tga"), orientation=1, id_section=b"made by Pillow")
    magick(rgb, ["-compress", "RLE"], "TGA:" + path("tga_rgb24_rle.tga"))
    netpbm(rgb, "pamtotga", ["-rgb", "-name", "fixture"], "tga_rgb24_netpbm_rle.tga")
    rgba = colour(29, 11, alpha=True)
    magick(rgba, ["-compress", "None"], "TGA:" + path("tga_rgba32_bu.tga"))
    rgba.save(path("tga_rgba32_rle_td.tga"), orientation=1, compression="tga_rle")
    grey = colour(17, 9).convert("L")
    grey.save(path("tga_grey_bu.tga"))
    grey.save(path("tga_grey_rle_td.tga"), orientation=1, compression="tga_rle")
    netpbm(grey, "pamtotga", ["-mono", "-norle", "-name", "grey"], "tga_grey_netpbm.tga")


def gif_row(name):
    im = Image.open(path(name))
    box = im.tile[0][1]
    im.load()
    frame = im.crop(box)
    with open(path(name), "rb") as f:
        data = f.read()
    count = gif_map_size(data)
    return (name, frame.size[0], frame.size[1], 8, fnv1a(frame.tobytes()), count,
            fnv1a(bytes(im.getpalette()[:3 * count]).ljust(3 * count, b"\0")))


def gif_map_size(data):
    """Entries of the map that the first image uses, from the flags of the screen and image."""
    pos = 13 + (3 * (2 << (data[10] & 7)) if data[10] & 0x80 else 0)
    while data[pos] == 0x21:
        pos += 2
        while data[pos]:
            pos += data[pos] + 1
        pos += 1
    flags = data[pos + 9]
    return 1 << ((flags & 7) + 1) if flags & 0x80 else 2 << (data[10] & 7)


def tga_row(name):
    im = Image.open(path(name))
    im.load()
    if im.mode == "P":
        count = len(im.getpalette()) // 3
        return (name, im.size[0], im.size[1], 8, fnv1a(im.tobytes()), count,
                fnv1a(bytes(im.getpalette())))
    if im.mode == "L":
        return (name, im.size[0], im.size[1], 8, fnv1a(im.tobytes()), 0, 0)
    px = bytearray()
    for p in im.getdata():
        px += bytes((p[2], p[1], p[0]) + ((255 - p[3],) if im.mode == "RGBA" else ()))
    return (name, im.size[0], im.size[1], 32 if im.mode == "RGBA" else 24, fnv1a(px), 0, 0)


def print_rows(rows):
    for r in rows:
        print('    {"%s", %d, %d, %d, 0x%08Xu, %d, 0x%08Xu},' % r)


if __name__ == "__main__":
    make_gifs()
    make_tgas()
    names = sorted(os.listdir(HERE))
    print_rows(gif_row(n) for n in names if n.startswith("gif_"))
    print_rows(tga_row(n) for n in names if n.startswith("tga_"))
