#include "GLDemo.h"

#include "ScreenDemo.h"

#include <qzm/qzm.h>

#include <cstdio>

namespace {

const char* const kAssets = "demo_assets";
const char* const kScene = "demo_scene.bmp";
const char* const kShotPrefix = "demo_glshot";
const unsigned kWidth = 320;
const unsigned kHeight = 200;

unsigned PowerOfTwo(unsigned n) {
    unsigned p = 1;
    while (p < n) p <<= 1;
    return p;
}

// The texture manager pads with QZMImage::Resize, which clears the first bytes of the top rows
// when it adds rows (as designed); the demo pads its pictures itself, below and to the right.
Q3DTexture* LoadPadded(Q3DTexMgr& textures, const char* name, QZMImage& picture, unsigned format) {
    QZMImage padded(PowerOfTwo(picture.width), PowerOfTwo(picture.height), picture.bpp);
    padded.Rectangle(0, 0, padded.width, padded.height, 0);
    padded.CopyImage(0, 0, &picture, 0, 0, picture.width, picture.height);
    return textures.LoadFromImage(name, &padded, GL_NEAREST, false, format);
}

// The font's glyph pixels are 0 or 1; as alpha they become transparent or opaque.
Q3DTexture* LoadGlyphSheet(Q3DTexMgr& textures) {
    QZMImage sheet(0, 0, 8);
    QZMString path;
    path.Format("%s/font.qzmf", kAssets);
    if (!sheet.LoadName(path.data, 6)) return nullptr;
    for (unsigned i = 0; i < sheet.pitch * sheet.height; i++)
        sheet.pixels[i] = sheet.pixels[i] ? 255 : 0;
    return LoadPadded(textures, "glyph sheet", sheet, GL_ALPHA);
}

Q3DTexture* LoadScene(Q3DTexMgr& textures) {
    QZMImage scene(0, 0, 32);
    return scene.LoadName(kScene, 1) ? LoadPadded(textures, kScene, scene, 0) : nullptr;
}

void DrawScene(const Q3DTexture& scene) {
    const float right = float(kWidth) / scene.width;
    const float bottom = float(kHeight) / scene.height;
    glEnable(GL_TEXTURE_2D);
    glBindTexture(GL_TEXTURE_2D, scene.id);
    glColor3ub(255, 255, 255);
    glBegin(GL_QUADS);
    glTexCoord2f(0, 0);
    glVertex2i(0, 0);
    glTexCoord2f(0, bottom);
    glVertex2i(0, kHeight);
    glTexCoord2f(right, bottom);
    glVertex2i(kWidth, kHeight);
    glTexCoord2f(right, 0);
    glVertex2i(kWidth, 0);
    glEnd();
    glDisable(GL_TEXTURE_2D);
}

void DrawText(Q3DFont& font) {
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glColor3ub(255, 255, 0);
    font.DrawString(40, 100, "QZM IN OPENGL", 0xFFFFFFFF, 2, Q3DFont::ALIGN_TOP);
    glColor3ub(255, 255, 255);
    font.DrawClipString(40, 130, 0, 200, "THIS LINE ENDS BEFORE X = 200, THE REST IS DROPPED",
                        0xFFFFFFFF, 1, Q3DFont::ALIGN_TOP);
}

bool DrawAndShoot(Q3DScreen& screen, QZMResMgr& resources, Q3DTexMgr& textures) {
    Q3DTexture* scene = LoadScene(textures);
    auto* font =
        static_cast<Q3DFont*>(resources.Load(QZMResMgr::TYPE_3DFONT, "font.qzmf", 0, true));
    if (!scene || !font) return false;
    font->texture = LoadGlyphSheet(textures);
    glMatrixMode(GL_PROJECTION);
    glOrtho(0, kWidth, kHeight, 0, -1, 1);
    glMatrixMode(GL_MODELVIEW);
    DrawScene(*scene);
    DrawText(*font);
    glFinish();
    printf("opengl: scene shown as a %ux%u texture, text in the OpenGL font %s\n", scene->width,
           scene->height, font->name);
    const std::string name = NextShotName(kShotPrefix);
    const bool ok =
        font->texture && glGetError() == GL_NO_ERROR && screen.BMPScreenshot(kShotPrefix);
    if (ok) printf("opengl: screenshot written to %s\n", name.c_str());
    resources.Release(font);
    return ok;
}

} // namespace

bool RunGLDemo() {
    Q3DScreen* screen = Q3DScreen::Singleton();
    // The screenshot reads the front buffer: a single-buffered window draws there directly.
    SDL_GL_SetAttribute(SDL_GL_DOUBLEBUFFER, 0);
    bool ok = screen->Init(kWidth, kHeight, 0, 24);
    if (ok) {
        screen->SetNames("qzm OpenGL demo", nullptr);
        QZMResFinder finder;
        ok = finder.AddSource(kAssets, false);
        QZMResMgr resources(finder);
        Q3DTexMgr textures(finder, 4);
        ok = ok && DrawAndShoot(*screen, resources, textures);
    }
    delete screen;
    return ok;
}
