// Opens an OpenGL window, makes a texture of an image, draws it on a quad and saves a
// screenshot as gl_quad000.bmp (the next free number on later runs).
// Run: qzm_example_gl_quad [picture.bmp|.pcx|.gif|.tga]   (without one it draws a checkerboard)
// Needs an X display; scripts/xvfb-gl.sh qzm_example_gl_quad runs it on a virtual one.
#include <qzm/qzm.h>

#include <cstdio>

static unsigned PowerOfTwo(unsigned n) {
    unsigned power = 1;
    while (power < n) power <<= 1;
    return power;
}

// Texture sides are powers of two. The manager would resize the image itself, keeping only
// part of the picture, so the game pads it: black below and to the right.
static const Q3DTexture* Upload(Q3DTexMgr& textures, QZMImage& image) {
    QZMImage padded(PowerOfTwo(image.width), PowerOfTwo(image.height), image.bpp);
    padded.Rectangle(0, 0, padded.width, padded.height, 0);
    if (image.palette) padded.SetPalette(image.palette, 0, image.palette->size);  // a copy
    padded.CopyImage(0, 0, &image, 0, 0, image.width, image.height);
    return textures.LoadFromImage("picture", &padded, GL_NEAREST, false);  // uploaded now
}

// The padded to powers of two: the quad shows only the image's part.
static void DrawQuad(const Q3DTexture& texture, const QZMImage& image) {
    const float right = float(image.width) / texture.width;
    const float bottom = float(image.height) / texture.height;
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
        for (int square = 0; square < 64; square++) {  // 8 x 8 squares of 8 pixels
            const unsigned colour = (square + square / 8) % 2 ? 0xFFFFFF : 0xCC3333;
            image.Rectangle(square % 8 * 8, square / 8 * 8, 8, 8, colour);
        }
    } else if (!image.LoadName(argv[1], 0)) {
        fprintf(stderr, "%s: not an image the library reads\n", argv[1]);
        return 1;
    }
    Q3DScreen* screen = Q3DScreen::Singleton();
    // The screenshot reads the front buffer: a single-buffered window draws there directly.
    SDL_GL_SetAttribute(SDL_GL_DOUBLEBUFFER, 0);
    bool ok = screen->Init(256, 256, 0, 32);
    if (ok) {
        QZMResFinder finder;                // where LoadFromFile would look; unused here
        Q3DTexMgr textures(finder, 4);      // frees its textures when it goes
        const Q3DTexture* texture = Upload(textures, image);
        ok = texture != nullptr;
        if (ok) {
            glMatrixMode(GL_PROJECTION);
            glOrtho(0, 256, 256, 0, -1, 1);  // one unit a pixel, y down as on the 2D screen
            glMatrixMode(GL_MODELVIEW);
            glClear(GL_COLOR_BUFFER_BIT);
            DrawQuad(*texture, image);
            SDL_GL_SwapBuffers();  // presents the frame; single-buffered, it only flushes
            ok = glGetError() == GL_NO_ERROR && screen->BMPScreenshot("gl_quad");
        }
    }
    printf(ok ? "quad drawn, screenshot saved\n" : "no OpenGL screen or texture\n");
    delete screen;
    return ok ? 0 : 1;
}
