// The texture manager in a real OpenGL context; texels are read back from the textures.
#include <qzm/gfx/Image.h>
#include <qzm/gl/TexMgr.h>
#include <qzm/resource/ResFinder.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include "tests/gl/GLWindow.h"
#include "tests/support/TestSupport.h"

namespace {

const unsigned kNew = 0xFFFFFFFF;

std::vector<uint8_t> Texels(const Q3DTexture* t, GLenum format, unsigned bytesPerTexel) {
    std::vector<uint8_t> texels(size_t(t->width) * t->height * bytesPerTexel);
    glBindTexture(GL_TEXTURE_2D, t->id);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glGetTexImage(GL_TEXTURE_2D, 0, format, GL_UNSIGNED_BYTE, texels.data());
    return texels;
}

// Pixel i holds the bytes i, i + 1, ... one per byte of the depth.
std::unique_ptr<QZMImage> Ramp(unsigned w, unsigned h, unsigned bpp) {
    std::unique_ptr<QZMImage> img(new QZMImage(w, h, bpp));
    for (unsigned i = 0; i < img->pitch * h; i++)
        img->pixels[i] = uint8_t(i / img->BytesPerPixel() + i % img->BytesPerPixel());
    return img;
}

class TexMgrTest : public ::testing::Test {
protected:
    void SetUp() override {
        screen = qzmtest::OpenGLWindow(16, 16);
        ASSERT_TRUE(finder.AddSource(dir.path().c_str(), false));
    }
    void TearDown() override { delete screen; }

    std::string SaveBmp(const std::string& name, QZMImage& img) {
        EXPECT_TRUE(img.SaveName(dir.file(name).c_str(), 1));
        return name;
    }

    qzmtest::TempDir dir;
    QZMResFinder finder;
    Q3DScreen* screen = nullptr;
};

} // namespace

TEST_F(TexMgrTest, PixelLayoutsByDepthAndFormat) {
    Q3DTexMgr mgr(finder, 4);
    auto bgr = Ramp(2, 2, 24);
    Q3DTexture* rgb = mgr.LoadFromImage("bgr", bgr.get(), GL_NEAREST, false);
    ASSERT_NE(rgb, nullptr);
    EXPECT_EQ(rgb->format, unsigned(GL_RGB));
    EXPECT_EQ(bgr->pixels[0], 0); // a copy was converted, not the caller's image
    EXPECT_EQ(Texels(rgb, GL_RGB, 3), (std::vector<uint8_t>{2, 1, 0, 3, 2, 1, 4, 3, 2, 5, 4, 3}));

    auto bgrt = Ramp(2, 1, 32);
    ASSERT_GE(mgr.Add("bgrt", bgrt.get(), GL_LINEAR, true, true, kNew, GL_RGB), 0);
    Q3DTexture* rgba = mgr.GetTexture("bgrt");
    EXPECT_EQ(rgba->format, unsigned(GL_RGBA));
    EXPECT_EQ(rgba->wrap, unsigned(GL_REPEAT));
    const std::vector<uint8_t> expected{2, 1, 0, 252, 3, 2, 1, 251};
    EXPECT_EQ(Texels(rgba, GL_RGBA, 4), expected);
    EXPECT_EQ(std::vector<uint8_t>(bgrt->pixels, bgrt->pixels + 8), expected); // in place

    auto indexed = Ramp(2, 1, 8);
    indexed->pixels[1] = 200;
    QZMPal pal(16u);
    for (unsigned i = 0; i < 16; i++)
        pal.entries[i] = {uint8_t(i), uint8_t(i + 1), uint8_t(i + 2), 0};
    indexed->SetPalette(&pal, 0, 16);
    EXPECT_EQ(Texels(mgr.LoadFromImage("pal", indexed.get(), GL_NEAREST, false), GL_RGB, 3),
              (std::vector<uint8_t>{0, 1, 2, 0, 0, 0}));
    EXPECT_EQ(Texels(mgr.LoadFromImage("lum", indexed.get(), GL_NEAREST, false, GL_LUMINANCE),
                     GL_LUMINANCE, 1),
              (std::vector<uint8_t>{0, 200}));
    EXPECT_EQ(
        Texels(mgr.LoadFromImage("alpha", indexed.get(), GL_NEAREST, false, GL_ALPHA), GL_ALPHA, 1),
        (std::vector<uint8_t>{0, 200}));
    Q3DTexture* la = mgr.LoadFromImage("la", indexed.get(), GL_NEAREST, false, GL_LUMINANCE_ALPHA);
    EXPECT_EQ(la->format, unsigned(GL_LUMINANCE_ALPHA));
    EXPECT_EQ(Texels(la, GL_LUMINANCE_ALPHA, 2), (std::vector<uint8_t>{0, 0, 200, 200}));
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
}

