// QZMFont::Load, or LoadV1 when QZM_FUZZ_FONT_V1 is set; a loaded font then measures and
// draws a text, which walks its whole character table.
#include <qzm/gfx/Font.h>
#include <qzm/gfx/Image.h>

#include "fuzz/FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    qzmfuzz::Quiet();
    qzmfuzz::InputStream in(data, size);
    QZMFont font;
#ifdef QZM_FUZZ_FONT_V1
    bool loaded = font.LoadV1(in.file(), 0);
#else
    bool loaded = font.Load(in.file(), 0);
#endif
    if (!loaded) return 0;
    char text[256];
    for (int i = 0; i < 255; i++) text[i] = static_cast<char>(i + 1);
    text[255] = 0;
    unsigned w = 0, h = 0;
    font.TextSize(text, w, h);
    QZMImage canvas(64, 32, 8);
    canvas.DrawText(-5, 20, text, 7, &font);
    FontParams params = {&font, ALIGN_TOP, {0, 1, 2, 3}};
    canvas.DrawTextEx(3, 0, text, params);
    return 0;
}
