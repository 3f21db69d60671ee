#pragma once
#include <qzm/gfx/Image.h>

/// Writes an 8-bit image with its palette as an indexed PNG, uncompressed (stored deflate
/// blocks): the library writes BMP, PCX and TGA, while contact sheets are looked at in browsers.
bool SavePng(const QZMImage& image, const char* path);
