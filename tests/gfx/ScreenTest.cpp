// The screen on SDL's dummy video driver. Every test opens the mode it needs, so any order works.
#include <qzm/gfx/Image.h>
#include <qzm/gfx/Screen.h>
#include <qzm/gfx/internal/Fade.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <random>

#include "tests/support/TestSupport.h"

namespace {

const unsigned kDepths[] = {8, 16, 24, 32};

QZMScreen* Open(unsigned w, unsigned h, unsigned bpp) {
    QZMScreen* screen = QZMScreen::Singleton();
    EXPECT_TRUE(screen->Init(w, h, SDL_HWPALETTE, bpp));
    return screen;
}

uint8_t* Row(SDL_Surface* s, int y) {
    return static_cast<uint8_t*>(s->pixels) + y * s->pitch;
}

// The colour of 3-3-2 index i cut to multiples of 8: exact at 5 bits per channel, and SDL maps
// it back to index i on a display with these colours.
QZMRGBA Color(unsigned i) {
    return QZMRGBA{uint8_t((i >> 5) * 255 / 7 & 0xF8), uint8_t((i >> 2 & 7) * 255 / 7 & 0xF8),
                   uint8_t((i & 3) * 255 / 3 & 0xF8), 0};
}

void PaintPalette(QZMPal& pal) {
    for (unsigned i = 0; i < pal.size; ++i) pal.entries[i] = Color(i);
}

// Pixel i in colour n = i * 7 % 256: n at 8 bits, RGB 555 or 565, else bytes B, G, R (, 0).
void Paint(QZMImage& img) {
    for (unsigned i = 0, n = 0; i < img.width * img.height; ++i, n = i * 7 % 256) {
        QZMRGBA c = Color(n);
        unsigned v = img.bpp == 8    ? n
                     : img.bpp == 15 ? (c.r >> 3) << 10 | (c.g >> 3) << 5 | c.b >> 3
                     : img.bpp == 16 ? (c.r >> 3) << 11 | (c.g >> 2) << 5 | c.b >> 3
                                     : unsigned(c.r) << 16 | c.g << 8 | c.b;
        for (unsigned k = 0; k < img.BytesPerPixel(); ++k)
            img.pixels[i * img.BytesPerPixel() + k] = uint8_t(v >> 8 * k);
    }
}

} // namespace

TEST(ScreenTest, EveryCallIsSafeWithoutSurface) {
    delete QZMScreen::m_instance;
    QZMScreen* s = QZMScreen::Singleton();
    ASSERT_EQ(s->surface, nullptr);
    QZMImage img(4, 4, 8);
    QZMPal pal(4u);
    s->SetClipping(0, 0, 5, 5), s->PutPixel(0, 0, 1), s->XorPixel(0, 0, 1), s->FastPut(0, 1);
    s->FastXor(0, 1), s->HLine(0, 0, 9, 1), s->VLine(0, 0, 9, 1), s->Frame(0, 0, 9, 9, 1);
    s->MoveInside(0, 0, 2, 2, 1, 1), s->CopyImage(0, 0, &img, 0, 0, 4, 4);
    s->TCopyImage(0, 0, 0, &img, 0, 0, 4, 4), s->SetPalette(&pal, 0, 4), s->ReplacePalette(&pal);
    s->FadeOut(8), s->FadeIn(&pal, 8), s->Refresh(0, 0, 10, 10), s->Flip(), s->BlackOut();
    s->SetIcon(&img, true, 0), s->SetNames("title", nullptr);
    EXPECT_FALSE(s->GetPixel(0, 0) || s->Resize(10, 10) || s->GetPalette() ||
                 s->ScreenFormat(&img) || s->BMPScreenshot("never"));
}

TEST(ScreenTest, ModeFlagsBottomRowReadsAndRefreshClipping) {
    QZMScreen* s = QZMScreen::Singleton();
    ASSERT_TRUE(s->Init(640, 480, SDL_FULLSCREEN | SDL_RESIZABLE, 16));
    EXPECT_TRUE(s->surface->flags & SDL_FULLSCREEN);
    EXPECT_FALSE(s->surface->flags & SDL_RESIZABLE);
    EXPECT_FALSE(s->Resize(800, 600));
    EXPECT_FALSE(s->Init(100000, 10, 0, 32));
    s = Open(640, 480, 16);
    s->PutPixel(10, 10, 0x1234), s->PutPixel(10, 479, 0xBEEF);
    EXPECT_EQ(s->GetPixel(10, 10), 0u);
    EXPECT_EQ(s->GetPixel(10, 479), 0xBEEFu);
    EXPECT_EQ(s->GetPixel(10, 480) | s->GetPixel(640, 479) | s->GetPixel(-1, 479), 0u);
    for (int r : {-10, -1000, INT_MIN, 630, 479, INT_MAX}) s->Refresh(r, ~r, 20, UINT_MAX);
    s->FadeOut(10), s->FadeIn(s->GetPalette(), 4); // no palette: nothing
    // Rows of 2-byte pixels are found by the width, not by the padded pitch.
    SDL_Surface* padded = SDL_CreateRGBSurface(0, 5, 3, 16, 0xF800, 0x7E0, 0x1F, 0);
    ASSERT_EQ(padded->pitch, 12);
    Row(padded, 1)[10] = 0x34, Row(padded, 1)[11] = 0x12; // byte ((3 - 1) * 5 + 1) * 2 = 22
    std::swap(s->surface, padded);
    EXPECT_EQ(s->GetPixel(1, 2), 0x1234u);
    std::swap(s->surface, padded);
    SDL_FreeSurface(padded);
}

