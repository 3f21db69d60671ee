#pragma once
#include <memory>
#include <string>

class QZMFont;
class QZMImage;

/// What qzmfont makes a bitmap font from.
struct FontRequest {
    const char* path = nullptr; ///< TrueType or OpenType file
    unsigned pixelSize = 16;    ///< em height in pixels
    unsigned first = 32;        ///< character codes, taken as Unicode code points 0-255
    unsigned last = 126;
    unsigned depth = 1;         ///< 1, 2 or 8 bits per glyph pixel
    unsigned spacing = 0;       ///< extra pixels after every character
};

/// Renders the request's characters with FreeType into a font whose widths are FreeType's
/// hinted advances. Null with the reason in error when the file cannot be read or a glyph does
/// not fit the font format.
std::unique_ptr<QZMFont> BuildFont(const FontRequest& request, std::string& error);

/// The font's sheet as an 8-bit picture, dark ink on white, for looking at.
std::unique_ptr<QZMImage> SheetPreview(const QZMFont& font);
