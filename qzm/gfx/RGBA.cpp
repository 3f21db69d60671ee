#include <qzm/gfx/RGBA.h>

#include <qzm/core/Parse.h>

namespace {

char g_webString[10];

} // namespace

const char* QZMRGBA::WebString(bool alpha) const {
    const unsigned char bytes[4] = {r, g, b, a};
    int count = alpha ? 4 : 3;
    g_webString[0] = '#';
    QZMParse::Dec2Hexa(bytes, count, g_webString + 1);
    g_webString[1 + 2 * count] = 0;
    return g_webString;
}