TEST(ScreenTest, DrawingAndBlitsMatchAnImageGivenTheSameCalls) {
    std::mt19937 rng(7);
    const unsigned w = 37, h = 23;
    for (unsigned bpp : kDepths) {
        QZMScreen* screen = Open(w, h, bpp);
        SDL_Surface* s = screen->surface;
        QZMImage img(w, h, bpp), sprite(40, 30, bpp), other(8, 8, bpp == 8 ? 32 : 8);
        for (uint32_t i = 0; i < sprite.pitch * 30; ++i) sprite.pixels[i] = (rng() & 1) * 0x55;
        for (uint32_t i = 0; i < img.pitch * h; ++i)
            Row(s, int(i / img.pitch))[i % img.pitch] = img.pixels[i] = uint8_t(rng());
        auto near = [&](unsigned size) {
            return rng() % 8 ? int(rng() % (size + 20)) - 10 : int(rng());
        };
        auto both = [&](auto draw) { draw(*screen), draw(img); };
        for (int op = 0; op < 3000; ++op) {
            int x = near(w), y = near(h), a = near(w), b = near(h);
            unsigned len = rng() % 8 ? rng() % 50 : rng(), color = rng();
            bool xorMode = rng() % 2;
            uint8_t* p = sprite.pixels + rng() % (sprite.pitch * 30 - 3);
            unsigned key =
                unsigned(p[0] | p[1] << 8 | p[2] << 16 | p[3] << 24) >> (bpp == 24 ? 8 : 0);
            auto mode = [xorMode](auto& t) { return xorMode ? t.DRAW_XOR : t.DRAW_PUT; };
            switch (op % 9) {
            case 0: { // SDL's clip rectangle, which may be empty, copied to the image
                screen->SetClipping(x, y, a, b);
                const SDL_Rect& c = s->clip_rect;
                img.clipX1 = int16_t(c.x), img.clipY1 = int16_t(c.y);
                img.clipX2 = int16_t(c.x + c.w - 1), img.clipY2 = int16_t(c.y + c.h - 1);
                break;
            }
            case 1: // a one-pixel run follows the put and xor rules
                screen->PutPixel(x, y, color), img.HLine(x, y, 1, color);
                screen->XorPixel(a, b, color), img.HLine(a, b, 1, color, QZMImage::DRAW_XOR);
                break;
            case 2: both([&](auto& t) { t.HLine(x, y, len, color, mode(t)); }); break;
            case 3: both([&](auto& t) { t.VLine(x, y, len, color, mode(t)); }); break;
            case 4: both([&](auto& t) { t.Frame(x, y, len, a, color, mode(t)); }); break;
            case 5: both([&](auto& t) { t.CopyImage(x, y, &sprite, a, b, len, len); }); break;
            case 6: both([&](auto& t) { t.TCopyImage(x, y, key, &sprite, a, b, len, len); }); break;
            case 7: both([&](auto& t) { t.MoveInside(x, y, len, len, a, b); }); break;
            case 8: // another depth and no image draw nothing
                screen->CopyImage(0, 0, &other, 0, 0, 8, 8);
                screen->TCopyImage(0, 0, 0, nullptr, 0, 0, 8, 8);
            }
            for (uint32_t r = 0; r < h; ++r)
                ASSERT_EQ(std::memcmp(Row(s, int(r)), img.pixels + r * img.pitch, img.pitch), 0)
                    << bpp << " bpp, op " << op << ", row " << r;
        }
    }
}

