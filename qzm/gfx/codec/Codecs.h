#pragma once
#include <qzm/io/ResFile.h>

class QZMPal;
class QZMImage;

// Image file codecs. Each works on an opened stream from its current position and returns false
// at once, silently, for a stream whose state is not ST_OK.
//
// Loaders: *pixels is the image's current buffer (may be null) and receives the new one, allocated
// with new[], rows top to bottom without padding; *palette is created with new QZMPal(n) when null
// or resized otherwise. Multi-byte pixels keep the file's byte order (blue, green, red for BMP,
// TGA).

/// Reads BMP: 1, 4 (both widened to 8), 8, 16, 24 and 32 bits, uncompressed or 8-bit RLE.
bool Load_BMP(QZMResFile& f, unsigned char** pixels, unsigned int& width, unsigned int& height,
              QZMPal** palette, unsigned short& bpp);
/// Reads PCX of 8 bits per plane, any number of planes.
bool Load_PCX(QZMResFile& f, unsigned char** pixels, unsigned int& width, unsigned int& height,
              QZMPal** palette, unsigned short& bpp);
/// Reads the glyph sheet of a "QZMF" font file as an image.
bool Load_FONT(QZMResFile& f, unsigned char** pixels, unsigned int& width, unsigned int& height,
               QZMPal** palette, unsigned short& bpp);
bool Load_GIF(QZMResFile& f, unsigned char** pixels, unsigned int& width, unsigned int& height,
              QZMPal** palette, unsigned short& bpp);
bool Load_TGA(QZMResFile& f, unsigned char** pixels, unsigned int& width, unsigned int& height,
              QZMPal** palette, unsigned short& bpp);

bool Save_BMP(QZMResFile& f, QZMImage& image);
/// Refuses 15- and 16-bit images; an 8-bit image needs a palette.
bool Save_PCX(QZMResFile& f, QZMImage& image);
bool Save_TGA(QZMResFile& f, QZMImage& image);
bool Save_TGA_RLE(QZMResFile& f, QZMImage& image);
/// Always false: GIF is never written.
bool Save_GIF(QZMResFile& f, QZMImage& image);
/// Always false: fonts are written by QZMFont::Save.
bool Save_FONT(QZMResFile& f, QZMImage& image);
