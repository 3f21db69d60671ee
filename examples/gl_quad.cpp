// Opens an OpenGL window, makes a texture of an image, draws it on a quad and saves a
// screenshot as gl_quad000.bmp (then 001 ...). Needs an X display, or scripts/xvfb-gl.sh.
// Run: qzm_example_gl_quad [picture.bmp|.pcx|.gif|.tga]   (without one it draws its own)
#include <qzm/qzm.h>

#include <cstdio>

// Texture sides are powers of two. The manager would resize the image itself, keeping only
// part of the picture, so the game pads it: black below and to the right.
static const Q3DTexture* Upload(Q3DTexMgr& textures, QZMImage& image) {
    auto powerOfTwo = [](unsigned n) { unsigned p = 1; while (p < n) p <<= 1; return p; };
    QZMImage padded(powerOfTwo(image.width), powerOfTwo(image.height), image.bpp);
    padded.Rectangle(0, 0, padded.width, padded.height, 0);
    if (image.palette) padded.SetPalette(image.palette, 0, image.palette->size);  // a copy
    padded.CopyImage(0, 0, &image, 0, 0, image.width, image.height);
    return textures.LoadFromImage("picture", &padded, GL_NEAREST, false);  // uploaded now
}

// One unit a pixel, y down as on the 2D screen; the quad shows the image's part of the texture.
static void DrawQuad(const Q3DTexture& texture, const QZMImage& image) {
    const float right = float(image.width) / texture.width;
    const float bottom = float(image.height) / texture.height;
    glMatrixMode(GL_PROJECTION);
    glOrtho(0, 256, 256, 0, -1, 1);
    glMatrixMode(GL_MODELVIEW);
    glClear(GL_COLOR_BUFFER_BIT);
    glEnable(GL_TEXTURE_2D);
    glBindTexture(GL_TEXTURE_2D, texture.id);
    glBegin(GL_QUADS);
    glTexCoord2f(0, 0), glVertex2i(32, 32);
    glTexCoord2f(0, bottom), glVertex2i(32, 224);
    glTexCoord2f(right, bottom), glVertex2i(224, 224);
    glTexCoord2f(right, 0), glVertex2i(224, 32);
    glEnd();
}

int main(int argc, char** argv) {
    QZMImage image(64, 64, 32);
    if (argc < 2) {
        image.Gradient(0, 0, 64, 64, 0xCC3333, 0x3333CC, 1);  // colours are 0xRRGGBB
        image.Disk(32, 32, 20, 0xFFFFFF);
    } else if (!image.LoadName(argv[1], 0)) {
        fprintf(stderr, "%s: not an image the library reads\n", argv[1]);
        return 1;
    }
    Q3DScreen* screen = Q3DScreen::Singleton();
    SDL_GL_SetAttribute(SDL_GL_DOUBLEBUFFER, 0);  // the screenshot reads the front buffer
    bool ok = screen->Init(256, 256, 0, 32);
    if (ok) {
        QZMResFinder finder;  // where LoadFromFile would look for files, empty here
        Q3DTexMgr textures(finder, 4);
        const Q3DTexture* texture = Upload(textures, image);
        if (texture) DrawQuad(*texture, image);
        SDL_GL_SwapBuffers();  // presents the frame; single-buffered, it only flushes
        ok = texture && glGetError() == GL_NO_ERROR && screen->BMPScreenshot("gl_quad");
    }
    printf(ok ? "quad drawn, screenshot saved\n" : "no OpenGL screen or texture\n");
    delete screen;
    return ok ? 0 : 1;
}