TEST(ScreenTest, ScreenFormatConvertsEveryDepthToTheDisplay) {
    const unsigned w = 16, h = 4;
    QZMPal pal(256u);
    PaintPalette(pal);
    for (unsigned display : kDepths) {
        QZMScreen* screen = Open(w, h, display);
        screen->ReplacePalette(&pal);
        for (unsigned bpp : {8u, 15u, 16u, 24u, 32u}) {
            QZMImage img(w, h, bpp);
            img.SetPalette(&pal, 0, 256);
            Paint(img);
            QZMImage* out = screen->ScreenFormat(&img);
            ASSERT_NE(out, nullptr);
            if (bpp == display) {
                EXPECT_EQ(out, &img);
                continue;
            }
            ASSERT_EQ(out->bpp, display);
            // Channels to 5 bits: SDL versions fill the low bits of widened channels differently.
            for (unsigned i = 0; i < w * h; ++i) {
                Uint32 v = 0;
                Uint8 r, g, b;
                std::memcpy(&v, out->pixels + i * out->BytesPerPixel(), out->BytesPerPixel());
                SDL_GetRGB(v, screen->surface->format, &r, &g, &b);
                QZMRGBA c = Color(i * 7 % 256);
                ASSERT_EQ((r | g << 8 | b << 16) & 0xF8F8F8, c.r | c.g << 8 | c.b << 16)
                    << bpp << " to " << display << ", pixel " << i;
            }
            // An 8-bit display's colours are read as three-byte triplets, as designed.
            ASSERT_EQ(out->palette != nullptr, display == 8);
            for (unsigned i = 0; out->palette && i < 256; ++i) {
                auto* raw = reinterpret_cast<uint8_t*>(screen->surface->format->palette->colors);
                ASSERT_EQ(std::memcmp(&out->palette->entries[i], raw + 3 * i, 3), 0) << i;
            }
            delete out;
        }
    }
}

TEST(ScreenTest, PalettesAndFades) {
    // 3: levels 1 and 0; 4: 0 to 4 in quarters; 10: 7 to 0 in eighths.
    for (auto [speed, shift] : {std::pair{3, 1u}, {-5, 1u}, {4, 2u}, {10, 3u}, {127, 6u}})
        EXPECT_EQ(QZM::internal::FadeShift(char(speed)), shift) << speed;
    QZMScreen* s = Open(8, 8, 8);
    QZMPal pal(256u), few(8u), black(256u);
    PaintPalette(pal);
    std::memcpy(few.entries, pal.entries + 100, 8 * sizeof(QZMRGBA));
    std::memset(black.entries, 0, 256 * sizeof(QZMRGBA));
    auto expectColors = [&](const QZMPal& want, unsigned from, unsigned to) {
        QZMPal* got = s->GetPalette();
        ASSERT_EQ(got->size, 256u);
        for (unsigned i = from; i < to; ++i)
            ASSERT_EQ(std::memcmp(&got->entries[i], &want.entries[i], 3), 0) << i;
        delete got;
    };
    s->ReplacePalette(&pal);
    s->SetPalette(&few, 4, 100); // few's entries 4 to 7 only
    expectColors(pal, 0, 4), expectColors(few, 4, 8), expectColors(pal, 8, 256);
    s->FadeOut(3);
    expectColors(black, 0, 256);
    s->FadeIn(&few, 4);
    expectColors(few, 0, 8), expectColors(black, 8, 256);
    s->PutPixel(3, 3, 9), s->BlackOut();
    expectColors(black, 0, 8);
    EXPECT_EQ(Row(s->surface, 3)[3], 0);
}

TEST(ScreenTest, ScreenshotsDecodeBackAndTakeTheFirstFreeNumber) {
    qzmtest::TempDir tmp;
    std::mt19937 rng(3);
    QZMScreen* screen = nullptr;
    for (unsigned bpp : kDepths) {
        screen = Open(13, 7, bpp);
        SDL_Surface* s = screen->surface;
        // BMP files hold no fourth byte.
        for (int i = 0; i < s->pitch * s->h; ++i)
            Row(s, 0)[i] = bpp == 32 && i % 4 == 3 ? 0 : rng();
        std::string prefix = tmp.file(std::to_string(bpp) + "-");
        ASSERT_TRUE(screen->BMPScreenshot(prefix.c_str()));
        SDL_Surface* loaded = SDL_LoadBMP((prefix + "000.bmp").c_str());
        ASSERT_NE(loaded, nullptr);
        // 8-bit files keep the indices; the others were written at 24 bits.
        SDL_Surface* back = bpp == 8 ? loaded : SDL_ConvertSurface(loaded, s->format, 0);
        for (int y = 0; y < s->h; ++y)
            ASSERT_EQ(std::memcmp(Row(s, y), Row(back, y), s->w * bpp / 8), 0) << bpp << " bpp";
        if (back != loaded) SDL_FreeSurface(back);
        SDL_FreeSurface(loaded);
    }
    for (int i = 0; i < 998; ++i)
        qzmtest::WriteFile(tmp.file("n" + std::to_string(1000 + i).substr(1) + ".bmp"), "");
    EXPECT_TRUE(screen->BMPScreenshot(tmp.file("n").c_str()));
    EXPECT_TRUE(qzmtest::FileExists(tmp.file("n998.bmp")));
    EXPECT_FALSE(screen->BMPScreenshot(tmp.file("n").c_str()));
    EXPECT_FALSE(qzmtest::FileExists(tmp.file("n999.bmp")));
}
