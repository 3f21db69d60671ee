#!/usr/bin/python3
"""Writes sprites.gif, the demo's sprite sheet: four 16x16 frames of a spinning coin side by
side, palette index 0 the transparent background. Needs Pillow (Debian: python3-pil)."""
from PIL import Image, ImageDraw

FRAME = 16
WIDTHS = [14, 10, 4, 10]
sheet = Image.new("P", (FRAME * len(WIDTHS), FRAME), 0)
sheet.putpalette([255, 0, 255, 240, 200, 40, 160, 110, 10, 255, 250, 200] + [0] * (256 - 4) * 3)
draw = ImageDraw.Draw(sheet)
for i, w in enumerate(WIDTHS):
    left = i * FRAME + (FRAME - w) // 2
    draw.ellipse([left, 1, left + w - 1, FRAME - 2], fill=1, outline=2)
    if w > 6:
        draw.line([left + w // 2, 4, left + w // 2, FRAME - 5], fill=3)
sheet.save("sprites.gif", transparency=0)
