// Q3DFont::Load, which needs no GL context; a loaded font then measures a text over its whole
// character table and lists its glyphs.
#include <qzm/gl/Font.h>

#include "fuzz/FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    qzmfuzz::Quiet();
    qzmfuzz::InputStream in(data, size);
    Q3DFont font;
    if (!font.Load(in.file(), 0)) return 0;
    char text[256];
    for (int i = 0; i < 255; i++) text[i] = static_cast<char>(i + 1);
    text[255] = 0;
    unsigned w = 0, h = 0;
    font.TextSize(text, w, h);
    font.PrintInfo(true);
    return 0;
}
