// The OpenGL screen on Xvfb with Mesa's software renderer; each test runs in a fresh process.
#include <qzm/gfx/Image.h>
#include <qzm/gl/Screen.h>

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <cstdlib>
#include <map>
#include <string>

#include "tests/gl/GLWindow.h"
#include "tests/support/TestSupport.h"

namespace {

std::map<int, int> g_requested;

// Red, green, blue, buffer and depth sizes and double buffering as last asked of SDL.
std::string Requested() {
    std::string sizes;
    for (SDL_GLattr a : {SDL_GL_RED_SIZE, SDL_GL_GREEN_SIZE, SDL_GL_BLUE_SIZE, SDL_GL_BUFFER_SIZE,
                         SDL_GL_DEPTH_SIZE, SDL_GL_DOUBLEBUFFER})
        sizes += std::to_string(g_requested[a]) + " ";
    return sizes;
}

} // namespace

// Records what the screen asks of SDL before SDL and the X server settle on real sizes.
extern "C" int SDL_GL_SetAttribute(SDL_GLattr attr, int value) {
    using Set = int (*)(SDL_GLattr, int);
    static Set real = reinterpret_cast<Set>(dlsym(RTLD_NEXT, "SDL_GL_SetAttribute"));
    g_requested[attr] = value;
    return real(attr, value);
}

TEST(Q3DScreenTest, FullScreenAndWindowModes) {
    Q3DScreen* screen = Q3DScreen::Singleton();
    EXPECT_EQ(screen->status, 1);
    EXPECT_FALSE(screen->Resize(100, 100));
    ASSERT_TRUE(screen->Init(640, 480, SDL_FULLSCREEN | SDL_DOUBLEBUF, 16));
    EXPECT_EQ(screen->status, 12);
    EXPECT_EQ(Requested(), "5 5 5 16 16 1 ");
    EXPECT_STREQ(getenv("MESA_GLX_FX"), "f");
    EXPECT_EQ(SDL_ShowCursor(SDL_QUERY), 0);
    EXPECT_EQ(SDL_WM_GrabInput(SDL_GRAB_QUERY), SDL_GRAB_ON);
    int x = 0, y = 0;
    SDL_GetMouseState(&x, &y);
    EXPECT_EQ(x * 1000 + y, 320240);
    EXPECT_TRUE(screen->surface->flags & SDL_OPENGL);
    EXPECT_FALSE(screen->Resize(320, 200));

    ASSERT_TRUE(screen->Init(80, 60, SDL_RESIZABLE, 8));
    EXPECT_EQ(screen->status, 11);
    EXPECT_EQ(Requested(), "2 3 3 8 16 1 ");
    ASSERT_TRUE(screen->Resize(100, 50));
    EXPECT_EQ(screen->surface->w * 1000 + screen->surface->h, 100050);

    qzmtest::LogCapture log(1);
    // No visual has 64 bits per pixel.
    EXPECT_FALSE(screen->Init(80, 60, 0, 64));
    EXPECT_EQ(screen->status, 0);
    EXPECT_EQ(log.text().rfind("Video3D error: ", 0), 0u);
    delete screen;
}

TEST(Q3DScreenTest, ExtensionsAreLookedUpAgainAfterInit) {
    Q3DScreen* screen = qzmtest::OpenGLWindow(32, 32);
    // Mesa has both: the inverted results say usable.
    EXPECT_FALSE(screen->EnableGLMultitex());
    EXPECT_FALSE(screen->EnableGLArrays());
    ASSERT_NE(screen->glActiveTextureARB, nullptr);
    ASSERT_NE(screen->glUnlockArraysEXT, nullptr);
    screen->glActiveTextureARB(GL_TEXTURE0_ARB);
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
    ASSERT_TRUE(screen->Init(32, 32, 0, 24));
    EXPECT_TRUE(!screen->glActiveTextureARB && !screen->glMultiTexCoord2fARB &&
                !screen->glClientActiveTextureARB && !screen->glLockArraysEXT &&
                !screen->glUnlockArraysEXT);
    delete screen;
}

// The front buffer is drawn directly: after a buffer swap Mesa's front may read back black.
TEST(Q3DScreenTest, ScreenshotsShowTheFrontBufferUpsideUp) {
    qzmtest::TempDir dir;
    const std::string prefix = dir.file("shot");
    EXPECT_FALSE(Q3DScreen::Singleton()->BMPScreenshot(prefix.c_str()));
    // 50 pixels of 3 bytes: rows that are not a multiple of 4 bytes long.
    Q3DScreen* screen = qzmtest::OpenGLWindow(50, 30);
    glDrawBuffer(GL_FRONT);
    glClearColor(0, 0, 1, 1);
    glClear(GL_COLOR_BUFFER_BIT);
    glColor3ub(255, 128, 0);
    glRecti(0, 0, 10, 5); // top left, in the y-down projection
    glFinish();
    for (int i = 0; i < 5; i++) qzmtest::WriteFile(prefix + "00" + std::to_string(i) + ".bmp", "");
    EXPECT_FALSE(screen->BMPScreenshot(nullptr));
    ASSERT_TRUE(screen->BMPScreenshot(prefix.c_str()));
    QZMImage shot(0, 0, 8);
    ASSERT_TRUE(shot.LoadName((prefix + "005.bmp").c_str(), 0));
    ASSERT_EQ(shot.bpp, 24);
    EXPECT_EQ(shot.width * 1000 + shot.height, 50030u);
    EXPECT_EQ(shot.GetPixel(0, 0), 0x0080FFu); // bytes B, G, R read back to front
    EXPECT_EQ(shot.GetPixel(9, 4), 0x0080FFu);
    EXPECT_EQ(shot.GetPixel(10, 4), 0xFF0000u);
    EXPECT_EQ(shot.GetPixel(49, 29), 0xFF0000u);
    delete screen;
}