TEST_F(TexMgrTest, PaddingAndRefusedImages) {
    Q3DTexMgr mgr(finder, 4);
    qzmtest::LogCapture log(10);
    QZMImage odd(100, 60, 8);
    Q3DTexture* t = mgr.LoadFromImage("odd", &odd, GL_NEAREST, false);
    ASSERT_NE(t, nullptr);
    EXPECT_EQ(t->width, 128);
    EXPECT_EQ(t->height, 64);
    EXPECT_EQ(odd.width, 128u);
    EXPECT_EQ(log.text(), "TexMgr: image resized (128 x 64 -> 100 x 60)\n");
    QZMImage empty(0, 0, 32), one(1, 1, 24);
    EXPECT_GE(mgr.Add("empty", &empty, GL_NEAREST, false, false, kNew, 0), 0);
    EXPECT_EQ(mgr.GetTexture("empty")->width, 1);
    EXPECT_GE(mgr.Add("one", &one, GL_NEAREST, false, false, kNew, 0), 0);
    log.text();

    auto deep = Ramp(4, 4, 24);
    auto high = Ramp(4, 4, 16);
    const unsigned next = mgr.next;
    EXPECT_EQ(mgr.Add("x", deep.get(), GL_NEAREST, false, false, kNew, GL_LUMINANCE), -1);
    EXPECT_EQ(mgr.Add("x", deep.get(), GL_NEAREST, false, false, kNew, GL_LUMINANCE_ALPHA), -1);
    EXPECT_EQ(mgr.Add("x", deep.get(), GL_NEAREST, false, false, kNew, 0x1905), -1);
    EXPECT_EQ(mgr.Add("x", high.get(), GL_NEAREST, false, false, kNew, 0), -1);
    EXPECT_EQ(mgr.Add("x", deep.get(), GL_NEAREST, false, false, 3, 0), -1);
    EXPECT_EQ(log.text(),
              "TexMgr: warning GL_LUMINANCE or GL_ALPHA requested for a 24 bits image.\n"
              "TexMgr: warning GL_LUMINANCE_ALPHA requested for a 24 bits image.\n"
              "TexMgr: format not supported (6405)\n"
              "TexMgr: image format = 16 bits, not supported.\n"
              "TexMgr: invalid texture index 3\n");
    EXPECT_EQ(mgr.next, next);
    EXPECT_EQ(mgr.FindTexture("x"), 0xFFFFFFFFu);
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
}

TEST_F(TexMgrTest, SharingFreeingAndSlots) {
    auto img = Ramp(4, 4, 24);
    const std::string file = SaveBmp("a.bmp", *img);
    qzmtest::LogCapture log(200);
    {
        Q3DTexMgr mgr(finder, 4);
        Q3DTexture* a = mgr.LoadFromFile(file.c_str(), GL_NEAREST, false);
        ASSERT_NE(a, nullptr);
        EXPECT_EQ(mgr.LoadFromFile(file.c_str(), GL_LINEAR, true), a);
        EXPECT_EQ(mgr.table[0].refcount, 2u);
        EXPECT_EQ(mgr.table[0].source, 0u);
        EXPECT_EQ(mgr.LoadFromFile("missing.bmp", GL_NEAREST, false), nullptr);
        const GLuint id = a->id;
        EXPECT_TRUE(mgr.FreeTexture(file.c_str()));
        EXPECT_TRUE(glIsTexture(id));
        EXPECT_TRUE(mgr.FreeTexture(a));
        EXPECT_FALSE(glIsTexture(id));
        EXPECT_FALSE(mgr.FreeTexture(file.c_str()));
        EXPECT_FALSE(mgr.FreeTexture(static_cast<Q3DTexture*>(nullptr)));
        EXPECT_FALSE(mgr.FreeTexture(0u));

        const char* names[] = {"0", "1", "2", "3", "4"};
        for (const char* name : names)
            ASSERT_NE(mgr.LoadFromImage(name, img.get(), GL_NEAREST, false), nullptr);
        EXPECT_EQ(mgr.capacity, 12u);
        EXPECT_EQ(mgr.next, 5u);
        EXPECT_TRUE(mgr.FreeTexture(mgr.GetTexture("2")->id));
        EXPECT_EQ(mgr.next, 2u);
        mgr.LoadFromImage("new", img.get(), GL_NEAREST, false);
        EXPECT_EQ(mgr.FindTexture("new"), 2u);
        EXPECT_EQ(mgr.next, 5u);
        EXPECT_STREQ(mgr.GetTextureName(mgr.GetTexture("4")->id), "4");

        GLuint own = 0;
        glGenTextures(1, &own);
        glBindTexture(GL_TEXTURE_2D, own);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, 16, 8, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
        EXPECT_EQ(mgr.AddTexture("own", own + 100), nullptr);
        Q3DTexture* registered = mgr.AddTexture("own", own);
        ASSERT_NE(registered, nullptr);
        EXPECT_EQ(mgr.AddTexture("own", own), registered);
        EXPECT_EQ(mgr.table[mgr.FindTexture("own")].refcount, 1u);
        const Q3DTexture expected{0, 16, 8, GL_RGBA, GL_LINEAR, GL_REPEAT};
        EXPECT_EQ(memcmp(registered, &expected, sizeof expected), 0);
        log.text();
    }
    EXPECT_NE(log.text().find("~TexMgr: 6 textures deleted.\n"), std::string::npos);
}

// A lost context is simulated by deleting the textures behind the manager's back.
TEST_F(TexMgrTest, ReloadAfterLostContext) {
    auto img = Ramp(2, 2, 24);
    SaveBmp("a.bmp", *img);
    SaveBmp("gone.bmp", *img);
    Q3DTexMgr mgr(finder, 4);
    Q3DTexture* file = mgr.LoadFromFile("a.bmp", GL_LINEAR, true);
    ASSERT_NE(file, nullptr);
    ASSERT_NE(mgr.LoadFromFile("gone.bmp", GL_NEAREST, false), nullptr);
    ASSERT_NE(mgr.LoadFromImage("image", img.get(), GL_NEAREST, false), nullptr);
    const std::vector<uint8_t> before = Texels(file, GL_RGB, 3);
    for (unsigned i = 0; i < 3; i++) glDeleteTextures(1, &mgr.table[i].texture->id);
    std::remove(dir.file("gone.bmp").c_str());

    qzmtest::LogCapture log(10);
    mgr.ReloadTextures();
    EXPECT_EQ(log.text(), "Reload texture failed gone.bmp\n");
    EXPECT_EQ(mgr.FindTexture("a.bmp"), 0u);
    EXPECT_EQ(mgr.table[0].texture, file);
    EXPECT_TRUE(glIsTexture(file->id));
    EXPECT_EQ(file->filter, GL_LINEAR);
    EXPECT_EQ(file->wrap, unsigned(GL_REPEAT));
    EXPECT_EQ(Texels(file, GL_RGB, 3), before);
    EXPECT_EQ(mgr.FindTexture("gone.bmp"), 0xFFFFFFFFu);
    EXPECT_EQ(mgr.FindTexture("image"), 0xFFFFFFFFu);
    EXPECT_EQ(mgr.next, 1u);
}
